#pragma once

#include "ReportIcons.h"
#include "SessionReportView.h"
#include "platform/Clock.h"

#include <QCoro/QCoroTask>
#include <QFuture>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

class QIODevice;

/// Writes the one-page session report as a PDF: vector text and shapes on a 612 × 792-point
/// page whose media box starts at the origin.
///
/// The page is drawn on a worker thread so that the window stays responsive; the completion
/// runs on the main thread, after the caller's current work.
class PDFReportGenerator : public QObject {
    Q_OBJECT

public:
    using Completion = std::function<void(const std::optional<QString> &filePath)>;

    /// desktopFolder: where reports are written, empty when the user has none.
    PDFReportGenerator(platform::Clock &clock, ReportIcons icons, QString desktopFolder,
                       QObject *parent = nullptr);
    ~PDFReportGenerator() override;

    [[nodiscard]] QString desktopFolder() const { return m_desktopFolder; }
    /// The report's path for a session started at startTime: the Desktop folder and
    /// SessionReportView::fileName(); empty when there is no Desktop folder.
    [[nodiscard]] QString reportPath(const QDateTime &startTime) const;

    /// Renders the view into filePath, replacing any file of that name, and calls completion
    /// with the path, or with nothing when the file could not be written whole (a missing
    /// folder included: none is created). When the generator is destroyed meanwhile, the
    /// completion is not called.
    void generateSessionReport(const SessionReportView &view, const QString &filePath,
                               Completion completion);

    /// Renders the view into device now, on the calling thread, with generatedAt in the
    /// footer. Returns false when the PDF could not be started on the device.
    [[nodiscard]] static bool writePdf(const SessionReportView &view, QIODevice &device,
                                       const ReportIcons &icons, const QDateTime &generatedAt);
    /// writePdf() into a file, replaced only once it has been written whole.
    [[nodiscard]] static bool writePdfFile(const SessionReportView &view, const QString &filePath,
                                           const ReportIcons &icons, const QDateTime &generatedAt);

private:
    // Waits for the worker on the main thread, then completes there.
    QCoro::Task<> deliver(QFuture<bool> written, QString filePath, Completion completion);

    platform::Clock &m_clock;
    ReportIcons m_icons;
    QString m_desktopFolder;
};
