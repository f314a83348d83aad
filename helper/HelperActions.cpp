#include "HelperActions.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

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

// Writes to a file that is already there (a /proc entry), never creating one nor following a link.
bool writeExistingFile(const fs::path &path, const std::string &content)
{
    const int fd = open(path.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const ssize_t written = write(fd, content.data(), content.size());
    const bool whole = written == ssize_t(content.size());
    return close(fd) == 0 && whole;
}

// A new file, never an existing one and never through a link someone left at its name: mode
// 0644 whatever the umask, content written whole.
bool createNewFile(const fs::path &path, const std::string &content)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    bool written = fchmod(fd, 0644) == 0;
    std::size_t done = 0;
    while (written && done < content.size()) {
        const ssize_t got = write(fd, content.data() + done, content.size() - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        written = got > 0;
        done += written ? std::size_t(got) : 0;
    }
    written = fsync(fd) == 0 && written;
    return close(fd) == 0 && written;
}

// A regular file's content, refusing links; nothing when it is not one.
std::optional<std::string> readRegularFile(const fs::path &path)
{
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    struct stat info {};
    std::optional<std::string> content;
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        content.emplace();
        char buffer[4096];
        ssize_t got = 0;
        while ((got = read(fd, buffer, sizeof buffer)) > 0 && content->size() < 1024 * 1024) {
            content->append(buffer, std::size_t(got));
        }
        if (got < 0) {
            content.reset();
        }
    }
    close(fd);
    return content;
}

bool isSymlink(const fs::path &path)
{
    std::error_code error;
    return fs::is_symlink(fs::symlink_status(path, error));
}

bool anythingAt(const fs::path &path)
{
    std::error_code error;
    return fs::symlink_status(path, error).type() != fs::file_type::not_found && !error;
}

// The line that marks a resolv.conf as ours.
constexpr std::string_view ownHeader =
    "# Written by Kestrelvanta; the previous file is resolv.conf.kestrelvanta-backup\n";

// /proc/PID/stat's 22nd field, the start time; the name in field 2 may hold anything, so the
// fields are counted after its closing parenthesis.
std::optional<unsigned long long> startTimeIn(const std::string &stat)
{
    const std::size_t close = stat.rfind(')');
    if (close == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream fields(stat.substr(close + 1));
    std::string field;
    // Fields 3 to 21 come first.
    for (int index = 3; index <= 22; ++index) {
        if (!(fields >> field)) {
            return std::nullopt;
        }
    }
    return HelperCommand::parseStartTime(field);
}

// The real and effective uids of /proc/PID/status's "Uid:" line.
std::optional<std::pair<unsigned long, unsigned long>> uidsIn(const std::string &status)
{
    std::istringstream lines(status);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.rfind("Uid:", 0) == 0) {
            std::istringstream fields(line.substr(4));
            unsigned long real = 0;
            unsigned long effective = 0;
            if (fields >> real >> effective) {
                return std::pair{real, effective};
            }
            return std::nullopt;
        }
    }
    return std::nullopt;
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
        return renice(command.pid, command.nice, command.startTime);
    case HelperCommand::Verb::Autogroup:
        return setAutogroupNice(command.pid, command.nice, command.startTime);
    case HelperCommand::Verb::SetDns:
        return setDns(command.target, command.servers);
    case HelperCommand::Verb::RestoreDns:
        return restoreDns(command.target);
    case HelperCommand::Verb::FlushDns:
        return flushDns();
    case HelperCommand::Verb::DropCaches:
        return dropCaches();
    }
    return "Unknown action";
}

std::optional<std::string> HelperActions::checkProcess(int handle, int pid,
                                                       unsigned long long startTime) const
{
    const fs::path folder = fs::path(m_system.procRoot) / std::to_string(pid);
    const auto uids = uidsIn(readSmallFile(folder / "status"));
    const auto started = startTimeIn(readSmallFile(folder / "stat"));
    if (!uids || !started || m_system.signalProcess(handle, 0) != 0) {
        return "No such process";
    }
    if (uids->first != m_system.callerUid || uids->second != m_system.callerUid) {
        return "The process belongs to another user";
    }
    if (*started != startTime) {
        // The pid now names another process: the one that was chosen has ended.
        return "No such process";
    }
    return std::nullopt;
}

