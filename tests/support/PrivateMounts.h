#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Mounts a test makes in a mount namespace of the process's own, so nothing it mounts is seen
/// outside the test. Making the namespace needs root (or CAP_SYS_ADMIN); where it cannot be made
/// the test skips with error(). Mounts are undone, newest first, by unmountAll() or on
/// destruction.
class PrivateMounts {
public:
    PrivateMounts() = default;
    ~PrivateMounts();
    PrivateMounts(const PrivateMounts &) = delete;
    PrivateMounts &operator=(const PrivateMounts &) = delete;

    /// Moves this process into a private mount namespace, once; false where it cannot.
    [[nodiscard]] static bool enterNamespace();
    /// Why the namespace could not be made, empty until enterNamespace() has failed.
    [[nodiscard]] static QString error();

    /// A tmpfs on this folder (created if missing) with these mount(2) flags and tmpfs options
    /// ("size=…,mode=…").
    bool mountTmpfs(const QString &where, const QByteArray &options, unsigned long flags = 0);
    /// The folder bound onto itself and made read-only, which stops even root from writing.
    bool bindReadOnly(const QString &where);
    /// Detaches every mount made here, newest first.
    void unmountAll();

private:
    QStringList m_mounts;
};
