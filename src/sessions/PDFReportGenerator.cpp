#include "PDFReportGenerator.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QLocale>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPointer>
#include <QSaveFile>
#include <QtConcurrent/QtConcurrentRun>

using namespace Qt::StringLiterals;

PDFReportGenerator::PDFReportGenerator(platform::Clock &clock, ReportIcons icons,
                                       QString desktopFolder, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_icons(std::move(icons))
    , m_desktopFolder(std::move(desktopFolder))
{
}

PDFReportGenerator::~PDFReportGenerator() = default;

QString PDFReportGenerator::reportPath(const QDateTime &startTime) const
{
    if (m_desktopFolder.isEmpty()) {
        return {};
    }
    return QDir(m_desktopFolder).filePath(SessionReportView::fileName(startTime));
}

void PDFReportGenerator::generateSessionReport(const SessionReportView &view,
                                               const QString &filePath, Completion completion)
{
    // The worker gets its own copies of everything it reads.
    QFuture<bool> written =
        QtConcurrent::run([view, filePath, icons = m_icons, generatedAt = m_clock.now()] {
            return writePdfFile(view, filePath, icons, generatedAt);
        });
    deliver(std::move(written), filePath, std::move(completion));
}

QCoro::Task<> PDFReportGenerator::deliver(QFuture<bool> written, QString filePath,
                                          Completion completion)
{
    const QPointer<PDFReportGenerator> self(this);
    const bool success = co_await written;
    if (self && completion) {
        completion(success ? std::optional(filePath) : std::nullopt);
    }
}

bool PDFReportGenerator::writePdfFile(const SessionReportView &view, const QString &filePath,
                                      const ReportIcons &icons, const QDateTime &generatedAt)
{
    // A Desktop folder that is missing fails the report: it is the user's to make, not ours.
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    if (!writePdf(view, file, icons, generatedAt)) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool PDFReportGenerator::writePdf(const SessionReportView &view, QIODevice &device,
                                  const ReportIcons &icons, const QDateTime &generatedAt)
{
    QPdfWriter writer(&device);
    // One unit is one point, and the page has no margins: the media box is the whole page.
    writer.setResolution(72);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::Letter), QPageLayout::Portrait,
                                     QMarginsF(), QPageLayout::Point));
    writer.setTitle(u"Performance Analysis Report"_s);
    writer.setCreator(u"Kestrelvanta"_s);
    QPainter painter;
    if (!painter.begin(&writer)) {
        return false;
    }
    view.render(painter, icons, generatedAt, QLocale());
    return painter.end();
}
