#include "QuickDriver.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

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
