#include "XdgUserDirs.h"

#include <QList>

namespace platform {

namespace {

// Undoes the shell quoting the file uses: "\"" and "\\" and "\$" inside double quotes.
QString unescape(QByteArrayView quoted)
{
    QByteArray out;
    out.reserve(quoted.size());
    for (qsizetype i = 0; i < quoted.size(); ++i) {
        if (quoted[i] == '\\' && i + 1 < quoted.size()) {
            ++i;
        }
        out.append(quoted[i]);
    }
    return QString::fromUtf8(out);
}

} // namespace

QHash<QString, QString> XdgUserDirs::parse(const QByteArray &content, const QString &home)
{
    QHash<QString, QString> dirs;
    const QList<QByteArray> lines = content.split('\n');
    for (const QByteArray &rawLine : lines) {
        const QByteArray line = rawLine.trimmed();
        if (line.isEmpty() || line.startsWith('#')) {
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (equals <= 0) {
            continue;
        }
        const QByteArray key = line.left(equals).trimmed();
        QByteArray value = line.mid(equals + 1).trimmed();
        if (!key.startsWith("XDG_") || !key.endsWith("_DIR") || value.size() < 2 ||
            !value.startsWith('"') || !value.endsWith('"')) {
            continue;
        }
        const QString path = unescape(QByteArrayView(value).sliced(1, value.size() - 2));
        const QString homePrefix = QStringLiteral("$HOME");
        if (path == homePrefix) {
            dirs.insert(QString::fromLatin1(key), home);
        } else if (path.startsWith(homePrefix + QLatin1Char('/'))) {
            dirs.insert(QString::fromLatin1(key), home + path.mid(homePrefix.size()));
        } else if (path.startsWith(QLatin1Char('/'))) {
            dirs.insert(QString::fromLatin1(key), path);
        }
    }
    return dirs;
}

} // namespace platform
