#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

/// A rounded rectangle filled with a linear gradient from its top-leading to its bottom-trailing
/// corner, stops evenly spaced. Drawn into a texture when its size or colours change and only
/// blitted otherwise, which keeps the renderer's per-frame cost down when the gradient lies behind
/// moving content.
class DiagonalGradient : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QList<QColor> colors READ colors WRITE setColors NOTIFY colorsChanged)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY radiusChanged)

public:
    explicit DiagonalGradient(QQuickItem *parent = nullptr);

    [[nodiscard]] QList<QColor> colors() const { return m_colors; }
    void setColors(const QList<QColor> &colors);
    [[nodiscard]] qreal radius() const { return m_radius; }
    void setRadius(qreal radius);

    [[nodiscard]] static QImage render(const QSize &size, const QList<QColor> &colors,
                                       qreal radius);

Q_SIGNALS:
    void colorsChanged();
    void radiusChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    void contentChanged();

    QList<QColor> m_colors;
    qreal m_radius = 0;
    bool m_textureDirty = true;
};
