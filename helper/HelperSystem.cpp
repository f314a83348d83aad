#include "HelperSystem.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace helper {

namespace {

constexpr std::size_t maximumOutput = 64 * 1024;
constexpr auto toolTimeout = std::chrono::seconds(30);

HelperSystem::ToolOutcome runChild(const std::vector<std::string> &argv)
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

    const pid_t child = fork();
    if (child < 0) {
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        return outcome;
    }
    if (child == 0) {
        const int null = open("/dev/null", O_RDWR);
        dup2(null, STDIN_FILENO);
        dup2(pipeEnds[1], STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        execve(words.front(), words.data(), environment);
        _exit(127);
    }
    close(pipeEnds[1]);

    const auto deadline = std::chrono::steady_clock::now() + toolTimeout;
    char buffer[4096];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            kill(child, SIGKILL);
            break;
        }
        pollfd readable{pipeEnds[0], POLLIN, 0};
        const int ready = poll(&readable, 1, int(left.count()));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            continue;
        }
        const ssize_t got = read(pipeEnds[0], buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        if (outcome.output.size() < maximumOutput) {
            outcome.output.append(buffer, std::size_t(got));
        }
    }
    close(pipeEnds[0]);

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

} // namespace

HelperSystem HelperSystem::real()
{
    HelperSystem system;
    system.runTool = runChild;
    system.setThreadNice = [](int tid, int nice) {
        return setpriority(PRIO_PROCESS, id_t(tid), nice) == 0 ? 0 : errno;
    };
    system.sendSignal = [](int pid, int signal) { return kill(pid, signal) == 0 ? 0 : errno; };
    system.syncFileSystems = [] { sync(); };
    return system;
}

} // namespace helper
