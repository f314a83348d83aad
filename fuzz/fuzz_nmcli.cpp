#include "FuzzCheck.h"
#include "platform/linux/NmcliConnections.h"

using platform::NmcliConnections;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray output = fuzzBytes(data, size);
    const QString uuid = NmcliConnections::firstWiredOrWireless(output);
    // The connection is named by one field of one line: never more text than the output had.
    FUZZ_CHECK(uuid.size() <= output.size());
    FUZZ_CHECK(!uuid.contains(u'\n'));
    for (const QByteArray &line : output.split('\n')) {
        const QStringList fields = NmcliConnections::fields(QString::fromUtf8(line));
        FUZZ_CHECK(fields.size() <= line.size() + 1);
    }
    return 0;
}
