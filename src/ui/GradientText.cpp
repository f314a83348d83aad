#include "GradientText.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>

#include <cmath>

GradientText::GradientText(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    relayout();
}

void GradientText::setText(const QString &text)
{
    if (text != m_text) {
        m_text = text;
        Q_EMIT textChanged();
        relayout();
    }
}

void GradientText::setFont(const QFont &font)
{
    if (font != m_font) {
        m_font = font;
        Q_EMIT fontChanged();
        relayout();
    }
}

void GradientText::setColors(const QList<QColor> &colors)
{
    if (colors != m_colors) {
        m_colors = colors;
        Q_EMIT colorsChanged();
        update();
    }
}

void GradientText::relayout()
{
    const QFontMetricsF metrics(m_font);
    setImplicitSize(std::ceil(metrics.horizontalAdvance(m_text)), std::ceil(metrics.height()));
    update();
}

void GradientText::paint(QPainter *painter)
{
    if (m_colors.isEmpty()) {
        return;
    }
    QLinearGradient gradient(0, 0, width(), height());
    const qsizetype last = std::max<qsizetype>(m_colors.size() - 1, 1);
    for (qsizetype i = 0; i < m_colors.size(); ++i) {
        gradient.setColorAt(double(i) / double(last), m_colors[i]);
    }
    painter->setRenderHint(QPainter::TextAntialiasing);
    painter->setFont(m_font);
    painter->setPen(QPen(QBrush(gradient), 0));
    painter->drawText(QRectF(0, 0, width(), height()), Qt::AlignCenter, m_text);
}
