#include "FileManagerReveal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>

namespace platform {

std::unique_ptr<FileReveal> FileReveal::create()
{
    return std::make_unique<FileManagerReveal>();
}

FileManagerReveal::FileManagerReveal()
    : FileManagerReveal(QString(), [](const QUrl &url) { return QDesktopServices::openUrl(url); })
{
}

FileManagerReveal::FileManagerReveal(QString busName, FolderOpener openFolder)
    : m_busName(std::move(busName))
    , m_openFolder(std::move(openFolder))
{
}

bool FileManagerReveal::reveal(const QString &path)
{
    // Connected only now: a program that never reveals anything never touches the bus.
    const QDBusConnection bus =
        m_busName.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection(m_busName);
    if (bus.isConnected()) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.FileManager1"),
            QStringLiteral("/org/freedesktop/FileManager1"),
            QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
        call << QStringList{QString::fromLatin1(
                    QUrl::fromLocalFile(path).toEncoded(QUrl::FullyEncoded))}
             << QString();
        const QDBusMessage reply = bus.call(call, QDBus::Block, 5000);
        if (reply.type() == QDBusMessage::ReplyMessage) {
            return true;
        }
    }
    const QString parent = QFileInfo(path).path();
    return m_openFolder(QUrl::fromLocalFile(parent));
}

} // namespace platform
