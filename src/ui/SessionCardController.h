#pragma once

#include "platform/FileReveal.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <memory>

/// The session card's own state and its one action: start a recording, or stop it and write
/// the report to the Desktop. Each card has its own, so a rebuilt card starts out idle even
/// while the logger still records.
class SessionCardController : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(SessionLogger *sessionLogger READ sessionLogger WRITE setSessionLogger NOTIFY
                   sessionLoggerChanged)
    Q_PROPERTY(SystemMonitor *monitor READ monitor WRITE setMonitor NOTIFY monitorChanged)
    Q_PROPERTY(PDFReportGenerator *reportGenerator READ reportGenerator WRITE setReportGenerator
                   NOTIFY reportGeneratorChanged)
    Q_PROPERTY(bool isLogging READ isLogging NOTIFY isLoggingChanged)
    /// The one-line outcome of the last action; empty at first and after a start.
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    /// True while the "report written" alert is up; the alert clears it when it closes.
    Q_PROPERTY(bool showPDFAlert READ showPDFAlert WRITE setShowPDFAlert NOTIFY showPDFAlertChanged)
    /// The last report written, empty before the first.
    Q_PROPERTY(QUrl pdfURL READ pdfURL NOTIFY pdfURLChanged)
    /// The alert's message: "Report saved to:" and the report's file name, or empty without one.
    Q_PROPERTY(QString alertMessage READ alertMessage NOTIFY pdfURLChanged)

    Q_MOC_INCLUDE("sessions/SessionLogger.h")

public:
    explicit SessionCardController(QObject *parent = nullptr);
    ~SessionCardController() override;

    [[nodiscard]] SessionLogger *sessionLogger() const { return m_sessionLogger; }
    void setSessionLogger(SessionLogger *logger);
    [[nodiscard]] SystemMonitor *monitor() const { return m_monitor; }
    void setMonitor(SystemMonitor *monitor);
    [[nodiscard]] PDFReportGenerator *reportGenerator() const { return m_reportGenerator; }
    void setReportGenerator(PDFReportGenerator *generator);

    [[nodiscard]] bool isLogging() const { return m_isLogging; }
    [[nodiscard]] QString statusMessage() const { return m_statusMessage; }
    [[nodiscard]] bool showPDFAlert() const { return m_showPDFAlert; }
    void setShowPDFAlert(bool show);
    [[nodiscard]] QUrl pdfURL() const { return m_pdfURL; }
    [[nodiscard]] QString alertMessage() const;

    /// Not logging: starts a new session. Logging: stops the logger and, when it recorded
    /// anything, writes the report named after the session's start to the Desktop folder.
    Q_INVOKABLE void toggleSession();
    /// Shows the last report selected in the file manager.
    Q_INVOKABLE void revealReport();

    /// For tests: how reports are shown in the file manager (this desktop's by default).
    void setFileReveal(std::unique_ptr<platform::FileReveal> reveal);

Q_SIGNALS:
    void sessionLoggerChanged();
    void monitorChanged();
    void reportGeneratorChanged();
    void isLoggingChanged();
    void statusMessageChanged();
    void showPDFAlertChanged();
    void pdfURLChanged();

private:
    void stopAndReport();
    void setStatusMessage(const QString &message);
    void reportWritten(const std::optional<QString> &filePath);

    QPointer<SessionLogger> m_sessionLogger;
    QPointer<SystemMonitor> m_monitor;
    QPointer<PDFReportGenerator> m_reportGenerator;
    std::unique_ptr<platform::FileReveal> m_reveal;
    bool m_isLogging = false;
    QString m_statusMessage;
    bool m_showPDFAlert = false;
    QUrl m_pdfURL;
};
