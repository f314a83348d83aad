#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace helper {

/// One privileged request, read from the helper's argument list and checked field by field
/// before anything runs. Nothing here touches the system.
struct HelperCommand {
    enum class Verb { Renice, Autogroup, SetDns, RestoreDns, FlushDns, DropCaches };

    Verb verb = Verb::FlushDns;
    int pid = 0;
    int nice = 0;
    /// The process's start time as /proc/PID/stat's 22nd field gave it when the program found
    /// it: a pid that was reused since then has another.
    unsigned long long startTime = 0;
    std::string target; ///< a NetworkManager connection UUID or an interface name
    std::vector<std::string> servers;

    static constexpr int minimumNice = -20;
    static constexpr int maximumNice = 19;
    /// The only priorities the program asks for: a game raised, a background application
    /// lowered, either put back.
    static constexpr int allowedNices[] = {-10, 10, 0};
    static constexpr std::size_t maximumServers = 4;

    /// The outcome of reading an argument list: a command, or one line saying what is wrong.
    struct Parsed;

    /// Reads "VERB ARGS…" (the words after the program's name).
    [[nodiscard]] static Parsed parse(std::span<const std::string_view> arguments);

    /// A process identifier in plain decimal: digits only, no sign, at least 1.
    [[nodiscard]] static std::optional<int> parsePid(std::string_view text);
    /// A user id in plain decimal: digits only, 0 included.
    [[nodiscard]] static std::optional<int> parseUid(std::string_view text);
    /// A nice value in plain decimal, one of allowedNices.
    [[nodiscard]] static std::optional<int> parseNice(std::string_view text);
    /// Any nice value the kernel accepts, −20 to 19, in plain decimal: an autogroup is put back
    /// to whatever it was before.
    [[nodiscard]] static std::optional<int> parseAnyNice(std::string_view text);
    /// A start time in clock ticks since boot: digits only.
    [[nodiscard]] static std::optional<unsigned long long> parseStartTime(std::string_view text);
    /// A literal IPv4 or IPv6 address (no names, no ports, no zone).
    [[nodiscard]] static bool isIpAddress(std::string_view text);
    [[nodiscard]] static bool isIpv6Address(std::string_view text);
    /// A connection UUID as NetworkManager writes it (8-4-4-4-12 hexadecimal digits).
    [[nodiscard]] static bool isConnectionUuid(std::string_view text);
    /// A kernel interface name: 1 to 15 of letters, digits, "_", ".", ":" and "-", not starting
    /// with "-" (a tool would read it as an option) and not "." or "..".
    [[nodiscard]] static bool isInterfaceName(std::string_view text);

private:
    /// Reads "PID NICE START-TIME" after a process verb, nice already read by the verb's rule.
    [[nodiscard]] static Parsed parseProcessCommand(Verb verb,
                                                    std::span<const std::string_view> rest,
                                                    const char *usage, std::optional<int> nice,
                                                    const char *niceRule);
};

struct HelperCommand::Parsed {
    std::optional<HelperCommand> command;
    std::string error;
};

} // namespace helper
