#include "PingSummary.h"

#include "platform/ToolOutput.h"

#include <QRegularExpression>

std::optional<double> PingSummary::averageMilliseconds(const QByteArray &output)
{
    const std::optional<QString> text = platform::ToolOutput::text(output);
    if (!text) {
        return std::nullopt;
    }
    static const QRegularExpression summary(QStringLiteral(
        R"((?:round-trip min/avg/max/stddev|rtt min/avg/max/mdev) = [\d.]+/([\d.]+)/)"));
    const QRegularExpressionMatch match = summary.match(*text);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    bool ok = false;
    const double average = match.captured(1).toDouble(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return average;
}
