#include "HelperActions.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace helper {

namespace fs = std::filesystem;

namespace {

std::string joined(const std::vector<std::string> &words)
{
    std::string result;
    for (const std::string &word : words) {
        if (!result.empty()) {
            result += ' ';
        }
        result += word;
    }
    return result;
}

std::string readSmallFile(const fs::path &path)
{
    std::ifstream stream(path);
    std::string content;
    std::getline(stream, content, '\0');
    return content;
}

bool writeWholeFile(const fs::path &path, const std::string &content)
{
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.flush();
    return bool(stream);
}

} // namespace

HelperActions::HelperActions(HelperSystem system)
    : m_system(std::move(system))
{
}

std::string HelperActions::findTool(const std::string &name) const
{
    for (const std::string &folder : m_system.toolFolders) {
        const fs::path candidate = fs::path(folder) / name;
        std::error_code error;
        if (fs::is_regular_file(candidate, error)) {
            return candidate.string();
        }
    }
    return {};
}

std::optional<std::string> HelperActions::run(const HelperCommand &command)
{
    switch (command.verb) {
    case HelperCommand::Verb::Renice:
        return renice(command.pid, command.nice);
    case HelperCommand::Verb::SetDns:
        return setDns(command.target, command.servers);
    case HelperCommand::Verb::FlushDns:
        return flushDns();
    case HelperCommand::Verb::DropCaches:
        return dropCaches();
    }
    return "Unknown action";
}

std::optional<std::string> HelperActions::renice(int pid, int nice)
{
    // A priority belongs to a thread on Linux: renicing only the main thread would leave a
    // game's render and audio threads where they were.
    const fs::path tasks = fs::path(m_system.procRoot) / std::to_string(pid) / "task";
    std::error_code error;
    fs::directory_iterator it(tasks, error);
    if (error) {
        return "No such process";
    }
    int changed = 0;
    int lastError = 0;
    for (const fs::directory_entry &entry : it) {
        const std::string name = entry.path().filename().string();
        const std::optional<int> tid = HelperCommand::parsePid(name);
        if (!tid) {
            continue;
        }
        const int result = m_system.setThreadNice(*tid, nice);
        if (result == 0) {
            ++changed;
        } else if (result != ESRCH) {
            // A thread that ends meanwhile is no failure; any other refusal is.
            lastError = result;
        }
    }
    if (lastError != 0) {
        return "Could not change the priority: " + std::generic_category().message(lastError);
    }
    if (changed == 0) {
        return "No such process";
    }
    return std::nullopt;
}

bool HelperActions::resolvedRuns() const
{
    std::error_code error;
    return fs::is_directory(fs::path(m_system.runRoot) / "systemd" / "resolve", error) &&
           !findTool("resolvectl").empty();
}

std::optional<std::string> HelperActions::setDns(const std::string &target,
                                                 const std::vector<std::string> &servers)
{
    if (HelperCommand::isConnectionUuid(target)) {
        return setDnsThroughNetworkManager(target, servers);
    }
    if (resolvedRuns()) {
        return setDnsThroughResolved(target, servers);
    }
    return setDnsInResolvConf(servers);
}

std::optional<std::string>
HelperActions::setDnsThroughNetworkManager(const std::string &uuid,
                                           const std::vector<std::string> &servers)
{
    const std::string nmcli = findTool("nmcli");
    if (nmcli.empty()) {
        return "NetworkManager's nmcli is not installed";
    }
    std::vector<std::string> ipv4;
    std::vector<std::string> ipv6;
    for (const std::string &server : servers) {
        (HelperCommand::isIpv6Address(server) ? ipv6 : ipv4).push_back(server);
    }
    std::vector<std::string> modify = {nmcli, "connection", "modify", "uuid", uuid};
    if (!ipv4.empty()) {
        modify.insert(modify.end(), {"ipv4.dns", joined(ipv4), "ipv4.ignore-auto-dns", "yes"});
    }
    if (!ipv6.empty()) {
        modify.insert(modify.end(), {"ipv6.dns", joined(ipv6), "ipv6.ignore-auto-dns", "yes"});
    }
    if (m_system.runTool(modify).exitStatus != 0) {
        return "NetworkManager refused the DNS servers";
    }

    // The stored setting takes effect when the connection's devices re-read it.
    const HelperSystem::ToolOutcome devices =
        m_system.runTool({nmcli, "-g", "GENERAL.DEVICES", "connection", "show", "uuid", uuid});
    std::vector<std::string> names;
    std::istringstream list(devices.output);
    std::string name;
    while (std::getline(list, name, ',')) {
        while (!name.empty() && (name.back() == '\n' || name.back() == ' ')) {
            name.pop_back();
        }
        while (!name.empty() && name.front() == ' ') {
            name.erase(0, 1);
        }
        if (HelperCommand::isInterfaceName(name)) {
            names.push_back(name);
        }
    }
    if (names.empty()) {
        if (m_system.runTool({nmcli, "connection", "up", "uuid", uuid}).exitStatus != 0) {
            return "NetworkManager could not apply the DNS servers";
        }
        return std::nullopt;
    }
    for (const std::string &device : names) {
        if (m_system.runTool({nmcli, "device", "reapply", device}).exitStatus != 0) {
            return "NetworkManager could not apply the DNS servers";
        }
    }
    return std::nullopt;
}

