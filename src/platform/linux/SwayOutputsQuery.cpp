#include "SwayOutputsQuery.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace platform {

namespace {

// sway reads its commands as text of its own syntax: a name with spaces, quotes or semicolons
// would be read as more than a name, so such an output is not switched at all.
bool isPlainName(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_.:-]{1,64}$"));
    return plain.match(name).hasMatch();
}

std::optional<WaylandOutputMode> readMode(const QJsonValue &value)
{
    const QJsonObject object = value.toObject();
    WaylandOutputMode mode;
    mode.size = QSize(object.value(u"width").toInt(), object.value(u"height").toInt());
    // sway counts in millihertz.
    mode.refreshRate = object.value(u"refresh").toDouble() / 1000.0;
    if (mode.size.isEmpty()) {
        return std::nullopt;
    }
    return mode;
}

} // namespace

std::optional<WaylandOutput> SwayOutputsQuery::mainOutput(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray()) {
        return std::nullopt;
    }
    for (const QJsonValue &value : document.array()) {
        const QJsonObject object = value.toObject();
        if (!object.value(u"active").toBool()) {
            continue;
        }
        WaylandOutput output;
        output.name = object.value(u"name").toString();
        output.current = readMode(object.value(u"current_mode"));
        if (!output.current) {
            continue;
        }
        if (!isPlainName(output.name)) {
            return std::nullopt;
        }
        for (const QJsonValue &modeValue : object.value(u"modes").toArray()) {
            if (const std::optional<WaylandOutputMode> mode = readMode(modeValue)) {
                output.modes.append(*mode);
            }
        }
        output.anySize = output.modes.isEmpty();
        return output;
    }
    return std::nullopt;
}

} // namespace platform
