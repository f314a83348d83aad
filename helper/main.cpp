// kestrelvanta-helper: the program's only code that runs as root, started through pkexec with
// an argument list. It accepts six actions, checks every argument before acting, starts tools
// by absolute path without a shell and says what went wrong in one line on standard error.
//
// It acts only on processes of the user who asked: pkexec names that user in PKEXEC_UID; when
// root starts the helper directly, the real uid is the caller.
//
// Every wait has a deadline, and the helper ends itself after HelperSystem::overallDeadline:
// pkexec runs it as root and passes on no signal, so the program's own time-out (longer, as it
// also covers the password dialog) can end pkexec's wait but not the helper.

#include "HelperActions.h"
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
    const helper::HelperCommand::Parsed parsed = helper::HelperCommand::parse(arguments);
    if (!parsed.command) {
        std::fprintf(stderr, "%s\n", parsed.error.c_str());
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
    const std::optional<std::string> error = actions.run(*parsed.command);
    if (error) {
        std::fprintf(stderr, "%s\n", error->c_str());
        return 1;
    }
    return 0;
}