std::optional<std::string>
HelperActions::setDnsThroughResolved(const std::string &interface,
                                     const std::vector<std::string> &servers)
{
    const std::string resolvectl = findTool("resolvectl");
    std::vector<std::string> dns = {resolvectl, "dns", interface};
    dns.insert(dns.end(), servers.begin(), servers.end());
    if (m_system.runTool(dns).exitStatus != 0) {
        return "systemd-resolved refused the DNS servers";
    }
    // Route every name through this link, so its servers answer rather than another link's.
    if (m_system.runTool({resolvectl, "domain", interface, "~."}).exitStatus != 0) {
        return "systemd-resolved refused the DNS routing domain";
    }
    return std::nullopt;
}

std::optional<std::string>
HelperActions::setDnsInResolvConf(const std::vector<std::string> &servers)
{
    const fs::path file = fs::path(m_system.etcRoot) / "resolv.conf";
    const fs::path backup = fs::path(m_system.etcRoot) / "resolv.conf.kestrelvanta-backup";
    std::error_code error;
    // The first backup keeps the user's own file; later changes never overwrite it.
    if (!fs::exists(backup, error) && fs::exists(file, error)) {
        if (!writeWholeFile(backup, readSmallFile(file))) {
            return "Could not back up /etc/resolv.conf";
        }
    }
    std::string content =
        "# Written by Kestrelvanta; the previous file is resolv.conf.kestrelvanta-backup\n";
    for (const std::string &server : servers) {
        content += "nameserver " + server + "\n";
    }
    // Written beside and renamed over, so a resolver never reads half a file.
    const fs::path staged = fs::path(m_system.etcRoot) / ".resolv.conf.kestrelvanta";
    if (!writeWholeFile(staged, content)) {
        fs::remove(staged, error);
        return "Could not write /etc/resolv.conf";
    }
    fs::permissions(staged,
                    fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                        fs::perms::others_read,
                    error);
    fs::rename(staged, file, error);
    if (error) {
        fs::remove(staged, error);
        return "Could not write /etc/resolv.conf";
    }
    return std::nullopt;
}

std::optional<std::string> HelperActions::flushDns()
{
    bool failed = false;
    std::error_code error;
    if (resolvedRuns()) {
        failed |= m_system.runTool({findTool("resolvectl"), "flush-caches"}).exitStatus != 0;
    }
    const std::string nscd = findTool("nscd");
    if (!nscd.empty() && fs::exists(fs::path(m_system.runRoot) / "nscd" / "socket", error)) {
        failed |= m_system.runTool({nscd, "-i", "hosts"}).exitStatus != 0;
    }
    // dnsmasq empties its cache when it is told to re-read its configuration.
    fs::directory_iterator processes(m_system.procRoot, error);
    if (!error) {
        for (const fs::directory_entry &entry : processes) {
            const std::optional<int> pid =
                HelperCommand::parsePid(entry.path().filename().string());
            if (!pid) {
                continue;
            }
            std::string comm = readSmallFile(entry.path() / "comm");
            if (!comm.empty() && comm.back() == '\n') {
                comm.pop_back();
            }
            if (comm == "dnsmasq") {
                failed |= m_system.sendSignal(*pid, SIGHUP) != 0;
            }
        }
    }
    // With no cache on the machine there is nothing to flush, which is success.
    if (failed) {
        return "Could not flush the DNS cache";
    }
    return std::nullopt;
}

std::optional<std::string> HelperActions::dropCaches()
{
    m_system.syncFileSystems();
    // "1" drops the page cache only: the file data nobody is using, as a purge does.
    if (!writeWholeFile(fs::path(m_system.procRoot) / "sys" / "vm" / "drop_caches", "1")) {
        return "Could not drop the page cache";
    }
    return std::nullopt;
}

} // namespace helper
