#include "PrivateMounts.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/mount.h>

namespace {

struct NamespaceState {
    bool tried = false;
    bool made = false;
    QString error;
};

// The namespace belongs to the process, so whether it was made is kept once for all users.
NamespaceState &namespaceState()
{
    static NamespaceState state;
    return state;
}

} // namespace

PrivateMounts::~PrivateMounts()
{
    unmountAll();
}

bool PrivateMounts::enterNamespace()
{
    NamespaceState &state = namespaceState();
    if (!state.tried) {
        state.tried = true;
        // Private propagation, or mounts made here would still reach the parent namespace.
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            state.error = QString::fromLocal8Bit(std::strerror(errno));
        } else {
            state.made = true;
        }
    }
    return state.made;
}

QString PrivateMounts::error()
{
    return namespaceState().error;
}

bool PrivateMounts::mountTmpfs(const QString &where, const QByteArray &options, unsigned long flags)
{
    QDir().mkpath(where);
    if (::mount("tmpfs", QFile::encodeName(where).constData(), "tmpfs", flags,
                options.constData()) != 0) {
        return false;
    }
    m_mounts.prepend(where);
    return true;
}

bool PrivateMounts::bindReadOnly(const QString &where)
{
    const QByteArray path = QFile::encodeName(where);
    if (::mount(path.constData(), path.constData(), nullptr, MS_BIND, nullptr) != 0) {
        return false;
    }
    m_mounts.prepend(where);
    // A bind mount takes read-only only on a remount.
    return ::mount(nullptr, path.constData(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) ==
           0;
}

void PrivateMounts::unmountAll()
{
    for (const QString &where : std::as_const(m_mounts)) {
        ::umount2(QFile::encodeName(where).constData(), MNT_DETACH);
    }
    m_mounts.clear();
}
