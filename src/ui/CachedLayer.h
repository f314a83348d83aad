#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <memory>

/// Shows an item's layer as it is, for `layer.effect`: the texture is drawn again only when the
/// layer's content has changed. The default way of showing a layer marks its whole area as
/// changed on every frame, so with the software renderer anything moving behind a layered item
/// makes the whole item (and everything beneath it) be repainted each frame; with this effect
/// only the area that really changed is.
class CachedLayer : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    /// The layer's texture source; `layer.enabled` sets it (the layer's sampler name is "source").
    Q_PROPERTY(QQuickItem *source READ source WRITE setSource NOTIFY sourceChanged)
    /// While true the texture is not redrawn: the item keeps showing the layer as it was. A panel
    /// holds its layer while a chart in it is being repainted after a sample, so that the sample's
    /// figures and its chart reach the screen together, in one redrawing of the layer, rather than
    /// in two a few milliseconds apart.
    Q_PROPERTY(bool held READ isHeld WRITE setHeld NOTIFY heldChanged)

public:
    explicit CachedLayer(QQuickItem *parent = nullptr);

    [[nodiscard]] QQuickItem *source() const { return m_source; }
    void setSource(QQuickItem *source);
    [[nodiscard]] bool isHeld() const { return *m_held; }
    void setHeld(bool held);

Q_SIGNALS:
    void sourceChanged();
    void heldChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    void orientSource();

    QPointer<QQuickItem> m_source;
    // Shared with the scene graph's node, which reads it before each frame.
    std::shared_ptr<std::atomic<bool>> m_held = std::make_shared<std::atomic<bool>>(false);
};
