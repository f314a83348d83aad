#pragma once

#include "HelperCommand.h"
#include "HelperSystem.h"

#include <optional>
#include <string>

namespace helper {

/// Carries out a checked command as root: tools by absolute path with argument lists, files
/// written whole. Each failure is one line of text for the user.
class HelperActions {
public:
    explicit HelperActions(HelperSystem system);

    /// Runs the command; an empty result means success.
    [[nodiscard]] std::optional<std::string> run(const HelperCommand &command);

    [[nodiscard]] std::optional<std::string> renice(int pid, int nice);
    [[nodiscard]] std::optional<std::string> setDns(const std::string &target,
                                                    const std::vector<std::string> &servers);
    [[nodiscard]] std::optional<std::string> flushDns();
    [[nodiscard]] std::optional<std::string> dropCaches();

    /// The tool's absolute path in the system's folders, or empty when it is not installed.
    [[nodiscard]] std::string findTool(const std::string &name) const;

private:
    std::optional<std::string> setDnsThroughNetworkManager(const std::string &uuid,
                                                           const std::vector<std::string> &servers);
    std::optional<std::string> setDnsThroughResolved(const std::string &interface,
                                                     const std::vector<std::string> &servers);
    std::optional<std::string> setDnsInResolvConf(const std::vector<std::string> &servers);
    [[nodiscard]] bool resolvedRuns() const;

    HelperSystem m_system;
};

} // namespace helper
