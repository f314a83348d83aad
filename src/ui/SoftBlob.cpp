#include "SoftBlob.h"

#include <QPainter>
#include <QQuickWindow>
#include <QRadialGradient>
#include <QSGImageNode>

#include <cmath>
#include <vector>

namespace {

// One pass of a running-sum box filter over rows (or columns, through the strides) of
// premultiplied ARGB32 pixels.
void boxBlurPass(QImage &image, int radius, bool horizontal)
{
    const int width = image.width();
    const int height = image.height();
    const int lines = horizontal ? height : width;
    const int length = horizontal ? width : height;
    const qsizetype step = horizontal ? 1 : image.bytesPerLine() / 4;
    const qsizetype lineStride = horizontal ? image.bytesPerLine() / 4 : 1;
    auto *pixels = reinterpret_cast<QRgb *>(image.bits());
    std::vector<QRgb> line(static_cast<size_t>(length), 0);
    const int window = 2 * radius + 1;

    for (int l = 0; l < lines; ++l) {
        QRgb *start = pixels + l * lineStride;
        for (int i = 0; i < length; ++i) {
            line[size_t(i)] = start[i * step];
        }
        int sum[4] = {0, 0, 0, 0};
        const auto add = [&](int index, int sign) {
            if (index < 0 || index >= length) {
                return;
            }
            const QRgb p = line[size_t(index)];
            sum[0] += sign * qAlpha(p);
            sum[1] += sign * qRed(p);
            sum[2] += sign * qGreen(p);
            sum[3] += sign * qBlue(p);
        };
        for (int i = -radius; i <= radius; ++i) {
            add(i, 1);
        }
        for (int i = 0; i < length; ++i) {
            const auto mean = [&](int total) { return (total + window / 2) / window; };
            start[i * step] = qRgba(mean(sum[1]), mean(sum[2]), mean(sum[3]), mean(sum[0]));
            add(i + radius + 1, 1);
            add(i - radius, -1);
        }
    }
}

} // namespace

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
    // Three box passes of width w approximate a Gaussian of sigma = w * sqrt(3 / 12); a blur
    // "radius" reads as a standard deviation of half of it.
    const double sigma = blurRadius / 2.0;
    const int boxRadius = std::max(1, int(std::lround(sigma * std::sqrt(12.0 / 3.0) / 2.0)));
    for (int pass = 0; pass < 3; ++pass) {
        boxBlurPass(image, boxRadius, true);
        boxBlurPass(image, boxRadius, false);
    }
    return image;
}

QSGNode *SoftBlob::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    auto *node = static_cast<QSGImageNode *>(oldNode);
    if (!node) {
        node = window()->createImageNode();
        node->setOwnsTexture(true);
    }
    node->setFiltering(smooth() ? QSGTexture::Linear : QSGTexture::Nearest);
    if (m_textureDirty) {
        m_textureDirty = false;
        const QImage image = render(m_color, int(std::lround(m_diameter * textureScale)),
                                    int(std::lround(m_blurRadius * textureScale)));
        node->setTexture(window()->createTextureFromImage(image));
    }
    node->setRect(boundingRect());
    return node;
}
