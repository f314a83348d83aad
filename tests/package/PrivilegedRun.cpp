// Runs one of the root helper's actions through the program's own privileged runner, exactly as
// the optimizer does, and prints how it ended: "succeeded", or "failed: " and the line the user
// would see. With "steps", several actions separated by ";" run as the optimizer runs one
// user action's steps, one line each. The elevation test starts it as an ordinary user.
// Usage: kv_privileged_run VERB [ARGUMENT...]
//        kv_privileged_run steps VERB [ARGUMENT...] [; VERB [ARGUMENT...]]...

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
    if (verb == QLatin1String("steps")) {
        QList<platform::PrivilegedStep> steps{{}};
        for (const QString &word : std::as_const(words)) {
            if (word == QLatin1String(";")) {
                steps.append(platform::PrivilegedStep{});
            } else if (steps.last().verb.isEmpty()) {
                steps.last().verb = word;
            } else {
                steps.last().arguments.append(word);
            }
        }
        bool allSucceeded = true;
        for (const platform::PrivilegedOutcome &outcome :
             QCoro::waitFor(privileged->runSteps(steps))) {
            allSucceeded = allSucceeded && outcome.success;
            if (outcome.success) {
                std::printf("succeeded\n");
            } else {
                std::printf("failed: %s\n", qPrintable(outcome.message));
            }
        }
        return allSucceeded ? 0 : 1;
    }
    const platform::PrivilegedOutcome outcome = QCoro::waitFor(privileged->run(verb, words));
    if (outcome.success) {
        std::printf("succeeded\n");
        return 0;
    }
    std::printf("failed: %s\n", qPrintable(outcome.message));
    return 1;
}
