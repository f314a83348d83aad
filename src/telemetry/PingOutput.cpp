#include "PingOutput.h"

#include "platform/ToolOutput.h"

#include <QByteArray>
#include <QString>

namespace {

bool isNumberCharacter(QChar c)
{
    return (c >= u'0' && c <= u'9') || c == u'.';
}

} // namespace

std::optional<double> PingOutput::firstRoundTripTime(QByteArrayView output)
{
    const std::optional<QString> decoded = platform::ToolOutput::text(output);
    if (!decoded) {
        return std::nullopt;
    }
    const QString &text = *decoded;
    static const QString marker = QStringLiteral("time=");
    const qsizetype at = text.indexOf(marker);
    if (at < 0) {
        return std::nullopt;
    }
    QStringView number = QStringView(text).sliced(at + marker.size());
    number = number.first(std::min<qsizetype>(6, number.size()));
    while (!number.isEmpty() && !isNumberCharacter(number.front())) {
        number = number.sliced(1);
    }
    while (!number.isEmpty() && !isNumberCharacter(number.back())) {
        number.chop(1);
    }
    bool ok = false;
    const double value = number.toDouble(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return value;
}
