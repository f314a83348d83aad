#include "SessionReportView.h"

#include "core/DecimalFormat.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The page is printed as often as it is read on screen: dark text on white, with the
// program's accent colours for the brand, the figures and the marks.
const QColor accent(0x00, 0xD4, 0xFF);
const QColor purple(0x7B, 0x2F, 0xFF);
const QColor green(0x00, 0xFF, 0x88);
const QColor coral(0xFF, 0x6B, 0x6B);
const QColor ink(0x1A, 0x1D, 0x2E);
const QColor secondaryInk(0x5C, 0x62, 0x73);
const QColor footerGray(0x80, 0x80, 0x80);
const QColor rule(0xD5, 0xD9, 0xE2);
const QColor track(0xE8, 0xEB, 0xF1);

constexpr double margin = 40;
constexpr double sectionSpacing = 22;

QString percent(double value)
{
    return DecimalFormat::fixed(value, 1) + u'%';
}

QString gigabytes(double value)
{
    return DecimalFormat::fixed(value, 1) + u" GB";
}

// The locale's long date pattern without its weekday, which neither date style shows.
QString datePatternWithoutWeekday(const QLocale &locale)
{
    static const QRegularExpression weekday(u"d{4}[,،]?\\s*|\\s*[,،]?\\s*d{4}"_s);
    return locale.dateFormat(QLocale::LongFormat).remove(weekday).trimmed();
}

} // namespace

const QStringList SessionReportView::symbols{
    u"gamecontroller.fill"_s, u"clock"_s, u"chart.bar"_s, u"calendar"_s, u"checkmark.circle.fill"_s,
};

struct SessionReportView::Canvas {
    QPainter &painter;
    const ReportIcons &icons;
    const QLocale &locale;
    QDateTime generatedAt;
    double y = margin;

    static constexpr double left = margin;
    static constexpr double width = pageSize.width() - 2 * margin;

    [[nodiscard]] static QFont font(double points, QFont::Weight weight = QFont::Normal)
    {
        QFont font = QGuiApplication::font();
        font.setPointSizeF(points);
        font.setWeight(weight);
        return font;
    }

    // Draws text in a box of the given width from the current pen position; returns its height.
    double text(const QString &text, double x, double top, double boxWidth, const QFont &font,
                const QColor &color, Qt::Alignment alignment = Qt::AlignLeft) const
    {
        painter.setFont(font);
        painter.setPen(color);
        const QRectF box(x, top, boxWidth, pageSize.height());
        const int flags = int(alignment | Qt::AlignTop | Qt::TextWordWrap);
        const QRectF used = painter.boundingRect(box, flags, text);
        painter.drawText(box, flags, text);
        return used.height();
    }

    // Fills the symbol's outline, centred in the square at (x, top).
    void icon(const QString &symbol, double x, double top, double size, const QColor &color) const
    {
        const QString glyph = icons.glyph ? icons.glyph(symbol) : QString();
        if (glyph.isEmpty()) {
            return;
        }
        QFont font = icons.font ? icons.font() : QFont();
        font.setPointSizeF(size);
        QPainterPath outline;
        outline.addText(0, 0, font, glyph);
        const QRectF bounds = outline.boundingRect();
        const QPointF centre(x + size / 2, top + size / 2);
        painter.save();
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.translate(centre - bounds.center());
        painter.drawPath(outline);
        painter.restore();
    }

    void title(const QString &text)
    {
        y += this->text(text, left, y, width, font(15, QFont::Bold), ink) + 10;
    }

    void divider(double top) const
    {
        painter.setPen(QPen(rule, 0.75));
        painter.drawLine(QPointF(left, top), QPointF(left + width, top));
    }
};

SessionReportView::Metrics SessionReportView::metrics() const
{
    Metrics result;
    if (records.isEmpty()) {
        return result;
    }
    double cpuSum = 0;
    double ramSum = 0;
    result.peakCPU = records.first().cpu;
    result.peakRAM = records.first().ramPercent;
    for (const SessionRecord &record : records) {
        cpuSum += record.cpu;
        ramSum += record.ramPercent;
        result.peakCPU = std::max(result.peakCPU, record.cpu);
        result.peakRAM = std::max(result.peakRAM, record.ramPercent);
    }
    result.averageCPU = cpuSum / double(records.size());
    result.averageRAM = ramSum / double(records.size());
    return result;
}

QString SessionReportView::formatDuration() const
{
    const qint64 seconds = startTime.msecsTo(endTime) / 1000;
    if (seconds < 60) {
        return u"%1s"_s.arg(seconds);
    }
    if (seconds < 3600) {
        return u"%1m %2s"_s.arg(seconds / 60).arg(seconds % 60);
    }
    return u"%1h %2m"_s.arg(seconds / 3600).arg(seconds % 3600 / 60);
}

