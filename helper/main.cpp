// kestrelvanta-helper: the program's only code that runs as root, started through pkexec with
// an argument list. It accepts six actions, alone or several in one batch, checks every argument
// before acting, starts tools by absolute path without a shell and says what went wrong in one
// line on standard error (a batch prints one line per step on standard output).
//
// It acts only on processes of the user who asked: pkexec names that user in PKEXEC_UID; when
// root starts the helper directly, the real uid is the caller.
//
// Every wait has a deadline, and the helper ends itself after HelperSystem::overallDeadline:
// pkexec runs it as root and passes on no signal, so the program's own time-out (longer, as it
// also covers the password dialog) can end pkexec's wait but not the helper.

#include "HelperActions.h"
#include "HelperBatch.h"
#include "HelperCommand.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

int main(int argc, char *argv[])
{
    std::vector<std::string_view> arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.emplace_back(argv[i]);
    }
    const bool isBatch = !arguments.empty() && arguments.front() == helper::HelperBatch::verb;
    std::optional<helper::HelperBatch> batch;
    std::optional<helper::HelperCommand> command;
    std::string error;
    if (isBatch) {
        helper::HelperBatch::Parsed parsed =
            helper::HelperBatch::parse(std::span(arguments).subspan(1));
        batch = std::move(parsed.batch);
        error = std::move(parsed.error);
    } else {
        helper::HelperCommand::Parsed parsed = helper::HelperCommand::parse(arguments);
        command = std::move(parsed.command);
        error = std::move(parsed.error);
    }
    if (!batch && !command) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    if (geteuid() != 0) {
        std::fprintf(stderr, "%s\n", "This helper must run as root");
        return 1;
    }
    // Files the helper creates get the modes it gives them, whatever the caller's umask was.
    umask(022);
    helper::HelperSystem::endItselfAfter(helper::HelperSystem::overallDeadline);
    helper::HelperSystem system = helper::HelperSystem::real();
    if (const char *caller = std::getenv("PKEXEC_UID")) {
        const std::optional<int> uid = helper::HelperCommand::parseUid(caller);
        if (!uid) {
            std::fprintf(stderr, "%s\n", "Invalid PKEXEC_UID");
            return 1;
        }
        system.callerUid = unsigned(*uid);
    }
    helper::HelperActions actions(std::move(system));
    if (batch) {
        // Each step's line is flushed as it ends, so a helper ended by its deadline still tells
        // which steps were done.
        const bool allSucceeded =
            batch->run([&actions](const helper::HelperCommand &step) { return actions.run(step); },
                       [](const std::string &line) {
                           std::fprintf(stdout, "%s\n", line.c_str());
                           std::fflush(stdout);
                       });
        return allSucceeded ? 0 : 1;
    }
    const std::optional<std::string> failed = actions.run(*command);
    if (failed) {
        std::fprintf(stderr, "%s\n", failed->c_str());
        return 1;
    }
    return 0;
}
