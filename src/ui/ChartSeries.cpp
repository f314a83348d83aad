#include "ChartSeries.h"

template <typename T>
void ChartSeries::assign(T &field, const T &value)
{
    if (!(field == value)) {
        field = value;
        Q_EMIT seriesChanged();
    }
}

void ChartSeries::setValues(const QList<double> &values)
{
    assign(m_snapshot.values, values);
}

void ChartSeries::setMaxValue(double maxValue)
{
    assign(m_snapshot.maxValue, maxValue);
}

void ChartSeries::setKind(Kind kind)
{
    assign(m_snapshot.kind, kind);
}

void ChartSeries::setColor(const QColor &color)
{
    assign(m_snapshot.color, color);
}

void ChartSeries::setLineWidth(qreal width)
{
    assign(m_snapshot.lineWidth, width);
}

void ChartSeries::setGlowRadius(qreal radius)
{
    assign(m_snapshot.glowRadius, radius);
}

void ChartSeries::setGlowOpacity(qreal opacity)
{
    assign(m_snapshot.glowOpacity, opacity);
}

void ChartSeries::setTopOpacity(qreal opacity)
{
    assign(m_snapshot.topOpacity, opacity);
}
