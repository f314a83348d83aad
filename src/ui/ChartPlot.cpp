#include "ChartPlot.h"

#include "ChartGeometry.h"
#include "GaussianBlur.h"
#include "ImageNodes.h"

#include <QLinearGradient>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>

namespace {

using Snapshot = ChartSeries::Snapshot;
using Kind = ChartSeries::Kind;

bool hasGlow(const Snapshot &series)
{
    return series.kind == Kind::Line && series.glowRadius > 0 && series.glowOpacity > 0;
}

QPainterPath outline(const Snapshot &series, QSizeF size)
{
    return series.kind == Kind::Line
               ? ChartGeometry::linePath(series.values, series.maxValue, size)
               : ChartGeometry::areaPath(series.values, series.maxValue, size);
}

// The glow's blur box radius, in pixels of the half-resolution image it is blurred in.
int glowBox(const Snapshot &series, qreal ratio)
{
    return GaussianBlur::boxRadius(series.glowRadius * ratio / 2);
}

// How far, in points, a layer's paint reaches beyond its outline: the antialiased edge, the
// line's half-width and the glow's blur (three box passes at half resolution, and the pixel that
// scaling it back up may add).
qreal reach(const Snapshot &series, qreal ratio)
{
    qreal margin = 1;
    if (series.kind == Kind::Line) {
        margin += series.lineWidth / 2;
    }
    if (hasGlow(series)) {
        margin += (2.0 * 3 * glowBox(series, ratio) + 2) / ratio;
    }
    return margin;
}

// The glow of a painted line: its coverage at half resolution (each pixel the mean of a 2 x 2
// block), blurred, in the line's colour. A glow is soft, so half the resolution loses nothing
// visible, and blurring a quarter of the pixels is what makes it cheap enough to repaint with
// every sample.
QImage glowOf(const QImage &line, const Snapshot &series, qreal ratio)
{
    const int lineWidth = line.width();
    const int lineHeight = line.height();
    const int width = (lineWidth + 1) / 2;
    const int height = (lineHeight + 1) / 2;
    // Pixels past the line image's edge count as transparent.
    const auto alphaAt = [&](const QRgb *row, int x) {
        return row && x < lineWidth ? int(qAlpha(row[x])) : 0;
    };
    QImage coverage(width, height, QImage::Format_Alpha8);
    for (int y = 0; y < height; ++y) {
        const auto *top = reinterpret_cast<const QRgb *>(line.constScanLine(2 * y));
        const auto *bottom = 2 * y + 1 < lineHeight
                                 ? reinterpret_cast<const QRgb *>(line.constScanLine(2 * y + 1))
                                 : nullptr;
        uchar *out = coverage.scanLine(y);
        for (int x = 0; x < width; ++x) {
            const int sum = alphaAt(top, 2 * x) + alphaAt(top, 2 * x + 1) + alphaAt(bottom, 2 * x) +
                            alphaAt(bottom, 2 * x + 1);
            out[x] = uchar((sum + 2) / 4);
        }
    }
    GaussianBlur::apply(coverage, series.glowRadius * ratio / 2);
    // The colour at each of the 256 coverages, premultiplied.
    QRgb tint[256];
    const QRgb color = series.color.rgba();
    for (int a = 0; a < 256; ++a) {
        tint[a] = qPremultiply(
            qRgba(qRed(color), qGreen(color), qBlue(color), (qAlpha(color) * a + 127) / 255));
    }
    QImage glow(width, height, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < height; ++y) {
        const uchar *in = coverage.constScanLine(y);
        auto *out = reinterpret_cast<QRgb *>(glow.scanLine(y));
        for (int x = 0; x < width; ++x) {
            out[x] = tint[in[x]];
        }
    }
    return glow;
}

// The part of a line that passes within [left, right] horizontally: the run of its segments
// (each spanning its end points' x, as the chart's curves never turn back) that meet the range.
QPainterPath segmentsWithin(const QPainterPath &path, qreal left, qreal right)
{
    QPainterPath part;
    QPointF start;
    for (int i = 0; i < path.elementCount();) {
        const QPainterPath::Element element = path.elementAt(i);
        if (element.isMoveTo()) {
            start = element;
            ++i;
            continue;
        }
        const bool curve = element.isCurveTo() && i + 2 < path.elementCount();
        const QPointF end = curve ? QPointF(path.elementAt(i + 2)) : QPointF(element);
        if (std::max(start.x(), end.x()) >= left && std::min(start.x(), end.x()) <= right) {
            if (part.isEmpty() || part.currentPosition() != start) {
                part.moveTo(start);
            }
            if (curve) {
                part.cubicTo(path.elementAt(i), path.elementAt(i + 1), end);
            } else {
                part.lineTo(end);
            }
        }
        start = end;
        i += curve ? 3 : 1;
    }
    return part;
}

// Strokes the line, or fills the area, into `image`, whose top left is at `origin` in points.
// The image is painted in vertical strips, each clipped to its own width: Qt's antialiasing
// rasterizer slows down with the square of the cells on a row, and a chart's long, nearly level
// edges put hundreds of cells on a few rows. A strip strokes only the segments near it.
void paintLayer(QImage &image, QPointF origin, qreal ratio, const Snapshot &series,
                const QPainterPath &path, QSizeF size)
{
    constexpr int stripWidth = 128;
    const bool line = series.kind == Kind::Line;
    QBrush brush(Qt::NoBrush);
    QPen pen(Qt::NoPen);
    if (line) {
        pen = QPen(series.color, series.lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    } else {
        QColor top = series.color;
        top.setAlphaF(float(series.color.alphaF() * series.topOpacity));
        QColor bottom = series.color;
        bottom.setAlphaF(0);
        QLinearGradient gradient(0, 0, 0, size.height());
        gradient.setColorAt(0, top);
        gradient.setColorAt(1, bottom);
        brush = QBrush(gradient);
    }
    const qreal reach = series.lineWidth / 2 + 1;
    for (int x = 0; x < image.width(); x += stripWidth) {
        const int width = std::min(stripWidth, image.width() - x);
        QImage strip(image.bits() + qsizetype(x) * 4, width, image.height(), image.bytesPerLine(),
                     image.format());
        const qreal left = origin.x() + x / ratio;
        const QPainterPath part =
            line ? segmentsWithin(path, left - reach, left + width / ratio + reach) : path;
        if (part.isEmpty()) {
            continue;
        }
        QPainter painter(&strip);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(-x, 0);
        painter.scale(ratio, ratio);
        painter.translate(-origin);
        painter.setPen(pen);
        painter.setBrush(brush);
        painter.drawPath(part);
    }
}

QImage transparentImage(QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

ChartPlot::ChartPlot(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    m_batch.setSingleShot(true);
    m_batch.setInterval(0);
    connect(&m_batch, &QTimer::timeout, this, &ChartPlot::repaint);
    connect(&m_painting, &QFutureWatcher<Picture>::finished, this, [this] {
        show(m_painting.result());
        if (m_repaintPending) {
            startPainting();
        }
        setRepainting(false);
    });
}

ChartPlot::Picture ChartPlot::paint(const QList<Snapshot> &series, QSizeF size,
                                    qreal devicePixelRatio)
{
    const qreal ratio = devicePixelRatio > 0 ? devicePixelRatio : 1;
    if (size.isEmpty()) {
        return {};
    }
    // The picture covers the drawing rectangle and whatever any layer reaches beyond it (values
    // are not clamped, and a line at an edge is half outside it).
    QList<QPainterPath> paths;
    QRectF rect;
    for (const Snapshot &layer : series) {
        paths.append(outline(layer, size));
        if (!paths.last().isEmpty()) {
            const qreal margin = reach(layer, ratio);
            rect |= paths.last().boundingRect().adjusted(-margin, -margin, margin, margin);
        }
    }
    if (rect.isEmpty()) {
        return {};
    }
    rect |= QRectF(QPointF(0, 0), size);
    const QSize pixels(int(std::ceil(rect.width() * ratio)), int(std::ceil(rect.height() * ratio)));

    QImage picture = transparentImage(pixels);
    for (qsizetype i = 0; i < series.size(); ++i) {
        const Snapshot &layer = series.at(i);
        const QPainterPath &path = paths.at(i);
        if (path.isEmpty()) {
            continue;
        }
        if (!hasGlow(layer)) {
            paintLayer(picture, rect.topLeft(), ratio, layer, path, size);
            continue;
        }
        // The glow is the line's shape, blurred and tinted, under the line. Only the rows the
        // line crosses and the blur's reach need painting: a quiet series is a flat line a few
        // pixels high.
        const int margin = int(std::ceil(reach(layer, ratio) * ratio));
        const QRectF bounds = path.boundingRect();
        const QRect band =
            QRectF((bounds.topLeft() - rect.topLeft()) * ratio, bounds.size() * ratio)
                .toAlignedRect()
                .adjusted(-margin, -margin, margin, margin)
                .intersected(picture.rect());
        QImage line = transparentImage(band.size());
        paintLayer(line, rect.topLeft() + QPointF(band.topLeft()) / ratio, ratio, layer, path,
                   size);
        const QImage glow = glowOf(line, layer, ratio);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.setOpacity(layer.glowOpacity);
        painter.drawImage(QRectF(band.topLeft(), QSizeF(glow.size() * 2)), glow);
        painter.setOpacity(1);
        painter.drawImage(band.topLeft(), line);
    }
    return {picture, rect};
}

QQmlListProperty<ChartSeries> ChartPlot::series()
{
    return {this, &m_series};
}

void ChartPlot::componentComplete()
{
    QQuickItem::componentComplete();
    for (ChartSeries *series : std::as_const(m_series)) {
        connect(series, &ChartSeries::seriesChanged, this, &ChartPlot::seriesChanged);
    }
    repaint();
}

void ChartPlot::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size()) {
        repaint();
    }
}

void ChartPlot::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if ((change == ItemSceneChange && value.window) || change == ItemDevicePixelRatioHasChanged) {
        repaint();
    }
    // Shown again: the picture catches up with the changes made while hidden.
    if (change == ItemVisibleHasChanged && value.boolValue && m_missedChanges) {
        repaint();
    }
}

