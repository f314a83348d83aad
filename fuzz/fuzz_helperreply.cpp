#include "FuzzCheck.h"
#include "platform/linux/PkexecPrivilegedRunner.h"

using platform::PkexecPrivilegedRunner;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The first byte picks how pkexec ended, the rest is what it and the helper wrote.
    if (size < 1) {
        return 0;
    }
    platform::ToolResult result;
    result.outcome = platform::ToolResult::Outcome(data[0] % 4);
    result.exitCode = data[0] / 4 - 1;
    const QByteArray text = fuzzBytes(data + 1, size - 1);
    const qsizetype half = text.indexOf('\0');
    result.standardOutput = half < 0 ? text : text.left(half);
    result.standardError = half < 0 ? QByteArray() : text.mid(half + 1);
    const platform::PrivilegedOutcome outcome = PkexecPrivilegedRunner::outcomeOf(result);
    // A failure always says something, on one line.
    if (!outcome.success) {
        FUZZ_CHECK(!outcome.message.isEmpty());
    }
    FUZZ_CHECK(!outcome.message.contains(u'\n'));

    // The same reply to a batch of 1 to 8 steps: one outcome per step, whatever was printed.
    const qsizetype steps = data[0] % 8 + 1;
    const QList<platform::PrivilegedOutcome> outcomes =
        PkexecPrivilegedRunner::batchOutcomesOf(result, steps);
    FUZZ_CHECK(outcomes.size() == steps);
    for (const platform::PrivilegedOutcome &step : outcomes) {
        FUZZ_CHECK(step.success || !step.message.isEmpty());
        FUZZ_CHECK(!step.message.contains(u'\n'));
    }
    return 0;
}
