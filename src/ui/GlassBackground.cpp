#include "GlassBackground.h"

#include "NinePatch.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>

GlassBackground::GlassBackground(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

template <typename T>
void GlassBackground::assign(T &field, const T &value)
{
    if (!(field == value)) {
        field = value;
        m_textureDirty = true;
        update();
        Q_EMIT appearanceChanged();
    }
}

void GlassBackground::setMaterial(const QColor &color)
{
    assign(m_look.material, color);
}

void GlassBackground::setTint(const QColor &color)
{
    assign(m_look.tint, color);
}

void GlassBackground::setRim(const QColor &color)
{
    assign(m_look.rim, color);
}

void GlassBackground::setRimWidth(qreal width)
{
    assign(m_look.rimWidth, width);
}

void GlassBackground::setRadius(qreal radius)
{
    assign(m_look.radius, radius);
}

void GlassBackground::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        m_textureDirty = true;
        update();
    }
}

void GlassBackground::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemDevicePixelRatioHasChanged) {
        m_textureDirty = true;
        update();
    }
}

QImage GlassBackground::render(QSizeF size, qreal devicePixelRatio, const Look &look)
{
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    const QSize pixels(int(std::ceil(size.width() * ratio)), int(std::ceil(size.height() * ratio)));
    QImage image(pixels.expandedTo(QSize(0, 0)), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (size.isEmpty()) {
        return image;
    }
    const QRectF rect(QPointF(0, 0), size);
    // As a rectangle draws it: the corners no rounder than half the shorter side.
    const qreal radius = std::clamp(look.radius, 0.0, std::min(size.width(), size.height()) / 2);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ratio, ratio);
    painter.setPen(Qt::NoPen);
    painter.setBrush(look.material);
    painter.drawRoundedRect(rect, radius, radius);
    // The tint fills the inside of the rim, which lies on the material alone.
    const qreal rim = std::max(look.rimWidth, 0.0);
    const qreal inner = std::max(radius - rim, 0.0);
    painter.setBrush(look.tint);
    painter.drawRoundedRect(rect.adjusted(rim, rim, -rim, -rim), inner, inner);
    if (rim > 0 && look.rim.alpha() > 0) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(look.rim, rim));
        const qreal middle = std::max(radius - rim / 2, 0.0);
        painter.drawRoundedRect(rect.adjusted(rim / 2, rim / 2, -rim / 2, -rim / 2), middle,
                                middle);
    }
    return image;
}

QSGNode *GlassBackground::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    if (width() <= 0 || height() <= 0) {
        delete oldNode;
        return nullptr;
    }
    if (oldNode && !m_textureDirty) {
        return oldNode;
    }
    m_textureDirty = false;
    delete oldNode;
    QQuickWindow *view = window();
    const qreal ratio = view->effectiveDevicePixelRatio();
    const QImage picture = render(size(), ratio, m_look);
    // Textures are one pixel per screen pixel, so that the corners are copied rather than
    // scaled: the picture spans whole pixels, a fraction of one past a fractional size.
    const auto imageNode = [view, ratio](const QImage &image, const QRect &pixels) {
        QSGImageNode *node = view->createImageNode();
        node->setOwnsTexture(true);
        node->setTexture(view->createTextureFromImage(image));
        node->setFiltering(QSGTexture::Linear);
        node->setRect(QRectF(QPointF(pixels.topLeft()) / ratio, QSizeF(pixels.size()) / ratio));
        return node;
    };
    // Everything but the corners and the rim is one colour, and the rim is the same all along
    // each edge: nine small pieces, the middle ones stretched, show the whole picture for a
    // sliver of its memory.
    const int corner = int(std::ceil((std::max(m_look.radius, m_look.rimWidth)) * ratio)) + 2;
    const std::optional<NinePatch> patch = NinePatch::split(picture, corner);
    if (!patch) {
        return imageNode(picture, picture.rect());
    }
    auto *node = new QSGNode;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            QSGImageNode *piece = imageNode(patch->piece(column, row), patch->target(column, row));
            // A stretched piece is repeated, not blended with its neighbours: smoothing would
            // mix the rim into the pixels beside it.
            if (column == 1 || row == 1) {
                piece->setFiltering(QSGTexture::Nearest);
            }
            node->appendChildNode(piece);
        }
    }
    return node;
}
