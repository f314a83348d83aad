#pragma once

#include "ChartSeries.h"

#include <QFutureWatcher>
#include <QImage>
#include <QList>
#include <QQmlListProperty>
#include <QQuickItem>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

/// A live chart: the ChartSeries declared inside it, painted back to front into one picture.
///
/// The picture is painted on a worker thread whenever a series or the size changes, and shown
/// until the next one is ready. Painted on the window's own thread, antialiased curves cost the
/// software renderer several times as much (it hands each batch of spans to other threads and
/// waits for them), and the charts change every second. Series changed together, as by one
/// sample, are painted together: the chart changes on screen once per sample. Changes a few
/// moments apart can be gathered too (`batchInterval`). A hidden chart is not painted until it is
/// shown again.
class ChartPlot : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_CLASSINFO("DefaultProperty", "series")

    Q_PROPERTY(QQmlListProperty<ChartSeries> series READ series CONSTANT)
    /// True from a change until a picture painted after it is shown: the picture on screen is
    /// out of date and a new one is on its way. A change made while a painting runs does not set
    /// it again once that painting is shown, so it never stays true through a run of changes.
    Q_PROPERTY(bool repainting READ isRepainting NOTIFY repaintingChanged)
    /// Milliseconds a change of the series waits for others before the chart is repainted: the
    /// changes that arrive in that time are painted once, together. `repainting` is true while
    /// they wait. 0, the default, paints at the next frame. A new size is painted at once.
    Q_PROPERTY(
        int batchInterval READ batchInterval WRITE setBatchInterval NOTIFY batchIntervalChanged)

public:
    /// A painted chart: the image, in device pixels, and where it goes in item coordinates (a
    /// line and its glow reach beyond the item's edges).
    struct Picture {
        QImage image;
        QRectF rect;
    };

    explicit ChartPlot(QQuickItem *parent = nullptr);

    /// Paints the series, first at the back, for a drawing rectangle of `size` points at
    /// `devicePixelRatio` pixels per point; nothing when no series draws anything.
    [[nodiscard]] static Picture paint(const QList<ChartSeries::Snapshot> &series, QSizeF size,
                                       qreal devicePixelRatio);

    [[nodiscard]] QQmlListProperty<ChartSeries> series();
    /// What the item shows now.
    [[nodiscard]] Picture picture() const { return m_picture; }
    [[nodiscard]] bool isRepainting() const { return m_repainting; }
    [[nodiscard]] int batchInterval() const { return m_batch.interval(); }
    void setBatchInterval(int milliseconds);

Q_SIGNALS:
    /// A newly painted picture is shown.
    void pictureChanged();
    void repaintingChanged();
    void batchIntervalChanged();

protected:
    void componentComplete() override;
    void updatePolish() override;
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    void repaint();
    void seriesChanged();
    /// Whether any series has a value to draw (two or more values).
    [[nodiscard]] bool drawsSomething() const;
    /// Starts painting the series as they are now; false when there is nothing to paint (the
    /// empty picture is then shown at once).
    bool startPainting();
    void show(const Picture &picture);
    void setRepainting(bool repainting);

    QList<ChartSeries *> m_series;
    Picture m_picture;
    bool m_textureStale = false;
    // One painting at a time; a change while it runs asks for another once it is done.
    QFutureWatcher<Picture> m_painting;
    bool m_repaintPending = false;
    // Changes arrived while the chart was hidden; it is painted when shown.
    bool m_missedChanges = false;
    bool m_repainting = false;
    // Runs from a change of the series, when batching, until the repaint it waits for.
    QTimer m_batch;
};
