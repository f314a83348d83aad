#include "PingSummary.h"

#include <QRegularExpression>
#include <QStringDecoder>

std::optional<double> PingSummary::averageMilliseconds(const QByteArray &output)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(output);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    static const QRegularExpression summary(QStringLiteral(
        R"((?:round-trip min/avg/max/stddev|rtt min/avg/max/mdev) = [\d.]+/([\d.]+)/)"));
    const QRegularExpressionMatch match = summary.match(text);
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
