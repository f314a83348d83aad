#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace helper {

/// What the helper's actions touch: the roots of the files they read and write and the way
/// they start tools and reach processes. The real system in production; temporary folders and
/// a recorder in tests.
struct HelperSystem {
    /// A tool's end: its exit status (-1 when it could not run or ran out of time) and what it
    /// printed.
    struct ToolOutcome {
        int exitStatus = -1;
        std::string output;
    };
    using ToolRunner = std::function<ToolOutcome(const std::vector<std::string> &argv)>;

    /// How long one tool may run, counting the time after it closed its output.
    static constexpr std::chrono::seconds toolDeadline{20};
    /// How long the write-back before dropping the page cache may take.
    static constexpr std::chrono::seconds syncDeadline{20};
    /// The helper's whole life. pkexec passes no signal on to the helper it started as root, so
    /// the program cannot end it; the helper ends itself after this long, well within the
    /// program's own wait for pkexec (which also covers the password dialog).
    static constexpr std::chrono::seconds overallDeadline{120};

    std::string procRoot = "/proc";
    std::string sysRoot = "/sys";
    std::string etcRoot = "/etc";
    std::string runRoot = "/run";
    /// Folders searched, in order, for a tool's absolute path.
    std::vector<std::string> toolFolders = {"/usr/sbin", "/usr/bin", "/sbin", "/bin"};
    /// The user who asked: pkexec's PKEXEC_UID, or the real uid when started directly.
    unsigned callerUid = 0;
    /// Starts argv[0] (an absolute path) with the remaining words; no shell.
    ToolRunner runTool;
    /// Sets the nice value of one thread; returns 0 or an errno value.
    std::function<int(int tid, int nice)> setThreadNice;
    /// A handle on one process that stays with it even if its pid is reused (a pidfd); returns
    /// the handle, or minus an errno value.
    std::function<int(int pid)> openProcess;
    /// Sends a signal through such a handle (0 only asks whether the process still lives);
    /// returns 0 or an errno value.
    std::function<int(int handle, int signal)> signalProcess;
    /// Gives a handle back.
    std::function<void(int handle)> closeProcess;
    /// Where a running process's executable is, as /proc/PID/exe says; empty when unknown.
    std::function<std::string(int pid)> executableOf;
    /// Writes dirty pages back before the page cache is dropped; false when that did not end
    /// in time.
    std::function<bool()> syncFileSystems;

    /// The real machine; tools get the given time each, the write-back the other.
    static HelperSystem real(std::chrono::milliseconds toolTime = toolDeadline,
                             std::chrono::milliseconds syncTime = syncDeadline);

    /// Ends this process (and the tool it is running) after the given time, whatever it is
    /// waiting for then.
    static void endItselfAfter(std::chrono::seconds span);
};

} // namespace helper
