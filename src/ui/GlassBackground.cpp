#include "GlassBackground.h"

#include "ImageNodes.h"

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
    const qreal ratio = window()->effectiveDevicePixelRatio();
    QSGImageNode *node = ImageNodes::update(*this, oldNode, m_textureDirty,
                                            [&] { return render(size(), ratio, m_look); });
    node->setFiltering(QSGTexture::Linear);
    // One texture pixel to one screen pixel, so that the texture is copied rather than scaled:
    // the picture spans whole pixels, a fraction of one past a fractional size.
    node->setRect(QRectF(QPointF(0, 0), QSizeF(node->texture()->textureSize()) / ratio));
    return node;
}
