#include "ProcMemoryCounters.h"

#include "MeminfoParser.h"
#include "PseudoFile.h"

#include <QDir>

namespace platform {

std::unique_ptr<MemoryCounters> MemoryCounters::create()
{
    return std::make_unique<ProcMemoryCounters>(SystemRoots::current());
}

ProcMemoryCounters::ProcMemoryCounters(SystemRoots roots)
    : m_roots(std::move(roots))
{
}

MemoryCounters::Sample ProcMemoryCounters::sample()
{
    const std::optional<QByteArray> meminfo = PseudoFile::read(m_roots.procRoot + u"/meminfo");
    if (!meminfo) {
        return {};
    }
    return MeminfoParser::parse(*meminfo, zramBytes());
}

quint64 ProcMemoryCounters::zramBytes() const
{
    const QDir block(m_roots.sysRoot + u"/block");
    quint64 total = 0;
    const QStringList devices =
        block.entryList({QStringLiteral("zram*")}, QDir::Dirs | QDir::System);
    for (const QString &device : devices) {
        const std::optional<QByteArray> mmStat =
            PseudoFile::read(block.filePath(device) + u"/mm_stat");
        total += mmStat ? MeminfoParser::zramUsedBytes(*mmStat) : 0;
    }
    return total;
}

} // namespace platform
