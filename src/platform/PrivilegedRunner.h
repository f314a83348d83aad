#pragma once

#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <memory>

namespace platform {

class ToolRunner;

/// How a privileged action ended: success, or failure with one line for the user.
struct PrivilegedOutcome {
    bool success = false;
    QString message;

    friend bool operator==(const PrivilegedOutcome &, const PrivilegedOutcome &) = default;
};

/// Runs one of the root helper's actions after the system has asked for an administrator's
/// password. Data only ever travels as separate arguments; no shell is involved.
class PrivilegedRunner {
public:
    virtual ~PrivilegedRunner() = default;

    /// Runs "VERB ARGUMENTS…" as root; completes once, after the password dialog (if any) and
    /// the action have ended.
    virtual QCoro::Task<PrivilegedOutcome> run(QString verb, QStringList arguments) = 0;

    /// The system's elevation, starting tools through the given runner (which must outlive it).
    static std::unique_ptr<PrivilegedRunner> create(ToolRunner &runner);

    /// Empty when the system's elevation is set up for this program; otherwise one line saying
    /// what is missing (a build-tree run, for one, has no installed helper).
    static QString installationProblem();

protected:
    PrivilegedRunner() = default;
    PrivilegedRunner(const PrivilegedRunner &) = default;
    PrivilegedRunner &operator=(const PrivilegedRunner &) = default;
};

} // namespace platform
