#include "PmsetParser.h"

#include <QRegularExpression>

namespace platform {

namespace {

// A percentage written with an optional sign, as a decimal integer and nothing else.
std::optional<int> integer(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("^[+-]?[0-9]+$"));
    if (!pattern.match(text).hasMatch()) {
        return std::nullopt;
    }
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

// "... Battery Percent : 85%" lines: the name is the first quoted word group, or the text from
// the first space before a letter to the end of the line.
std::optional<PeripheralBattery> fromPercentLine(const QString &line)
{
    const std::optional<int> level =
        integer(line.mid(line.lastIndexOf(u':') + 1).trimmed().remove(u'%'));
    if (!level) {
        return std::nullopt;
    }
    static const QRegularExpression name(QStringLiteral("('[A-Za-z].*?'| [A-Za-z].*)"));
    const QRegularExpressionMatch match = name.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    return PeripheralBattery{match.captured(0).trimmed(), *level};
}

// "Name  85%; discharging; ..." lines: the name is everything before the first percentage.
std::optional<PeripheralBattery> fromAccessoryLine(const QString &line)
{
    static const QRegularExpression percentage(QStringLiteral("\\d+%"));
    const QRegularExpressionMatch match = percentage.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const std::optional<int> level = integer(match.captured(0).remove(u'%'));
    const QString name = line.left(match.capturedStart(0)).trimmed();
    if (!level || name.isEmpty()) {
        return std::nullopt;
    }
    return PeripheralBattery{name, *level};
}

} // namespace

QList<PeripheralBattery> PmsetParser::parseAccessories(QStringView output)
{
    QList<PeripheralBattery> batteries;
    for (const QStringView view : output.split(u'\n')) {
        const QString line = view.toString();
        std::optional<PeripheralBattery> battery;
        if (line.contains(u"Battery Percent")) {
            battery = fromPercentLine(line);
        } else if (!line.contains(u"- InternalBattery") && !line.isEmpty() &&
                   !line.contains(u"BatteryPower")) {
            battery = fromAccessoryLine(line);
        }
        if (battery) {
            batteries.append(*battery);
        }
    }
    return batteries;
}

} // namespace platform
