#pragma once

#include <QColor>
#include <QList>
#include <QObject>
#include <QtQml/qqmlregistration.h>

/// One layer of a live chart, declared inside a ChartPlot: a series with its scale, drawn either
/// as a smooth line with a soft glow beneath it or as the straight-edged area under its points,
/// fading from the top. The outlines come from ChartGeometry.
class ChartSeries : public QObject {
    Q_OBJECT
    QML_ELEMENT

    /// The series; "data" is every Item's list of children, so it goes by another name.
    Q_PROPERTY(QList<double> values READ values WRITE setValues NOTIFY seriesChanged)
    /// The value drawn at the top edge; the bottom edge is 0.
    Q_PROPERTY(double maxValue READ maxValue WRITE setMaxValue NOTIFY seriesChanged)
    Q_PROPERTY(Kind kind READ kind WRITE setKind NOTIFY seriesChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY seriesChanged)
    /// The line's width, with round caps and joins.
    Q_PROPERTY(qreal lineWidth READ lineWidth WRITE setLineWidth NOTIFY seriesChanged)
    /// The glow is the line blurred by this radius (0: no glow), in `color` at `glowOpacity`.
    Q_PROPERTY(qreal glowRadius READ glowRadius WRITE setGlowRadius NOTIFY seriesChanged)
    Q_PROPERTY(qreal glowOpacity READ glowOpacity WRITE setGlowOpacity NOTIFY seriesChanged)
    /// The area's opacity at the top edge; it falls to 0 at the bottom edge.
    Q_PROPERTY(qreal topOpacity READ topOpacity WRITE setTopOpacity NOTIFY seriesChanged)

public:
    enum class Kind { Line, Area };
    Q_ENUM(Kind)

    /// Everything needed to paint the layer, copied for a worker thread.
    struct Snapshot {
        QList<double> values;
        double maxValue = 1;
        Kind kind = Kind::Line;
        QColor color = Qt::white;
        qreal lineWidth = 2.5;
        qreal glowRadius = 0;
        qreal glowOpacity = 0;
        qreal topOpacity = 0.3;
    };

    using QObject::QObject;

    [[nodiscard]] const Snapshot &snapshot() const { return m_snapshot; }

    [[nodiscard]] QList<double> values() const { return m_snapshot.values; }
    void setValues(const QList<double> &values);
    [[nodiscard]] double maxValue() const { return m_snapshot.maxValue; }
    void setMaxValue(double maxValue);
    [[nodiscard]] Kind kind() const { return m_snapshot.kind; }
    void setKind(Kind kind);
    [[nodiscard]] QColor color() const { return m_snapshot.color; }
    void setColor(const QColor &color);
    [[nodiscard]] qreal lineWidth() const { return m_snapshot.lineWidth; }
    void setLineWidth(qreal width);
    [[nodiscard]] qreal glowRadius() const { return m_snapshot.glowRadius; }
    void setGlowRadius(qreal radius);
    [[nodiscard]] qreal glowOpacity() const { return m_snapshot.glowOpacity; }
    void setGlowOpacity(qreal opacity);
    [[nodiscard]] qreal topOpacity() const { return m_snapshot.topOpacity; }
    void setTopOpacity(qreal opacity);

Q_SIGNALS:
    void seriesChanged();

private:
    template <typename T>
    void assign(T &field, const T &value);

    Snapshot m_snapshot;
};
