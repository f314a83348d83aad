#include "ProcNetRoute.h"

#include <QList>

namespace platform {

QString ProcNetRoute::defaultInterface(const QByteArray &table)
{
    const QList<QByteArray> lines = table.split('\n');
    // The first line names the columns: Iface Destination Gateway Flags RefCnt Use Metric Mask…
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QList<QByteArray> columns = lines.at(i).simplified().split(' ');
        if (columns.size() < 8) {
            continue;
        }
        if (columns.at(1) == "00000000" && columns.at(7) == "00000000") {
            return QString::fromUtf8(columns.at(0));
        }
    }
    return {};
}

} // namespace platform
