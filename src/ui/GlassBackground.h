#pragma once

#include <QColor>
#include <QImage>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// The backdrop of a glass panel: a rounded rectangle of translucent material, a tint over it
/// and a thin rim inside its edge. Drawn into a picture when its size or colours change, kept as
/// the nine small pieces it is made of (NinePatch) and only blitted otherwise: without a GPU, a
/// blit of one picture costs the renderer far less than the translucent fills and rim of two
/// rectangles, and panels are redrawn with every sample they show and whenever the background moves
/// behind them.
class GlassBackground : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QColor material READ material WRITE setMaterial NOTIFY appearanceChanged)
    Q_PROPERTY(QColor tint READ tint WRITE setTint NOTIFY appearanceChanged)
    Q_PROPERTY(QColor rim READ rim WRITE setRim NOTIFY appearanceChanged)
    Q_PROPERTY(qreal rimWidth READ rimWidth WRITE setRimWidth NOTIFY appearanceChanged)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY appearanceChanged)

public:
    /// What one backdrop looks like, in points.
    struct Look {
        QColor material;
        QColor tint;
        QColor rim;
        qreal rimWidth = 1;
        qreal radius = 0;
    };

    explicit GlassBackground(QQuickItem *parent = nullptr);

    [[nodiscard]] QColor material() const { return m_look.material; }
    void setMaterial(const QColor &color);
    [[nodiscard]] QColor tint() const { return m_look.tint; }
    void setTint(const QColor &color);
    [[nodiscard]] QColor rim() const { return m_look.rim; }
    void setRim(const QColor &color);
    [[nodiscard]] qreal rimWidth() const { return m_look.rimWidth; }
    void setRimWidth(qreal width);
    [[nodiscard]] qreal radius() const { return m_look.radius; }
    void setRadius(qreal radius);

    /// The backdrop at `size` points and `devicePixelRatio` pixels per point: the material
    /// filling the rounded rectangle, the tint over it, and the rim over both, inside the edge.
    [[nodiscard]] static QImage render(QSizeF size, qreal devicePixelRatio, const Look &look);

Q_SIGNALS:
    void appearanceChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    template <typename T>
    void assign(T &field, const T &value);

    Look m_look;
    bool m_textureDirty = true;
};
