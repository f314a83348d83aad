#pragma once

#include <QImage>
#include <QSGImageNode>

#include <functional>

class QQuickItem;

/// The scene-graph side of the items that show one picture of their own (a gradient, a glass
/// backdrop, a glow, a chart): their image node, made once, which owns its texture.
class ImageNodes {
public:
    /// `oldNode` as an image node, or a new one for `item`'s window. When the node is new or
    /// `textureStale` is set, the texture is made again from `render()` and the flag cleared.
    /// Filtering and placement stay with the caller.
    [[nodiscard]] static QSGImageNode *update(const QQuickItem &item, QSGNode *oldNode,
                                              bool &textureStale,
                                              const std::function<QImage()> &render);
};
