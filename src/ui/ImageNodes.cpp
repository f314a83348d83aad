#include "ImageNodes.h"

#include <QQuickItem>
#include <QQuickWindow>

QSGImageNode *ImageNodes::update(const QQuickItem &item, QSGNode *oldNode, bool &textureStale,
                                 const std::function<QImage()> &render)
{
    auto *node = static_cast<QSGImageNode *>(oldNode);
    if (!node) {
        node = item.window()->createImageNode();
        node->setOwnsTexture(true);
        textureStale = true;
    }
    if (textureStale) {
        textureStale = false;
        node->setTexture(item.window()->createTextureFromImage(render()));
    }
    return node;
}
