#include "ConfigInfo.h"

#include "RecordFile.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {
constexpr QLatin1StringView firstRunCompleteKey("firstRunComplete");
constexpr QLatin1StringView installDateKey("installDate");
} // namespace

std::optional<ConfigInfo> ConfigInfo::decode(const QByteArray &json)
{
    const std::optional<QJsonObject> parsed = RecordFile::parseObject(json);
    if (!parsed) {
        return std::nullopt;
    }
    const QJsonObject &object = *parsed;
    const QJsonValue firstRunComplete = object.value(firstRunCompleteKey);
    const QJsonValue installDate = object.value(installDateKey);
    if (!firstRunComplete.isBool() || !installDate.isDouble()) {
        return std::nullopt;
    }
    return ConfigInfo{firstRunComplete.toBool(), installDate.toDouble()};
}

QByteArray ConfigInfo::encode() const
{
    const QJsonObject object{{firstRunCompleteKey, firstRunComplete},
                             {installDateKey, installDate}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}
