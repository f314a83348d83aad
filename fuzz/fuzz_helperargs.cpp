#include "FuzzCheck.h"
#include "HelperBatch.h"
#include "HelperCommand.h"

#include <algorithm>
#include <string_view>
#include <vector>

using helper::HelperBatch;
using helper::HelperCommand;

namespace {

// Nothing unchecked gets through to a root action.
void checkCommand(const HelperCommand &command)
{
    switch (command.verb) {
    case HelperCommand::Verb::Renice:
        FUZZ_CHECK(command.pid >= 1);
        FUZZ_CHECK(std::ranges::find(HelperCommand::allowedNices, command.nice) !=
                   std::end(HelperCommand::allowedNices));
        break;
    case HelperCommand::Verb::Autogroup:
        FUZZ_CHECK(command.pid >= 1);
        FUZZ_CHECK(command.nice >= -20 && command.nice <= 19);
        break;
    case HelperCommand::Verb::SetDns:
        FUZZ_CHECK(!command.servers.empty() &&
                   command.servers.size() <= HelperCommand::maximumServers);
        for (const std::string &server : command.servers) {
            FUZZ_CHECK(HelperCommand::isIpAddress(server));
        }
        [[fallthrough]];
    case HelperCommand::Verb::RestoreDns:
        FUZZ_CHECK(HelperCommand::isConnectionUuid(command.target) ||
                   HelperCommand::isInterfaceName(command.target));
        FUZZ_CHECK(command.target.front() != '-');
        break;
    case HelperCommand::Verb::FlushDns:
    case HelperCommand::Verb::DropCaches:
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The argument list, one word per NUL- or newline-separated piece of the input.
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::vector<std::string_view> arguments;
    std::string_view rest(text);
    while (!rest.empty()) {
        const std::size_t end = rest.find_first_of(std::string_view("\0\n", 2));
        arguments.push_back(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    if (!arguments.empty() && arguments.front() == HelperBatch::verb) {
        // The batch form: every step passes its own verb's checks, or nothing runs.
        const HelperBatch::Parsed parsed = HelperBatch::parse(std::span(arguments).subspan(1));
        FUZZ_CHECK(parsed.batch.has_value() != !parsed.error.empty());
        if (!parsed.batch) {
            return 0;
        }
        FUZZ_CHECK(!parsed.batch->steps.empty() &&
                   parsed.batch->steps.size() <= HelperBatch::maximumSteps);
        for (const HelperBatch::Step &step : parsed.batch->steps) {
            checkCommand(step.command);
        }
        return 0;
    }
    const HelperCommand::Parsed parsed = HelperCommand::parse(arguments);
    FUZZ_CHECK(parsed.command.has_value() != !parsed.error.empty());
    if (!parsed.command) {
        return 0;
    }
    checkCommand(*parsed.command);
    return 0;
}
