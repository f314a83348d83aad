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
    /// Long enough for a person to find and type a password.
    static constexpr std::chrono::minutes timeout{10};

    PkexecPrivilegedRunner(ToolRunner &runner, QString helperPath, bool runningAsRoot);

    QCoro::Task<PrivilegedOutcome> run(QString verb, QStringList arguments) override;

    /// Empty when the helper is an executable at helperPath and, unless already root, its polkit
    /// actions are at policyPath; otherwise one line saying which is missing.
    [[nodiscard]] static QString installationProblem(const QString &helperPath,
                                                     const QString &policyPath, bool runningAsRoot);

    /// The argument list that runs the action, program first.
    [[nodiscard]] ToolRequest requestFor(const QString &verb, const QStringList &arguments) const;

    /// Maps how pkexec (or the helper) ended to the outcome the user sees.
    [[nodiscard]] static PrivilegedOutcome outcomeOf(const ToolResult &result);

private:
    ToolRunner &m_runner;
    QString m_helperPath;
    bool m_runningAsRoot;
};

} // namespace platform
