#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// A soft, glowing disc: a radial gradient from the colour at 60 % of its opacity in the centre to
/// transparent at the rim, blurred. The blur is computed once into a texture; afterwards only the
/// item's position and scale change, which costs the renderer a blit per frame rather than a blur.
class SoftBlob : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    /// Diameter of the disc before blurring; the item is larger by the blur's reach on each side.
    Q_PROPERTY(qreal diameter READ diameter WRITE setDiameter NOTIFY diameterChanged)
    Q_PROPERTY(qreal blurRadius READ blurRadius WRITE setBlurRadius NOTIFY blurRadiusChanged)

public:
    explicit SoftBlob(QQuickItem *parent = nullptr);

    [[nodiscard]] QColor color() const { return m_color; }
    void setColor(const QColor &color);
    [[nodiscard]] qreal diameter() const { return m_diameter; }
    void setDiameter(qreal diameter);
    [[nodiscard]] qreal blurRadius() const { return m_blurRadius; }
    void setBlurRadius(qreal radius);

    /// The texture's pixels: premultiplied ARGB of side diameter + 2 × 2 × blurRadius, both in
    /// texture pixels. The item draws it at half resolution, stretched: the glow has no detail a
    /// finer texture would show, and it is ready eight times sooner for the first frame.
    [[nodiscard]] static QImage render(const QColor &color, int diameter, int blurRadius);
    static constexpr qreal textureScale = 0.5;
    /// The smallest rectangle holding every pixel of image that is not wholly transparent.
    [[nodiscard]] static QRect visibleRect(const QImage &image);

Q_SIGNALS:
    void colorChanged();
    void diameterChanged();
    void blurRadiusChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;

private:
    void contentChanged();

    QColor m_color = Qt::white;
    qreal m_diameter = 100;
    qreal m_blurRadius = 40;
    bool m_textureDirty = true;
    // The part of the texture the node draws, as a fraction of the whole texture.
    QRectF m_visiblePart{0, 0, 1, 1};
};
