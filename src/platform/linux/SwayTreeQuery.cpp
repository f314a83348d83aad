#include "SwayTreeQuery.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace platform {

namespace {

// sway nests outputs, workspaces and containers a few levels deep; a deeper tree is not sway's.
constexpr int maximumDepth = 64;

void collect(const QJsonObject &node, int depth, QList<SwayTreeQuery::Window> &windows)
{
    if (depth > maximumDepth) {
        return;
    }
    const QString type = node.value(u"type").toString();
    if ((type == u"con" || type == u"floating_con") && node.value(u"pid").isDouble()) {
        SwayTreeQuery::Window window;
        window.pid = qint32(node.value(u"pid").toInteger());
        window.appId = node.value(u"app_id").toString();
        const QJsonObject properties = node.value(u"window_properties").toObject();
        window.instance = properties.value(u"instance").toString();
        window.windowClass = properties.value(u"class").toString();
        window.focused = node.value(u"focused").toBool();
        windows.append(window);
    }
    for (const auto *key : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1StringView(key)).toArray()) {
            collect(child.toObject(), depth + 1, windows);
        }
    }
}

} // namespace

QList<SwayTreeQuery::Window> SwayTreeQuery::windows(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    QList<Window> result;
    if (document.isObject()) {
        collect(document.object(), 0, result);
    }
    return result;
}

} // namespace platform
