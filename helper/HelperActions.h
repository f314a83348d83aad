#pragma once

#include "HelperCommand.h"
#include "HelperSystem.h"

#include <functional>
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

    /// Changes the priority of every thread of the caller's own process pid, when it is still
    /// the one that started at startTime.
    [[nodiscard]] std::optional<std::string> renice(int pid, int nice,
                                                    unsigned long long startTime);
    /// Sets the nice of the autogroup of the caller's own process pid, when it is still the one
    /// that started at startTime: the weight of its whole session against the others.
    [[nodiscard]] std::optional<std::string> setAutogroupNice(int pid, int nice,
                                                              unsigned long long startTime);
    [[nodiscard]] std::optional<std::string> setDns(const std::string &target,
                                                    const std::vector<std::string> &servers);
    /// Gives the connection back the DNS servers its network hands out, undoing setDns.
    [[nodiscard]] std::optional<std::string> restoreDns(const std::string &target);
    [[nodiscard]] std::optional<std::string> flushDns();
    [[nodiscard]] std::optional<std::string> dropCaches();

    /// The tool's absolute path in the system's folders, or empty when it is not installed.
    [[nodiscard]] std::string findTool(const std::string &name) const;

private:
    /// Checks, through the open handle, that pid is still the caller's process that started at
    /// startTime; the error line when it is not.
    [[nodiscard]] std::optional<std::string> checkProcess(int handle, int pid,
                                                          unsigned long long startTime) const;
    /// Opens pid, checks it with checkProcess and runs change on the open handle; the handle is
    /// closed whatever happens.
    [[nodiscard]] std::optional<std::string>
    withCheckedProcess(int pid, unsigned long long startTime,
                       const std::function<std::optional<std::string>(int handle)> &change);
    std::optional<std::string> setDnsThroughNetworkManager(const std::string &uuid,
                                                           const std::vector<std::string> &servers);
    std::optional<std::string> setDnsThroughResolved(const std::string &interface,
                                                     const std::vector<std::string> &servers);
    std::optional<std::string> setDnsInResolvConf(const std::vector<std::string> &servers);
    std::optional<std::string> reapplyConnection(const std::string &nmcli, const std::string &uuid);
    std::optional<std::string> restoreResolvConf();
    /// Where the servers set on a link are kept for the next boot: a drop-in for the link's
    /// systemd-networkd file when networkd manages it, else one for systemd-resolved itself.
    [[nodiscard]] std::string resolvedDropIn(const std::string &interface) const;
    std::optional<std::string> replaceResolvConf(const std::string &content);
    /// Sends SIGHUP to pid if its executable is binary; false when that failed.
    bool hangUpDnsmasq(int pid, const std::string &binary);
    [[nodiscard]] bool resolvedRuns() const;
    [[nodiscard]] bool interfaceExists(const std::string &name) const;

    HelperSystem m_system;
};

} // namespace helper
