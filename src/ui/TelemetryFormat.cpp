#include "TelemetryFormat.h"

QString TelemetryFormat::gigabytes(double value)
{
    return QString::asprintf("%.1f GB", value);
}

QString TelemetryFormat::wholeGigabytes(double value)
{
    return QString::asprintf("%.0f GB", value);
}

QString TelemetryFormat::wholePercent(double value)
{
    return QString::asprintf("%.0f%%", value);
}