void ChartPlot::setBatchInterval(int milliseconds)
{
    milliseconds = std::max(0, milliseconds);
    if (milliseconds != m_batch.interval()) {
        m_batch.setInterval(milliseconds);
        Q_EMIT batchIntervalChanged();
    }
}

bool ChartPlot::drawsSomething() const
{
    return std::any_of(m_series.begin(), m_series.end(), [](const ChartSeries *series) {
        return series->snapshot().values.size() >= 2;
    });
}

void ChartPlot::seriesChanged()
{
    // An empty chart that stays empty has nothing to wait for.
    const bool staysEmpty = m_picture.image.isNull() && !drawsSomething();
    if (m_batch.interval() == 0 || staysEmpty || !isComponentComplete()) {
        repaint();
        return;
    }
    // The first change of a batch starts the wait; later ones join it.
    setRepainting(true);
    if (!m_batch.isActive()) {
        m_batch.start();
    }
}

void ChartPlot::repaint()
{
    // Changes made together, such as every series following one sample, meet before the next
    // frame; the picture is painted once for all of them, including any still being batched.
    m_batch.stop();
    if (!isVisible()) {
        m_missedChanges = true;
        setRepainting(false);
        return;
    }
    if (isComponentComplete()) {
        polish();
    }
}

void ChartPlot::updatePolish()
{
    // Nobody sees a hidden chart (its window covered, say): it is painted once shown again.
    if (!isVisible()) {
        m_missedChanges = true;
        setRepainting(false);
        return;
    }
    m_missedChanges = false;
    if (m_painting.isRunning()) {
        m_repaintPending = true;
        return;
    }
    setRepainting(startPainting());
}