QStringList SessionReportView::generateRecommendations() const
{
    QStringList lines;
    if (!records.isEmpty()) {
        const Metrics figures = metrics();
        if (figures.averageCPU > 80) {
            lines << u"High CPU usage detected. Consider closing background applications."_s;
        }
        if (figures.averageRAM > 80) {
            lines << u"High memory usage. Try purging RAM or closing unused apps."_s;
        }
        if (figures.averageCPU < 50 && figures.averageRAM < 50) {
            lines << u"System performance is optimal for gaming."_s;
        }
    }
    lines << u"Enable Metal HUD to monitor real-time FPS during games."_s
          << u"Use Quick Boost before gaming sessions for better performance."_s;
    return lines;
}

QString SessionReportView::fileName(const QDateTime &startTime)
{
    return u"Kestrelvanta_Report_"_s + startTime.toString(u"yyyy-MM-dd_HH-mm-ss"_s) + u".pdf"_s;
}

QString SessionReportView::mediumDateShortTime(const QDateTime &moment, const QLocale &locale)
{
    QString pattern = datePatternWithoutWeekday(locale);
    // The medium style abbreviates the month's name.
    pattern.replace(u"MMMM"_s, u"MMM"_s);
    return locale.toString(moment.date(), pattern) + u", "_s +
           locale.toString(moment.time(), QLocale::ShortFormat);
}

QString SessionReportView::longDateShortTime(const QDateTime &moment, const QLocale &locale)
{
    return locale.toString(moment.date(), datePatternWithoutWeekday(locale)) + u", "_s +
           locale.toString(moment.time(), QLocale::ShortFormat);
}

void SessionReportView::render(QPainter &painter, const ReportIcons &icons,
                               const QDateTime &generatedAt, const QLocale &locale) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(QRectF(QPointF(0, 0), pageSize), Qt::white);
    Canvas canvas{painter, icons, locale, generatedAt};
    headerSection(canvas);
    summarySection(canvas);
    systemStatsSection(canvas);
    performanceChartSection(canvas);
    recommendationsSection(canvas);
    footerSection(canvas);
    painter.restore();
}

void SessionReportView::headerSection(Canvas &canvas) const
{
    const QFont brand = Canvas::font(28, QFont::Bold);
    const QString name = u"KESTRELVANTA"_s;
    constexpr double iconSize = 30;
    constexpr double gap = 10;
    const double nameWidth = QFontMetricsF(brand, canvas.painter.device()).horizontalAdvance(name);
    const double x = Canvas::left + (Canvas::width - iconSize - gap - nameWidth) / 2;
    const double nameHeight = QFontMetricsF(brand, canvas.painter.device()).height();
    canvas.icon(u"gamecontroller.fill"_s, x, canvas.y + (nameHeight - iconSize) / 2, iconSize,
                accent);
    canvas.text(name, x + iconSize + gap, canvas.y, nameWidth + 1, brand, accent);
    canvas.y += nameHeight + 4;
    canvas.y += canvas.text(u"Performance Analysis Report"_s, Canvas::left, canvas.y, Canvas::width,
                            Canvas::font(13), secondaryInk, Qt::AlignHCenter);
    canvas.y += sectionSpacing + 4;
}

void SessionReportView::summarySection(Canvas &canvas) const
{
    canvas.title(u"Session Summary"_s);
    // The date takes the widest column: it is the longest value.
    const std::array items{
        std::tuple{u"Duration"_s, formatDuration(), u"clock"_s, 0.3},
        std::tuple{u"Records"_s, QString::number(records.size()), u"chart.bar"_s, 0.25},
        std::tuple{u"Date"_s, mediumDateShortTime(startTime, canvas.locale), u"calendar"_s, 0.45},
    };
    double x = Canvas::left;
    for (const auto &[title, value, icon, share] : items) {
        summaryItem(canvas, x, Canvas::width * share, title, value, icon);
        x += Canvas::width * share;
    }
    canvas.y += 40 + 14;
    canvas.divider(canvas.y);
    canvas.y += sectionSpacing;
}

void SessionReportView::summaryItem(Canvas &canvas, double x, double width, const QString &title,
                                    const QString &value, const QString &icon)
{
    constexpr double iconSize = 20;
    constexpr double gap = 8;
    canvas.icon(icon, x, canvas.y + 4, iconSize, accent);
    const double textX = x + iconSize + gap;
    const double textWidth = width - iconSize - gap - 6;
    const double titleHeight =
        canvas.text(title, textX, canvas.y, textWidth, Canvas::font(10), secondaryInk);
    canvas.text(value, textX, canvas.y + titleHeight + 2, textWidth, Canvas::font(13, QFont::Bold),
                ink);
}

