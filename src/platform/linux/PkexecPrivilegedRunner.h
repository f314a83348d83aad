#pragma once

#include "platform/PrivilegedRunner.h"
#include "platform/ToolRunner.h"

namespace platform {

/// Elevation through polkit: "pkexec HELPER VERB ARGS…" as an argument list, or the helper
/// itself when this process already runs as root.
class PkexecPrivilegedRunner final : public PrivilegedRunner {
public:
    static inline const QString pkexecPath = QStringLiteral("/usr/bin/pkexec");
    /// What the helper missing or pkexec missing reads as: the elevation could not be set up.
    static inline const QString unavailableText = QStringLiteral("Failed to create AppleScript");
    /// The helper's verb that runs several steps in one start, and the words between its steps.
    static inline const QString batchVerb = QStringLiteral("batch");
    static inline const QString thenSeparator = QStringLiteral(";");
    static inline const QString ifSucceededSeparator = QStringLiteral("&&");
    /// The most steps the helper takes in one batch; longer lists take several starts.
    static constexpr qsizetype maximumBatchSteps = 64;
    /// Long enough for a person to find and type a password.
    static constexpr std::chrono::minutes timeout{10};

    PkexecPrivilegedRunner(ToolRunner &runner, QString helperPath, bool runningAsRoot);

    QCoro::Task<PrivilegedOutcome> run(QString verb, QStringList arguments) override;
    /// One step runs as its own verb (whose polkit action may keep the authorization for a
    /// while); several run through the helper's batch verb, one start for up to
    /// maximumBatchSteps of them.
    QCoro::Task<QList<PrivilegedOutcome>> runSteps(QList<PrivilegedStep> steps) override;

    /// Empty when the helper is an executable at helperPath and, unless already root, its polkit
    /// actions are at policyPath; otherwise one line saying which is missing.
    [[nodiscard]] static QString installationProblem(const QString &helperPath,
                                                     const QString &policyPath, bool runningAsRoot);

    /// The argument list that runs the action, program first.
    [[nodiscard]] ToolRequest requestFor(const QString &verb, const QStringList &arguments) const;

    /// The helper's arguments for several steps: "batch VERB ARGS… ; VERB ARGS… && VERB…".
    [[nodiscard]] static QStringList batchArguments(const QList<PrivilegedStep> &steps);

    /// Maps how pkexec (or the helper) ended to the outcome the user sees.
    [[nodiscard]] static PrivilegedOutcome outcomeOf(const ToolResult &result);
    /// The outcomes of count batch steps: one from each line the helper printed, and for steps
    /// without one (the helper never ran, or ended early) how pkexec or the helper ended.
    [[nodiscard]] static QList<PrivilegedOutcome> batchOutcomesOf(const ToolResult &result,
                                                                  qsizetype count);

private:
    ToolRunner &m_runner;
    QString m_helperPath;
    bool m_runningAsRoot;
};

} // namespace platform