bool ChartPlot::startPainting()
{
    m_repaintPending = false;
    QList<Snapshot> snapshots;
    snapshots.reserve(m_series.size());
    for (const ChartSeries *series : std::as_const(m_series)) {
        snapshots.append(series->snapshot());
    }
    if (!drawsSomething() || size().isEmpty() || !window()) {
        // Nothing to draw: no need for a thread to say so.
        show({});
        return false;
    }
    m_painting.setFuture(QtConcurrent::run(&ChartPlot::paint, snapshots, size(),
                                           window()->effectiveDevicePixelRatio()));
    return true;
}

void ChartPlot::show(const Picture &picture)
{
    if (picture.image.isNull() && m_picture.image.isNull()) {
        return;
    }
    m_picture = picture;
    m_textureStale = true;
    update();
    Q_EMIT pictureChanged();
}

void ChartPlot::setRepainting(bool repainting)
{
    if (repainting != m_repainting) {
        m_repainting = repainting;
        Q_EMIT repaintingChanged();
    }
}

QSGNode *ChartPlot::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    if (m_picture.image.isNull()) {
        delete oldNode;
        return nullptr;
    }
    QSGImageNode *node =
        ImageNodes::update(*this, oldNode, m_textureStale, [this] { return m_picture.image; });
    node->setFiltering(smooth() ? QSGTexture::Linear : QSGTexture::Nearest);
    node->setRect(m_picture.rect);
    return node;
}
