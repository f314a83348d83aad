#include "CachedLayer.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTextureProvider>

#include <atomic>
#include <memory>

namespace {

// Holds the image node and, before each frame is drawn, brings the layer's texture up to date
// unless the layer is held; the image is marked changed only when the texture was redrawn. The
// node reads the item's flag as it is at each frame: passing it on through updatePaintNode()
// would take a frame that redraws the node, which is what holding is there to avoid.
class CachedLayerNode : public QSGNode {
public:
    CachedLayerNode(QSGImageNode *image, std::shared_ptr<const std::atomic<bool>> held)
        : m_image(image)
        , m_held(std::move(held))
    {
        appendChildNode(m_image);
        setFlag(UsePreprocess);
    }

    [[nodiscard]] QSGImageNode *image() const { return m_image; }

    void preprocess() override
    {
        auto *layer = qobject_cast<QSGDynamicTexture *>(m_image->texture());
        if (!*m_held && layer && layer->updateTexture()) {
            m_image->markDirty(DirtyMaterial);
        }
    }

private:
    QSGImageNode *m_image;
    std::shared_ptr<const std::atomic<bool>> m_held;
};

} // namespace

CachedLayer::CachedLayer(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void CachedLayer::setSource(QQuickItem *source)
{
    if (source == m_source) {
        return;
    }
    m_source = source;
    orientSource();
    Q_EMIT sourceChanged();
    update();
}

void CachedLayer::setHeld(bool held)
{
    if (held == *m_held) {
        return;
    }
    *m_held = held;
    Q_EMIT heldChanged();
    // Once released, the next frame brings the texture up to date. Holding needs no frame: the
    // node keeps showing the texture as it is.
    if (!held) {
        update();
    }
}

void CachedLayer::itemChange(ItemChange change, const ItemChangeData &value)
{
    if (change == ItemSceneChange && value.window) {
        orientSource();
    }
    QQuickItem::itemChange(change, value);
}

void CachedLayer::orientSource()
{
    // The software renderer draws a layer's texture as an image whose first row is the top; a
    // layer is otherwise rendered upside down for the graphics APIs' texture coordinates.
    if (m_source && window() &&
        window()->rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        m_source->setProperty("textureMirroring", 0);
    }
}

QSGNode *CachedLayer::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    QSGTexture *texture = nullptr;
    if (m_source && m_source->isTextureProvider()) {
        if (QSGTextureProvider *provider = m_source->textureProvider()) {
            texture = provider->texture();
        }
    }
    if (!texture || width() <= 0 || height() <= 0) {
        delete oldNode;
        return nullptr;
    }
    auto *node = static_cast<CachedLayerNode *>(oldNode);
    if (!node) {
        node = new CachedLayerNode(window()->createImageNode(), m_held);
    }
    QSGImageNode *image = node->image();
    if (image->texture() != texture) {
        image->setTexture(texture);
    }
    // The layer's own smoothing (off by default) holds, as when the layer is shown directly.
    if (image->filtering() != texture->filtering()) {
        image->setFiltering(texture->filtering());
    }
    if (image->rect() != boundingRect()) {
        image->setRect(boundingRect());
    }
    return node;
}