void SessionReportView::systemStatsSection(Canvas &canvas) const
{
    canvas.title(u"System Statistics"_s);
    constexpr double gap = 12;
    const double width = (Canvas::width - 3 * gap) / 4;
    const std::array boxes{
        std::tuple{u"Total RAM"_s, gigabytes(ramStats.total), accent},
        std::tuple{u"Used RAM"_s, gigabytes(ramStats.used), purple},
        std::tuple{u"Available"_s, gigabytes(ramStats.available), green},
        std::tuple{u"Usage"_s, percent(ramStats.percent), coral},
    };
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const auto &[title, value, color] = boxes.at(i);
        statBox(canvas, Canvas::left + double(i) * (width + gap), width, title, value, color);
    }
    canvas.y += 64 + sectionSpacing;
}

void SessionReportView::statBox(Canvas &canvas, double x, double width, const QString &title,
                                const QString &value, const QColor &color)
{
    const QRectF box(x, canvas.y, width, 64);
    QColor fill = color;
    fill.setAlphaF(0.12F);
    QColor border = color;
    border.setAlphaF(0.7F);
    canvas.painter.setPen(QPen(border, 1));
    canvas.painter.setBrush(fill);
    canvas.painter.drawRoundedRect(box, 8, 8);
    canvas.painter.setBrush(Qt::NoBrush);
    const double titleHeight =
        canvas.text(title, x + 12, box.top() + 12, width - 24, Canvas::font(10), secondaryInk);
    canvas.text(value, x + 12, box.top() + 14 + titleHeight, width - 24,
                Canvas::font(16, QFont::Bold), ink);
}

void SessionReportView::performanceChartSection(Canvas &canvas) const
{
    canvas.title(u"Performance Metrics"_s);
    if (records.isEmpty()) {
        canvas.y += canvas.text(u"No performance data recorded"_s, Canvas::left, canvas.y,
                                Canvas::width, Canvas::font(12), secondaryInk);
        canvas.y += sectionSpacing;
        return;
    }
    // Every figure is a percentage, so each bar is drawn against the full scale.
    constexpr double fullScale = 100;
    const Metrics figures = metrics();
    metricRow(canvas, u"Average CPU Usage"_s, figures.averageCPU, fullScale);
    metricRow(canvas, u"Peak CPU Usage"_s, figures.peakCPU, fullScale);
    metricRow(canvas, u"Average RAM Usage"_s, figures.averageRAM, fullScale);
    metricRow(canvas, u"Peak RAM Usage"_s, figures.peakRAM, fullScale);
    canvas.y += sectionSpacing - 8;
}

void SessionReportView::metricRow(Canvas &canvas, const QString &label, double value,
                                  double maxValue)
{
    const double height =
        canvas.text(label, Canvas::left, canvas.y, Canvas::width / 2, Canvas::font(12), ink);
    canvas.text(percent(value), Canvas::left + Canvas::width / 2, canvas.y, Canvas::width / 2,
                Canvas::font(12, QFont::Bold), ink, Qt::AlignRight);
    const double barTop = canvas.y + height + 4;
    const QRectF bar(Canvas::left, barTop, Canvas::width, 5);
    canvas.painter.setPen(Qt::NoPen);
    canvas.painter.setBrush(track);
    canvas.painter.drawRoundedRect(bar, 2.5, 2.5);
    const double share = maxValue > 0 ? std::clamp(value / maxValue, 0.0, 1.0) : 0;
    if (share > 0) {
        canvas.painter.setBrush(accent);
        canvas.painter.drawRoundedRect(QRectF(bar.topLeft(), QSizeF(bar.width() * share, 5)), 2.5,
                                       2.5);
    }
    canvas.painter.setBrush(Qt::NoBrush);
    canvas.y = barTop + 5 + 12;
}

void SessionReportView::recommendationsSection(Canvas &canvas) const
{
    canvas.title(u"Recommendations"_s);
    constexpr double iconSize = 14;
    constexpr double indent = iconSize + 8;
    for (const QString &line : generateRecommendations()) {
        canvas.icon(u"checkmark.circle.fill"_s, Canvas::left, canvas.y + 1, iconSize, green);
        canvas.y += canvas.text(line, Canvas::left + indent, canvas.y, Canvas::width - indent,
                                Canvas::font(11), ink) +
                    8;
    }
}

void SessionReportView::footerSection(Canvas &canvas) const
{
    // The footer sits at the foot of the page, below whatever the sections above took.
    const QFont small = Canvas::font(10);
    const double lineHeight = QFontMetricsF(small, canvas.painter.device()).height();
    const double top = std::max(canvas.y + 12, pageSize.height() - margin - 2 * lineHeight - 14);
    canvas.divider(top);
    const double first = top + 12;
    canvas.text(u"Generated by Kestrelvanta on "_s +
                    longDateShortTime(canvas.generatedAt, canvas.locale),
                Canvas::left, first, Canvas::width, small, footerGray, Qt::AlignHCenter);
    canvas.text(webAddress.toString(), Canvas::left, first + lineHeight + 2, Canvas::width, small,
                accent, Qt::AlignHCenter);
    canvas.y = first + 2 * lineHeight + 2;
}
