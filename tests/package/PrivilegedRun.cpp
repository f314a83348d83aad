// Runs one of the root helper's actions through the program's own privileged runner, exactly as
// the optimizer does, and prints how it ended: "succeeded", or "failed: " and the line the user
// would see. The elevation test starts it as an ordinary user.
// Usage: kv_privileged_run VERB [ARGUMENT...]

#include "platform/PrivilegedRunner.h"
#include "platform/ToolRunner.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList words = QCoreApplication::arguments().mid(1);
    if (words.isEmpty()) {
        std::fprintf(stderr, "usage: kv_privileged_run VERB [ARGUMENT...]\n");
        return 2;
    }
    const QString verb = words.takeFirst();
    const std::unique_ptr<platform::ToolRunner> tools = platform::ToolRunner::create();
    const std::unique_ptr<platform::PrivilegedRunner> privileged =
        platform::PrivilegedRunner::create(*tools);
    const platform::PrivilegedOutcome outcome = QCoro::waitFor(privileged->run(verb, words));
    if (outcome.success) {
        std::printf("succeeded\n");
        return 0;
    }
    std::printf("failed: %s\n", qPrintable(outcome.message));
    return 1;
}
