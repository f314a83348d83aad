#include "HelperCommand.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>

namespace helper {

namespace {

bool allDigits(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

HelperCommand::Parsed failure(std::string text)
{
    return {std::nullopt, std::move(text)};
}

} // namespace

std::optional<int> HelperCommand::parsePid(std::string_view text)
{
    // Ten digits hold every pid the kernel hands out (pid_max is at most 2^22).
    if (!allDigits(text) || text.size() > 10) {
        return std::nullopt;
    }
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1) {
        return std::nullopt;
    }
    return value;
}

std::optional<int> HelperCommand::parseUid(std::string_view text)
{
    if (text == "0") {
        return 0;
    }
    return parsePid(text);
}

std::optional<int> HelperCommand::parseAnyNice(std::string_view text)
{
    std::string_view digits = text;
    if (!digits.empty() && digits.front() == '-') {
        digits.remove_prefix(1);
    }
    if (!allDigits(digits) || digits.size() > 2) {
        return std::nullopt;
    }
    int value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (text.front() == '-') {
        value = -value;
    }
    if (value < minimumNice || value > maximumNice) {
        return std::nullopt;
    }
    return value;
}

std::optional<int> HelperCommand::parseNice(std::string_view text)
{
    // Game Mode's own values only: any other nice is refused even when the kernel would take it.
    const std::optional<int> value = parseAnyNice(text);
    if (!value || std::find(std::begin(allowedNices), std::end(allowedNices), *value) ==
                      std::end(allowedNices)) {
        return std::nullopt;
    }
    return value;
}

std::optional<unsigned long long> HelperCommand::parseStartTime(std::string_view text)
{
    if (!allDigits(text) || text.size() > 20) {
        return std::nullopt;
    }
    unsigned long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

bool HelperCommand::isIpAddress(std::string_view text)
{
    if (text.empty() || text.size() > 45) {
        return false;
    }
    const std::string copy(text);
    unsigned char buffer[16];
    return inet_pton(AF_INET, copy.c_str(), buffer) == 1 || isIpv6Address(text);
}

bool HelperCommand::isIpv6Address(std::string_view text)
{
    if (text.empty() || text.size() > 45) {
        return false;
    }
    const std::string copy(text);
    unsigned char buffer[16];
    return inet_pton(AF_INET6, copy.c_str(), buffer) == 1;
}

bool HelperCommand::isConnectionUuid(std::string_view text)
{
    static constexpr std::size_t groups[] = {8, 4, 4, 4, 12};
    std::size_t at = 0;
    for (std::size_t group = 0; group < std::size(groups); ++group) {
        if (group > 0) {
            if (at >= text.size() || text[at] != '-') {
                return false;
            }
            ++at;
        }
        for (std::size_t i = 0; i < groups[group]; ++i, ++at) {
            if (at >= text.size() || !isHexDigit(text[at])) {
                return false;
            }
        }
    }
    return at == text.size();
}

bool HelperCommand::isInterfaceName(std::string_view text)
{
    if (text.empty() || text.size() > 15 || text.front() == '-' || text == "." || text == "..") {
        return false;
    }
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '.' || c == ':' || c == '-';
    });
}

HelperCommand::Parsed HelperCommand::parseProcessCommand(Verb verb,
                                                         std::span<const std::string_view> rest,
                                                         const char *usage, std::optional<int> nice,
                                                         const char *niceRule)
{
    // Both process verbs take PID NICE START-TIME; only the nice values they allow differ.
    if (rest.size() != 3) {
        return failure(usage);
    }
    const std::optional<int> pid = parsePid(rest[0]);
    if (!pid) {
        return failure("Invalid process id");
    }
    if (!nice) {
        return failure(niceRule);
    }
    const std::optional<unsigned long long> startTime = parseStartTime(rest[2]);
    if (!startTime) {
        return failure("Invalid process start time");
    }
    HelperCommand command;
    command.verb = verb;
    command.pid = *pid;
    command.nice = *nice;
    command.startTime = *startTime;
    return {command, {}};
}

HelperCommand::Parsed HelperCommand::parse(std::span<const std::string_view> arguments)
{
    if (arguments.empty()) {
        return failure("No action given");
    }
    const std::string_view verb = arguments.front();
    const std::span<const std::string_view> rest = arguments.subspan(1);
    HelperCommand command;

    if (verb == "renice") {
        return parseProcessCommand(Verb::Renice, rest, "Usage: renice PID NICE START-TIME",
                                   parseNice(rest.size() == 3 ? rest[1] : std::string_view()),
                                   "Nice value must be -10, 10 or 0");
    }
    if (verb == "autogroup") {
        return parseProcessCommand(Verb::Autogroup, rest, "Usage: autogroup PID NICE START-TIME",
                                   parseAnyNice(rest.size() == 3 ? rest[1] : std::string_view()),
                                   "Nice value must be between -20 and 19");
    }
    if (verb == "set-dns") {
        if (rest.size() < 2 || rest.size() > 1 + maximumServers) {
            return failure("Usage: set-dns TARGET SERVER...");
        }
        if (!isConnectionUuid(rest[0]) && !isInterfaceName(rest[0])) {
            return failure("Invalid network connection or interface");
        }
        command.verb = Verb::SetDns;
        command.target = std::string(rest[0]);
        for (const std::string_view server : rest.subspan(1)) {
            if (!isIpAddress(server)) {
                return failure("Invalid DNS server address");
            }
            command.servers.emplace_back(server);
        }
        return {command, {}};
    }
    if (verb == "restore-dns") {
        if (rest.size() != 1) {
            return failure("Usage: restore-dns TARGET");
        }
        if (!isConnectionUuid(rest[0]) && !isInterfaceName(rest[0])) {
            return failure("Invalid network connection or interface");
        }
        command.verb = Verb::RestoreDns;
        command.target = std::string(rest[0]);
        return {command, {}};
    }
    if (verb == "flush-dns" || verb == "drop-caches") {
        if (!rest.empty()) {
            return failure("This action takes no arguments");
        }
        command.verb = verb == "flush-dns" ? Verb::FlushDns : Verb::DropCaches;
        return {command, {}};
    }
    return failure("Unknown action");
}

} // namespace helper
