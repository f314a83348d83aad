#pragma once

#include <QList>
#include <QPointF>
#include <QString>

class QQuickItem;
class QQuickWindow;

/// Finds items of a loaded Qt Quick scene and operates them the way a user would, with
/// synthesized mouse events at their on-screen positions.
class QuickDriver {
public:
    explicit QuickDriver(QQuickWindow *window);

    /// The visible item with this objectName, or null.
    [[nodiscard]] QQuickItem *item(const QString &objectName) const;
    /// The item with this objectName, shown or not (transparent, hidden), or null.
    [[nodiscard]] QQuickItem *anyItem(const QString &objectName) const;
    /// The visible item with this objectName inside the given subtree, or null.
    [[nodiscard]] static QQuickItem *itemIn(QQuickItem *root, const QString &objectName);
    /// Every visible item with this objectName inside the given subtree, in reading order (top
    /// to bottom, then left to right).
    [[nodiscard]] static QList<QQuickItem *> itemsIn(QQuickItem *root, const QString &objectName);
    /// The visible text item showing exactly this text, or null.
    [[nodiscard]] QQuickItem *text(const QString &text) const;

    /// Presses and releases the left button at the item's centre.
    void click(QQuickItem *item) const;
    /// Moves the pointer to a point of the scene.
    void hover(QPointF scenePoint) const;

private:
    QQuickWindow *m_window;
};
