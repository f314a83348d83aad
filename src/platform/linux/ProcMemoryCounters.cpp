#include "ProcMemoryCounters.h"

#include "MeminfoParser.h"

#include <QFile>

#include <cstring>
#include <set>
#include <strings.h>

namespace platform {

std::unique_ptr<MemoryCounters> MemoryCounters::create()
{
    return std::make_unique<ProcMemoryCounters>(SystemRoots::current());
}

ProcMemoryCounters::ProcMemoryCounters(SystemRoots roots)
    : m_roots(std::move(roots))
    , m_meminfo(m_roots.procRoot + u"/meminfo")
{
}

ProcMemoryCounters::~ProcMemoryCounters()
{
    if (m_block) {
        ::closedir(m_block);
    }
}

MemoryCounters::Sample ProcMemoryCounters::sample()
{
    const std::optional<QByteArrayView> meminfo = m_meminfo.read();
    if (!meminfo) {
        return {};
    }
    return MeminfoParser::parse(*meminfo, zramBytes());
}

quint64 ProcMemoryCounters::zramBytes()
{
    if (m_block) {
        ::rewinddir(m_block);
    } else {
        m_block = ::opendir(QFile::encodeName(m_roots.sysRoot + u"/block").constData());
        if (!m_block) {
            m_zram.clear();
            return 0;
        }
    }
    quint64 total = 0;
    std::set<QString> present;
    while (const dirent *entry = ::readdir(m_block)) {
        // Device names as the kernel gives them ("zram0"), in any case.
        if (::strncasecmp(entry->d_name, "zram", 4) != 0) {
            continue;
        }
        const QString device = QFile::decodeName(entry->d_name);
        present.insert(device);
        auto reader = m_zram.find(device);
        if (reader == m_zram.end()) {
            reader = m_zram
                         .emplace(device, std::make_unique<PseudoFileReader>(
                                              m_roots.sysRoot + u"/block/" + device + u"/mm_stat"))
                         .first;
        }
        const std::optional<QByteArrayView> mmStat = reader->second->read();
        total += mmStat ? MeminfoParser::zramUsedBytes(*mmStat) : 0;
    }
    std::erase_if(m_zram, [&present](const auto &entry) { return !present.contains(entry.first); });
    return total;
}

} // namespace platform
