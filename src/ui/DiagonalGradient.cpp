#include "DiagonalGradient.h"

#include "ImageNodes.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>

DiagonalGradient::DiagonalGradient(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void DiagonalGradient::setColors(const QList<QColor> &colors)
{
    if (colors != m_colors) {
        m_colors = colors;
        Q_EMIT colorsChanged();
        contentChanged();
    }
}

void DiagonalGradient::setRadius(qreal radius)
{
    if (!qFuzzyCompare(radius, m_radius)) {
        m_radius = radius;
        Q_EMIT radiusChanged();
        contentChanged();
    }
}

void DiagonalGradient::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        contentChanged();
    }
}

void DiagonalGradient::contentChanged()
{
    m_textureDirty = true;
    update();
}

QImage DiagonalGradient::render(const QSize &size, const QList<QColor> &colors, qreal radius)
{
    // A texture without an alpha channel lets the renderer copy it rather than blend it, and
    // skip whatever lies beneath: a large saving for a backdrop repainted under moving glows.
    const bool opaque = radius <= 0 && !colors.isEmpty() &&
                        std::all_of(colors.cbegin(), colors.cend(),
                                    [](const QColor &color) { return color.alpha() == 255; });
    QImage image(size, opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (size.isEmpty() || colors.isEmpty()) {
        return image;
    }
    QLinearGradient gradient(0, 0, size.width(), size.height());
    const qsizetype last = std::max<qsizetype>(colors.size() - 1, 1);
    for (qsizetype i = 0; i < colors.size(); ++i) {
        gradient.setColorAt(double(i) / double(last), colors[i]);
    }
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    painter.drawRoundedRect(QRectF(QPointF(0, 0), QSizeF(size)), radius, radius);
    return image;
}

QSGNode *DiagonalGradient::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    const qreal scale = window()->effectiveDevicePixelRatio();
    const QSize pixels(int(std::ceil(width() * scale)), int(std::ceil(height() * scale)));
    if (pixels.isEmpty()) {
        delete oldNode;
        return nullptr;
    }
    QSGImageNode *node = ImageNodes::update(
        *this, oldNode, m_textureDirty, [&] { return render(pixels, m_colors, m_radius * scale); });
    node->setFiltering(QSGTexture::Linear);
    node->setRect(boundingRect());
    return node;
}
