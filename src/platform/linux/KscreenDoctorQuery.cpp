#include "KscreenDoctorQuery.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace platform {

namespace {

// Identifiers are strings in some releases and numbers in others.
QString identifier(const QJsonValue &value)
{
    return value.isDouble() ? QString::number(value.toInteger()) : value.toString();
}

std::optional<WaylandOutput> readOutput(const QJsonObject &object)
{
    if (!object.value(u"enabled").toBool() || !object.value(u"connected").toBool()) {
        return std::nullopt;
    }
    WaylandOutput output;
    output.name = object.value(u"name").toString();
    if (output.name.isEmpty()) {
        return std::nullopt;
    }
    const QString currentId = identifier(object.value(u"currentModeId"));
    for (const QJsonValue &value : object.value(u"modes").toArray()) {
        const QJsonObject modeObject = value.toObject();
        const QJsonObject size = modeObject.value(u"size").toObject();
        WaylandOutputMode mode;
        mode.id = identifier(modeObject.value(u"id"));
        mode.size = QSize(size.value(u"width").toInt(), size.value(u"height").toInt());
        mode.refreshRate = modeObject.value(u"refreshRate").toDouble();
        if (mode.size.isEmpty()) {
            continue;
        }
        output.modes.append(mode);
        if (!currentId.isEmpty() && mode.id == currentId) {
            output.current = mode;
        }
    }
    if (!output.current) {
        return std::nullopt;
    }
    return output;
}

} // namespace

std::optional<WaylandOutput> KscreenDoctorQuery::mainOutput(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        return std::nullopt;
    }
    std::optional<WaylandOutput> first;
    for (const QJsonValue &value : document.object().value(u"outputs").toArray()) {
        const QJsonObject object = value.toObject();
        std::optional<WaylandOutput> output = readOutput(object);
        if (!output) {
            continue;
        }
        if (object.value(u"primary").toBool() || object.value(u"priority").toInt() == 1) {
            return output;
        }
        if (!first) {
            first = std::move(output);
        }
    }
    return first;
}

} // namespace platform
