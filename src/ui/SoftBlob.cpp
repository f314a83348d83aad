#include "SoftBlob.h"

#include "GaussianBlur.h"
#include "ImageNodes.h"

#include <QPainter>
#include <QQuickWindow>
#include <QRadialGradient>
#include <QSGImageNode>

#include <algorithm>
#include <cmath>

SoftBlob::SoftBlob(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void SoftBlob::setColor(const QColor &color)
{
    if (color != m_color) {
        m_color = color;
        Q_EMIT colorChanged();
        contentChanged();
    }
}

void SoftBlob::setDiameter(qreal diameter)
{
    if (!qFuzzyCompare(diameter, m_diameter)) {
        m_diameter = diameter;
        Q_EMIT diameterChanged();
        contentChanged();
    }
}

void SoftBlob::setBlurRadius(qreal radius)
{
    if (!qFuzzyCompare(radius, m_blurRadius)) {
        m_blurRadius = radius;
        Q_EMIT blurRadiusChanged();
        contentChanged();
    }
}

void SoftBlob::contentChanged()
{
    const qreal side = m_diameter + 4 * m_blurRadius;
    setImplicitSize(side, side);
    m_textureDirty = true;
    update();
}

QImage SoftBlob::render(const QColor &color, int diameter, int blurRadius)
{
    // A Gaussian blur reaches about twice its radius; three box passes approximate it closely.
    const int margin = 2 * blurRadius;
    const int side = diameter + 2 * margin;
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPointF centre(side / 2.0, side / 2.0);
        QRadialGradient gradient(centre, diameter / 2.0);
        QColor inner = color;
        inner.setAlphaF(color.alphaF() * 0.6F);
        QColor outer = color;
        outer.setAlphaF(0);
        gradient.setColorAt(0, inner);
        gradient.setColorAt(1, outer);
        painter.setPen(Qt::NoPen);
        painter.setBrush(gradient);
        painter.drawEllipse(centre, diameter / 2.0, diameter / 2.0);
    }
    // At least a one-pixel box, however small the texture.
    GaussianBlur::apply(image, std::max<qreal>(blurRadius, 1.0));
    return image;
}

QRect SoftBlob::visibleRect(const QImage &image)
{
    Q_ASSERT(image.format() == QImage::Format_ARGB32_Premultiplied);
    int left = image.width();
    int right = -1;
    int top = image.height();
    int bottom = -1;
    for (int y = 0; y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(line[x]) != 0) {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = y;
            }
        }
    }
    return right < 0 ? QRect() : QRect(QPoint(left, top), QPoint(right, bottom));
}

QSGNode *SoftBlob::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    QSGImageNode *node = ImageNodes::update(*this, oldNode, m_textureDirty, [this] {
        const QImage image = render(m_color, int(std::lround(m_diameter * textureScale)),
                                    int(std::lround(m_blurRadius * textureScale)));
        // The blur leaves a wide rim of wholly transparent pixels. Drawn, it would add nothing
        // but still count as changed whenever the glow moves, so that the renderer repaints the
        // window behind it there too; the node draws only the visible part, in the same place.
        const QRect visible = visibleRect(image);
        if (visible.isEmpty()) {
            m_visiblePart = QRectF(0, 0, 1, 1);
            return image;
        }
        m_visiblePart = QRectF(
            double(visible.x()) / image.width(), double(visible.y()) / image.height(),
            double(visible.width()) / image.width(), double(visible.height()) / image.height());
        return image.copy(visible);
    });
    node->setFiltering(smooth() ? QSGTexture::Linear : QSGTexture::Nearest);
    const QRectF bounds = boundingRect();
    node->setRect(QRectF(bounds.x() + m_visiblePart.x() * bounds.width(),
                         bounds.y() + m_visiblePart.y() * bounds.height(),
                         m_visiblePart.width() * bounds.width(),
                         m_visiblePart.height() * bounds.height()));
    return node;
}
