#include "QuickDriver.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <algorithm>

namespace {

bool reallyVisible(const QQuickItem *item)
{
    return item->isVisible() && item->opacity() > 0 && item->window();
}

QQuickItem *findItem(QQuickItem *root, const std::function<bool(QQuickItem *)> &matches,
                     bool visibleOnly = true)
{
    if (!root) {
        return nullptr;
    }
    if ((!visibleOnly || reallyVisible(root)) && matches(root)) {
        return root;
    }
    const QList<QQuickItem *> children = root->childItems();
    for (QQuickItem *child : children) {
        if (QQuickItem *found = findItem(child, matches, visibleOnly)) {
            return found;
        }
    }
    return nullptr;
}

void collectItems(QQuickItem *item, const QString &objectName, QList<QQuickItem *> &found)
{
    if (!reallyVisible(item)) {
        return;
    }
    if (item->objectName() == objectName) {
        found.append(item);
    }
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *child : children) {
        collectItems(child, objectName, found);
    }
}

} // namespace

QuickDriver::QuickDriver(QQuickWindow *window)
    : m_window(window)
{
}

QQuickItem *QuickDriver::item(const QString &objectName) const
{
    return itemIn(m_window->contentItem(), objectName);
}

QQuickItem *QuickDriver::anyItem(const QString &objectName) const
{
    return findItem(
        m_window->contentItem(), [&](QQuickItem *item) { return item->objectName() == objectName; },
        false);
}

QQuickItem *QuickDriver::itemIn(QQuickItem *root, const QString &objectName)
{
    return findItem(root, [&](QQuickItem *item) { return item->objectName() == objectName; });
}

QList<QQuickItem *> QuickDriver::itemsIn(QQuickItem *root, const QString &objectName)
{
    QList<QQuickItem *> found;
    if (root) {
        collectItems(root, objectName, found);
    }
    std::sort(found.begin(), found.end(), [](QQuickItem *a, QQuickItem *b) {
        const QPointF pa = a->mapToScene({});
        const QPointF pb = b->mapToScene({});
        return pa.y() < pb.y() || (pa.y() == pb.y() && pa.x() < pb.x());
    });
    return found;
}

QQuickItem *QuickDriver::text(const QString &text) const
{
    return findItem(m_window->contentItem(), [&](QQuickItem *item) {
        return item->inherits("QQuickText") && item->property("text").toString() == text;
    });
}

void QuickDriver::click(QQuickItem *item) const
{
    QVERIFY(item);
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(m_window, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
}

void QuickDriver::hover(QPointF scenePoint) const
{
    QTest::mouseMove(m_window, scenePoint.toPoint());
}
