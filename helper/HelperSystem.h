#pragma once

#include <functional>
#include <string>
#include <vector>

namespace helper {

/// What the helper's actions touch: the roots of the files they read and write and the way
/// they start tools. The real system in production; temporary folders and a recorder in tests.
struct HelperSystem {
    /// A tool's end: its exit status (-1 when it could not run) and what it printed.
    struct ToolOutcome {
        int exitStatus = -1;
        std::string output;
    };
    using ToolRunner = std::function<ToolOutcome(const std::vector<std::string> &argv)>;

    std::string procRoot = "/proc";
    std::string etcRoot = "/etc";
    std::string runRoot = "/run";
    /// Folders searched, in order, for a tool's absolute path.
    std::vector<std::string> toolFolders = {"/usr/sbin", "/usr/bin", "/sbin", "/bin"};
    /// Starts argv[0] (an absolute path) with the remaining words; no shell.
    ToolRunner runTool;
    /// Sets the nice value of one thread; returns 0 or an errno value.
    std::function<int(int tid, int nice)> setThreadNice;
    /// Sends a signal to a process; returns 0 or an errno value.
    std::function<int(int pid, int signal)> sendSignal;
    /// Writes dirty pages back before the page cache is dropped.
    std::function<void()> syncFileSystems;

    /// The real machine.
    static HelperSystem real();
};

} // namespace helper
