#include "AppSettings.h"

#include "RecordFile.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {
constexpr QLatin1StringView launchOnStartupKey("launchOnStartup");
constexpr QLatin1StringView autoOptimizeKey("autoOptimize");
} // namespace

std::optional<AppSettings> AppSettings::decode(const QByteArray &json)
{
    const std::optional<QJsonObject> parsed = RecordFile::parseObject(json);
    if (!parsed) {
        return std::nullopt;
    }
    const QJsonObject &object = *parsed;
    const QJsonValue launchOnStartup = object.value(launchOnStartupKey);
    const QJsonValue autoOptimize = object.value(autoOptimizeKey);
    if (!launchOnStartup.isBool() || !autoOptimize.isBool()) {
        return std::nullopt;
    }
    return AppSettings{launchOnStartup.toBool(), autoOptimize.toBool()};
}

QByteArray AppSettings::encode() const
{
    const QJsonObject object{{launchOnStartupKey, launchOnStartup},
                             {autoOptimizeKey, autoOptimize}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}