std::optional<std::string> HelperActions::setAutogroupNice(int pid, int nice,
                                                           unsigned long long startTime)
{
    // Checked through a pidfd as for renice: the process checked is the process changed.
    const int handle = m_system.openProcess(pid);
    if (handle < 0) {
        return "No such process";
    }
    struct Closer {
        const HelperSystem &system;
        int handle;
        ~Closer() { system.closeProcess(handle); }
    } closer{m_system, handle};
    if (auto refused = checkProcess(handle, pid, startTime)) {
        return refused;
    }
    const fs::path file = fs::path(m_system.procRoot) / std::to_string(pid) / "autogroup";
    if (!writeExistingFile(file, std::to_string(nice))) {
        return "Could not change the priority of the process's group";
    }
    if (m_system.signalProcess(handle, 0) != 0) {
        return "No such process";
    }
    return std::nullopt;
}

std::optional<std::string> HelperActions::renice(int pid, int nice, unsigned long long startTime)
{
    // The pidfd stays with the process the pid named when it was opened. What /proc says is
    // read after that, and the process is asked to be alive after that again: if the pid had
    // been reused in between, the pidfd would name a dead process. So the owner and start time
    // checked here are those of the process being changed.
    const int handle = m_system.openProcess(pid);
    if (handle < 0) {
        return "No such process";
    }
    struct Closer {
        const HelperSystem &system;
        int handle;
        ~Closer() { system.closeProcess(handle); }
    } closer{m_system, handle};
    if (auto refused = checkProcess(handle, pid, startTime)) {
        return refused;
    }
    const fs::path folder = fs::path(m_system.procRoot) / std::to_string(pid);

    // A priority belongs to a thread on Linux: renicing only the main thread would leave a
    // game's render and audio threads where they were.
    const fs::path tasks = folder / "task";
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
    if (changed == 0 || m_system.signalProcess(handle, 0) != 0) {
        return "No such process";
    }
    return std::nullopt;
}

