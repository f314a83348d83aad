#pragma once

#include "ReportIcons.h"
#include "SessionRecord.h"
#include "telemetry/RAMStats.h"

#include <QColor>
#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QSizeF>
#include <QStringList>

class QPainter;

/// The one-page performance report of a recorded session: its figures and its layout on a US
/// Letter page, top to bottom the header, the session summary, the memory figures at the stop,
/// the processor and memory metrics, the recommendations and the footer.
///
/// The page shows aggregates only, so it stays one page however long the session was.
struct SessionReportView {
    QList<SessionRecord> records;
    QDateTime startTime;
    QDateTime endTime;
    RAMStats ramStats;

    /// US Letter, portrait, in points.
    static constexpr QSizeF pageSize{612, 792};
    /// The product's site, printed in the footer.
    static constexpr QStringView webAddress = u"https://kestrelvanta.app";
    /// Every symbol the page draws.
    static const QStringList symbols;

    struct Metrics {
        double averageCPU = 0;
        double peakCPU = 0;
        double averageRAM = 0;
        double peakRAM = 0;
    };

    /// Means and peaks of the records' processor and memory load; all 0 without records.
    [[nodiscard]] Metrics metrics() const;
    /// Whole seconds from start to end: "42s", "12m 5s", "2h 7m".
    [[nodiscard]] QString formatDuration() const;
    /// The advice lines, in order: high processor load (mean above 80), high memory use (mean
    /// above 80), all is well (both means below 50), then the two that always apply.
    [[nodiscard]] QStringList generateRecommendations() const;

    /// "Kestrelvanta_Report_2024-03-09_21-05-33.pdf" for a session started at that moment.
    [[nodiscard]] static QString fileName(const QDateTime &startTime);
    /// The locale's medium date and short time: "Mar 9, 2024, 9:05 PM" in American English.
    [[nodiscard]] static QString mediumDateShortTime(const QDateTime &moment,
                                                     const QLocale &locale);
    /// The locale's long date (without the weekday) and short time: "March 9, 2024, 9:05 PM".
    [[nodiscard]] static QString longDateShortTime(const QDateTime &moment, const QLocale &locale);

    /// Draws the page into a painter whose units are points, with generatedAt in the footer.
    void render(QPainter &painter, const ReportIcons &icons, const QDateTime &generatedAt,
                const QLocale &locale) const;

private:
    struct Canvas;

    void headerSection(Canvas &canvas) const;
    void summarySection(Canvas &canvas) const;
    void systemStatsSection(Canvas &canvas) const;
    void performanceChartSection(Canvas &canvas) const;
    void recommendationsSection(Canvas &canvas) const;
    void footerSection(Canvas &canvas) const;

    static void summaryItem(Canvas &canvas, double x, double width, const QString &title,
                            const QString &value, const QString &icon);
    static void statBox(Canvas &canvas, double x, double width, const QString &title,
                        const QString &value, const QColor &color);
    static void metricRow(Canvas &canvas, const QString &label, double value, double maxValue);
};
