#include "ApplicationName.h"

namespace platform {

QString ApplicationName::fromProgram(const QString &name)
{
    const QLatin1StringView suffix(".exe");
    if (name.size() > suffix.size() && name.endsWith(suffix, Qt::CaseInsensitive)) {
        return name.chopped(suffix.size());
    }
    return name;
}

} // namespace platform
