#include "SessionCardController.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

SessionCardController::SessionCardController(QObject *parent)
    : QObject(parent)
{
}

SessionCardController::~SessionCardController() = default;

void SessionCardController::setSessionLogger(SessionLogger *logger)
{
    if (m_sessionLogger != logger) {
        m_sessionLogger = logger;
        Q_EMIT sessionLoggerChanged();
    }
}

void SessionCardController::setMonitor(SystemMonitor *monitor)
{
    if (m_monitor != monitor) {
        m_monitor = monitor;
        Q_EMIT monitorChanged();
    }
}

void SessionCardController::setReportGenerator(PDFReportGenerator *generator)
{
    if (m_reportGenerator != generator) {
        m_reportGenerator = generator;
        Q_EMIT reportGeneratorChanged();
    }
}

void SessionCardController::setShowPDFAlert(bool show)
{
    if (m_showPDFAlert != show) {
        m_showPDFAlert = show;
        Q_EMIT showPDFAlertChanged();
    }
}

QString SessionCardController::alertMessage() const
{
    if (m_pdfURL.isEmpty()) {
        return {};
    }
    return u"Report saved to:\n"_s + QFileInfo(m_pdfURL.toLocalFile()).fileName();
}

void SessionCardController::setFileReveal(std::unique_ptr<platform::FileReveal> reveal)
{
    m_reveal = std::move(reveal);
}

void SessionCardController::setStatusMessage(const QString &message)
{
    if (m_statusMessage != message) {
        m_statusMessage = message;
        Q_EMIT statusMessageChanged();
    }
}

void SessionCardController::toggleSession()
{
    if (!m_sessionLogger) {
        return;
    }
    if (!m_isLogging) {
        m_sessionLogger->start();
        setStatusMessage(QString());
    } else {
        stopAndReport();
    }
    m_isLogging = !m_isLogging;
    Q_EMIT isLoggingChanged();
}

void SessionCardController::stopAndReport()
{
    const QDateTime now = m_sessionLogger->clock().now();
    const QDateTime startTime =
        m_sessionLogger->startTime().isValid() ? m_sessionLogger->startTime() : now;
    SessionReportView view;
    view.startTime = startTime;
    view.endTime = now;
    view.ramStats = m_monitor ? m_monitor->ramStats() : RAMStats();
    view.records = m_sessionLogger->records();

    m_sessionLogger->stop();

    if (view.records.isEmpty()) {
        setStatusMessage(u"No data recorded"_s);
        return;
    }
    setStatusMessage(u"Generating PDF report..."_s);
    const QString path = m_reportGenerator ? m_reportGenerator->reportPath(startTime) : QString();
    if (path.isEmpty()) {
        // Without a Desktop folder there is nowhere to write, and the status stays as it is.
        return;
    }
    const QPointer<SessionCardController> self(this);
    m_reportGenerator->generateSessionReport(view, path,
                                             [self](const std::optional<QString> &filePath) {
                                                 if (self) {
                                                     self->reportWritten(filePath);
                                                 }
                                             });
}

void SessionCardController::reportWritten(const std::optional<QString> &filePath)
{
    if (!filePath) {
        setStatusMessage(u"Failed to generate report"_s);
        return;
    }
    setStatusMessage(u"Report saved to Desktop"_s);
    m_pdfURL = QUrl::fromLocalFile(*filePath);
    Q_EMIT pdfURLChanged();
    setShowPDFAlert(true);
}

void SessionCardController::revealReport()
{
    if (m_pdfURL.isEmpty()) {
        return;
    }
    if (!m_reveal) {
        m_reveal = platform::FileReveal::create();
    }
    m_reveal->reveal(m_pdfURL.toLocalFile());
}
