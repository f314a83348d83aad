#include "SwayRunningApplications.h"

#include "ProcessIdentity.h"
#include "SwayTreeQuery.h"
#include "WindowApplicationName.h"

#include <QHash>
#include <QLocalSocket>

#include <cstring>

namespace platform {

namespace {

constexpr QByteArrayView ipcMagic = "i3-ipc";
constexpr quint32 getTree = 4;
constexpr int answerWaitMs = 1000;
// A tree of thousands of windows stays far below this; anything larger is not sway talking.
constexpr quint32 maximumAnswer = 64U * 1024U * 1024U;

} // namespace

SwayRunningApplications::SwayRunningApplications(TreeSource tree, DesktopEntryIndex index,
                                                 qint32 ownPid,
                                                 std::unique_ptr<RunningApplications> fallback,
                                                 QString procRoot, uint uid, QStringList steamRoots)
    : m_tree(std::move(tree))
    , m_index(std::move(index))
    , m_ownPid(ownPid)
    , m_fallback(std::move(fallback))
    , m_procRoot(std::move(procRoot))
    , m_uid(uid)
    , m_steamRoots(std::move(steamRoots))
{
}

QByteArray SwayRunningApplications::askForTree(const QString &socketPath)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(answerWaitMs)) {
        return {};
    }
    // The header: the magic, then the payload's length and the message type, in the host's
    // byte order; GET_TREE has no payload.
    QByteArray request = ipcMagic.toByteArray();
    const quint32 header[2] = {0, getTree};
    request.append(reinterpret_cast<const char *>(header), sizeof header);
    socket.write(request);
    const qsizetype headerSize = ipcMagic.size() + qsizetype(sizeof header);
    QByteArray answer;
    std::optional<quint32> length;
    while (!length || answer.size() < headerSize + qsizetype(*length)) {
        if (socket.bytesAvailable() == 0 && !socket.waitForReadyRead(answerWaitMs)) {
            return {};
        }
        answer.append(socket.readAll());
        if (!length && answer.size() >= headerSize) {
            if (!answer.startsWith(ipcMagic)) {
                return {};
            }
            quint32 fields[2] = {};
            std::memcpy(fields, answer.constData() + ipcMagic.size(), sizeof fields);
            if (fields[1] != getTree || fields[0] > maximumAnswer) {
                return {};
            }
            length = fields[0];
        }
    }
    return answer.mid(headerSize, qsizetype(*length));
}

QList<RunningApplication> SwayRunningApplications::applications()
{
    const QByteArray tree = m_tree ? m_tree() : QByteArray();
    if (tree.isEmpty()) {
        return m_fallback ? m_fallback->applications() : QList<RunningApplication>();
    }
    QList<RunningApplication> result;
    QHash<qint32, qsizetype> seen;
    WindowApplicationName naming(m_index, m_steamRoots);
    for (const SwayTreeQuery::Window &window : SwayTreeQuery::windows(tree)) {
        if (window.pid < 1 || window.pid == m_ownPid || seen.contains(window.pid)) {
            continue;
        }
        // sway learns the pid from the socket, so it is the host's; the owner is checked here.
        const std::optional<ProcessIdentity> identity =
            ProcessIdentity::read(m_procRoot, window.pid);
        if (!identity || identity->ownerUid != m_uid) {
            continue;
        }
        const bool native = !window.appId.isEmpty();
        const QString instance = native ? window.appId : window.instance;
        const QString windowClass = native ? window.appId : window.windowClass;
        RunningApplication application;
        application.pid = window.pid;
        application.startTime = identity->startTime;
        naming.describe(application, instance, windowClass, !native);
        seen.insert(window.pid, result.size());
        result.append(application);
    }
    return result;
}

std::optional<qint32> SwayRunningApplications::frontmostPid()
{
    const QByteArray tree = m_tree ? m_tree() : QByteArray();
    for (const SwayTreeQuery::Window &window : SwayTreeQuery::windows(tree)) {
        if (window.focused && window.pid >= 1) {
            return window.pid;
        }
    }
    return std::nullopt;
}

} // namespace platform
