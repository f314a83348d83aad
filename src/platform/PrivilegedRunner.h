#pragma once

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace platform {

class ToolRunner;

/// One of the root helper's actions with its arguments, as one step of a user's action.
struct PrivilegedStep {
    QString verb;
    QStringList arguments;
    /// Runs only if the step before it succeeded; otherwise it fails with skippedText.
    bool onlyAfterSuccess = false;

    friend bool operator==(const PrivilegedStep &, const PrivilegedStep &) = default;
};

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

    /// Runs the steps in order as root with one elevation, so that a user's action asks for the
    /// password once at most; completes once with one outcome per step, in order (each failing
    /// with the same line when the elevation itself failed). No steps start nothing.
    virtual QCoro::Task<QList<PrivilegedOutcome>> runSteps(QList<PrivilegedStep> steps) = 0;

    /// The failure of a step not run because the step before it failed.
    static inline const QString skippedText = QStringLiteral("Not run: the step before it failed");

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
