#include "HelperSystem.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace helper {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t maximumOutput = 64 * 1024;
// How often a child is looked at when the kernel offers no pidfd to wait on.
constexpr auto pollStep = std::chrono::milliseconds(20);

// The process group of the tool running now, so the overall deadline can end it too.
volatile sig_atomic_t runningToolGroup = 0;

int openPidfd(pid_t pid)
{
    const long fd = syscall(SYS_pidfd_open, pid, 0);
    return fd < 0 ? -errno : int(fd);
}

int signalPidfd(int fd, int signal)
{
    return syscall(SYS_pidfd_send_signal, fd, signal, nullptr, 0) == 0 ? 0 : errno;
}

int millisecondsUntil(Clock::time_point deadline)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return int(std::clamp<long long>(left, 0, INT_MAX));
}

/// Waits for a child of ours until the deadline, reading its output meanwhile when a pipe is
/// given. A child that closes its output but keeps running, or whose own children hold the
/// pipe open, is waited for only until the deadline; then its whole group is killed. Returns
/// the wait status, or nothing when it ran out of time.
std::optional<int> waitForChild(pid_t child, int output, std::string *text,
                                Clock::time_point deadline)
{
    const int pidfd = openPidfd(child);
    int status = 0;
    bool exited = false;
    const auto readSome = [&] {
        char buffer[4096];
        const ssize_t got = read(output, buffer, sizeof buffer);
        if (got <= 0) {
            // End of output is not the end of the tool: from here only its exit is awaited.
            output = -1;
            return;
        }
        if (text && text->size() < maximumOutput) {
            text->append(buffer, std::size_t(got));
        }
    };
    for (;;) {
        const pid_t waited = waitpid(child, &status, WNOHANG);
        if (waited == child || (waited < 0 && errno != EINTR)) {
            exited = waited == child;
            // What it wrote before it ended; a process it left behind holding the pipe may add
            // more, which is not waited for.
            for (int reads = 0; output >= 0 && reads < 64; ++reads) {
                pollfd readable{output, POLLIN, 0};
                if (poll(&readable, 1, 0) <= 0) {
                    break;
                }
                readSome();
            }
            break;
        }
        const int left = millisecondsUntil(deadline);
        if (left == 0) {
            break;
        }
        pollfd fds[2];
        nfds_t count = 0;
        if (output >= 0) {
            fds[count++] = {output, POLLIN, 0};
        }
        if (pidfd >= 0) {
            fds[count++] = {pidfd, POLLIN, 0};
        }
        const int step =
            pidfd >= 0 ? left : std::min(left, int(std::chrono::milliseconds(pollStep).count()));
        const int ready = poll(fds, count, step);
        if (ready > 0 && output >= 0 && (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            readSome();
        }
    }
    if (pidfd >= 0) {
        close(pidfd);
    }
    if (!exited) {
        kill(-child, SIGKILL);
        kill(child, SIGKILL);
        // A killed child is reaped at once, unless it is stuck in the kernel (a hung disk):
        // then it is left behind rather than waited for.
        waitpid(child, &status, WNOHANG);
        return std::nullopt;
    }
    return status;
}

HelperSystem::ToolOutcome runChild(const std::vector<std::string> &argv,
                                   std::chrono::milliseconds timeLimit)
{
    HelperSystem::ToolOutcome outcome;
    if (argv.empty() || argv.front().empty() || argv.front().front() != '/') {
        return outcome;
    }
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
        return outcome;
    }
    std::vector<char *> words;
    for (const std::string &word : argv) {
        words.push_back(const_cast<char *>(word.c_str()));
    }
    words.push_back(nullptr);
    // A fixed environment: nothing of the caller's reaches a tool that runs as root.
    char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    char locale[] = "LC_ALL=C";
    char *environment[] = {path, locale, nullptr};

    const auto deadline = Clock::now() + timeLimit;
    const pid_t child = fork();
    if (child < 0) {
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        return outcome;
    }
    if (child == 0) {
        // A group of its own, so a deadline ends whatever the tool started as well.
        setpgid(0, 0);
        const int null = open("/dev/null", O_RDWR);
        dup2(null, STDIN_FILENO);
        dup2(pipeEnds[1], STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        execve(words.front(), words.data(), environment);
        _exit(127);
    }
    setpgid(child, child);
    runningToolGroup = child;
    close(pipeEnds[1]);
    const std::optional<int> status = waitForChild(child, pipeEnds[0], &outcome.output, deadline);
    runningToolGroup = 0;
    close(pipeEnds[0]);
    outcome.exitStatus = status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
    return outcome;
}

// sync() cannot be interrupted and may wait on a hung disk for good, so it runs in a child
// that is abandoned when it takes too long.
bool syncWithin(std::chrono::milliseconds timeLimit)
{
    const auto deadline = Clock::now() + timeLimit;
    const pid_t child = fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        sync();
        _exit(0);
    }
    return waitForChild(child, -1, nullptr, deadline).has_value();
}

std::string readLink(const std::string &path)
{
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length <= 0 || std::size_t(length) >= target.size()) {
        return {};
    }
    target.resize(std::size_t(length));
    return target;
}

void endAtDeadline(int)
{
    static constexpr char message[] = "The action took too long and was stopped\n";
    const pid_t group = runningToolGroup;
    if (group > 0) {
        kill(-group, SIGKILL);
    }
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, message, sizeof message - 1);
    _exit(1);
}

} // namespace

HelperSystem HelperSystem::real(std::chrono::milliseconds toolTime,
                                std::chrono::milliseconds syncTime)
{
    HelperSystem system;
    system.callerUid = getuid();
    system.runTool = [toolTime](const std::vector<std::string> &argv) {
        return runChild(argv, toolTime);
    };
    system.setThreadNice = [](int tid, int nice) {
        return setpriority(PRIO_PROCESS, id_t(tid), nice) == 0 ? 0 : errno;
    };
    system.openProcess = [](int pid) { return openPidfd(pid); };
    system.signalProcess = [](int handle, int signal) { return signalPidfd(handle, signal); };
    system.closeProcess = [](int handle) { close(handle); };
    system.executableOf = [](int pid) { return readLink("/proc/" + std::to_string(pid) + "/exe"); };
    system.syncFileSystems = [syncTime] { return syncWithin(syncTime); };
    return system;
}

void HelperSystem::endItselfAfter(std::chrono::seconds span)
{
    struct sigaction action {};
    action.sa_handler = endAtDeadline;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, nullptr);
    alarm(unsigned(span.count()));
}

} // namespace helper
