// kestrelvanta-helper: the program's only code that runs as root, started through pkexec with
// an argument list. It accepts four actions, checks every argument before acting, starts tools
// by absolute path without a shell and says what went wrong in one line on standard error.

#include "HelperActions.h"
#include "HelperCommand.h"

#include <cstdio>
#include <string_view>
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
    helper::HelperActions actions(helper::HelperSystem::real());
    const std::optional<std::string> error = actions.run(*parsed.command);
    if (error) {
        std::fprintf(stderr, "%s\n", error->c_str());
        return 1;
    }
    return 0;
}