bool HelperActions::interfaceExists(const std::string &name) const
{
    std::error_code error;
    return fs::exists(fs::path(m_system.sysRoot) / "class" / "net" / name, error);
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
    // A name that is no interface here (the program's placeholder when it found no connection)
    // changes nothing, least of all the whole machine's resolv.conf.
    if (!interfaceExists(target)) {
        return "No such network interface";
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
    return reapplyConnection(nmcli, uuid);
}

std::optional<std::string> HelperActions::reapplyConnection(const std::string &nmcli,
                                                            const std::string &uuid)
{
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
    // A link means another service (resolved, NetworkManager, resolvconf) owns the file.
    if (isSymlink(file)) {
        return "/etc/resolv.conf is managed by another service";
    }
    // The first backup keeps the user's own file; later changes never overwrite it, nor
    // anything else found at its name.
    if (!anythingAt(backup) && anythingAt(file)) {
        const std::optional<std::string> original = readRegularFile(file);
        if (!original || !createNewFile(backup, *original)) {
            return "Could not back up /etc/resolv.conf";
        }
    }
    std::string content(ownHeader);
    for (const std::string &server : servers) {
        content += "nameserver " + server + "\n";
    }
    return replaceResolvConf(content);
}

std::optional<std::string> HelperActions::replaceResolvConf(const std::string &content)
{
    const fs::path file = fs::path(m_system.etcRoot) / "resolv.conf";
    // Written beside and renamed over, so a resolver never reads half a file. Whatever a crash
    // left at the staged name goes first (unlink removes a link, not what it points to).
    const fs::path staged = fs::path(m_system.etcRoot) / ".resolv.conf.kestrelvanta";
    std::error_code error;
    fs::remove(staged, error);
    if (!createNewFile(staged, content)) {
        fs::remove(staged, error);
        return "Could not write /etc/resolv.conf";
    }
    fs::rename(staged, file, error);
    if (error) {
        fs::remove(staged, error);
        return "Could not write /etc/resolv.conf";
    }
    return std::nullopt;
}

std::optional<std::string> HelperActions::restoreDns(const std::string &target)
{
    if (HelperCommand::isConnectionUuid(target)) {
        const std::string nmcli = findTool("nmcli");
        if (nmcli.empty()) {
            return "NetworkManager's nmcli is not installed";
        }
        // The servers the network hands out again, and none of ours beside them.
        const std::vector<std::string> modify = {
            nmcli,  "connection",           "modify", "uuid",
            target, "ipv4.ignore-auto-dns", "no",     "ipv4.dns",
            "",     "ipv6.ignore-auto-dns", "no",     "ipv6.dns",
            ""};
        if (m_system.runTool(modify).exitStatus != 0) {
            return "NetworkManager refused to restore automatic DNS";
        }
        return reapplyConnection(nmcli, target);
    }
    if (!interfaceExists(target)) {
        return "No such network interface";
    }
    if (resolvedRuns()) {
        // Drops the servers and the routing domain set on this link.
        if (m_system.runTool({findTool("resolvectl"), "revert", target}).exitStatus != 0) {
            return "systemd-resolved refused to restore automatic DNS";
        }
        return std::nullopt;
    }
    return restoreResolvConf();
}

std::optional<std::string> HelperActions::restoreResolvConf()
{
    const fs::path file = fs::path(m_system.etcRoot) / "resolv.conf";
    const fs::path backup = fs::path(m_system.etcRoot) / "resolv.conf.kestrelvanta-backup";
    if (isSymlink(file)) {
        return "/etc/resolv.conf is managed by another service";
    }
    // Only a file of ours is put back; without one there is nothing of ours to undo.
    const std::optional<std::string> current = readRegularFile(file);
    if (!current || current->rfind(ownHeader, 0) != 0 || !anythingAt(backup)) {
        return std::nullopt;
    }
    const std::optional<std::string> original = readRegularFile(backup);
    if (!original) {
        return "Could not read the backup of /etc/resolv.conf";
    }
    if (auto failure = replaceResolvConf(*original)) {
        return failure;
    }
    std::error_code error;
    fs::remove(backup, error);
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
    // dnsmasq empties its cache when it is told to re-read its configuration. Only the
    // system's own dnsmasq is told: a process's name is whatever its owner chose.
    const std::string dnsmasq = findTool("dnsmasq");
    fs::path binary;
    if (!dnsmasq.empty()) {
        binary = fs::canonical(dnsmasq, error);
    }
    fs::directory_iterator processes(m_system.procRoot, error);
    if (!binary.empty() && !error) {
        for (const fs::directory_entry &entry : processes) {
            const std::optional<int> pid =
                HelperCommand::parsePid(entry.path().filename().string());
            if (pid) {
                failed |= !hangUpDnsmasq(*pid, binary.string());
            }
        }
    }
    // With no cache on the machine there is nothing to flush, which is success.
    if (failed) {
        return "Could not flush the DNS cache";
    }
    return std::nullopt;
}

bool HelperActions::hangUpDnsmasq(int pid, const std::string &binary)
{
    // The executable is read after the pidfd is opened and the signal goes through it, so the
    // process checked is the process signalled; one that has just ended needs no flush.
    const int handle = m_system.openProcess(pid);
    if (handle < 0) {
        return true;
    }
    const bool isDnsmasq = m_system.executableOf(pid) == binary;
    const int result = isDnsmasq ? m_system.signalProcess(handle, SIGHUP) : 0;
    m_system.closeProcess(handle);
    return result == 0 || result == ESRCH;
}

std::optional<std::string> HelperActions::dropCaches()
{
    if (!m_system.syncFileSystems()) {
        return "Writing data to disk took too long";
    }
    // "1" drops the page cache only: the file data nobody is using, as a purge does.
    if (!writeWholeFile(fs::path(m_system.procRoot) / "sys" / "vm" / "drop_caches", "1")) {
        return "Could not drop the page cache";
    }
    return std::nullopt;
}

} // namespace helper
