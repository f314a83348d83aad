#include "TelemetryFormat.h"

#include "core/DecimalFormat.h"

QString TelemetryFormat::gigabytes(double value)
{
    return DecimalFormat::fixed(value, 1) + u" GB";
}

QString TelemetryFormat::wholeGigabytes(double value)
{
    return DecimalFormat::fixed(value, 0) + u" GB";
}

QString TelemetryFormat::wholePercent(double value)
{
    return DecimalFormat::fixed(value, 0) + u'%';
}
