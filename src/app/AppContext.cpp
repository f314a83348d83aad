#include "AppContext.h"

#include "cleaner/DiskScanner.h"
#include "core/AppStateManager.h"
#include "core/ConfigInfo.h"
#include "core/FileManagerHelper.h"
#include "core/RecordFile.h"
#include "core/SettingsStore.h"
#include "optimizer/SystemOptimizer.h"
#include "platform/AccessoryBatteries.h"
#include "platform/MemoryCounters.h"
#include "platform/Ping.h"
#include "platform/ProcessorTicks.h"
#include "platform/SystemRoots.h"
#include "platform/WindowOcclusion.h"
#include "sessions/PDFReportGenerator.h"
#include "sessions/SessionLogger.h"
#include "telemetry/SystemMonitor.h"
#include "ui/IconMap.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QQuickWindow>

Q_IMPORT_QML_PLUGIN(KestrelvantaPlugin)

AppContext::AppContext(QObject *parent)
    : AppContext(FileManagerHelper::appSupportDir(), platform::Clock::system(), parent)
{
}

AppContext::AppContext(const QString &appFolder, platform::Clock &clock, QObject *parent)
    : AppContext(appFolder, clock, nullptr, {}, parent)
{
}

AppContext::AppContext(const QString &appFolder, platform::Clock &clock,
                       std::unique_ptr<DiskScanner> diskScanner, NetworkMonitor::Parts networkParts,
                       QObject *parent)
    : QObject(parent)
    , m_appFolder(appFolder)
    , m_clock(clock)
    , m_toolRunner(platform::ToolRunner::create())
    , m_stateManager(std::make_unique<AppStateManager>(appFolder, clock))
    , m_systemMonitor(std::make_unique<SystemMonitor>(clock, platform::MemoryCounters::create(),
                                                      platform::Ping::create(*m_toolRunner),
                                                      platform::AccessoryBatteries::create()))
    , m_systemOptimizer(
          std::make_unique<SystemOptimizer>(clock, OptimizerPlatform::system(*m_toolRunner)))
    , m_diskScanner(diskScanner ? std::move(diskScanner) : std::make_unique<DiskScanner>())
    , m_sessionLogger(std::make_unique<SessionLogger>(clock, platform::ProcessorTicks::create(),
                                                      platform::MemoryCounters::create()))
    , m_settingsStore(std::make_unique<SettingsStore>(appFolder))
    , m_networkMonitor(std::make_unique<NetworkMonitor>(std::move(networkParts), clock))
    , m_reportGenerator(std::make_unique<PDFReportGenerator>(
          clock, ReportIcons{[] { return QFont(IconMap::fontFamily()); }, &IconMap::glyph},
          platform::SystemRoots::current().desktopDir))
{
}

AppContext::~AppContext() = default;

QQuickWindow *AppContext::createWindow(QQmlEngine &engine)
{
    // The screens are styled by the program itself; the plain style adds the fewest opinions.
    // It can be chosen only once per process, before the first control is loaded.
    static const bool styled = [] {
        QQuickStyle::setStyle(QStringLiteral("Basic"));
        return true;
    }();
    Q_UNUSED(styled)
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/qt/qml/Kestrelvanta/qml/Main.qml")));
    if (!component.isReady()) {
        qWarning().noquote() << component.errorString();
        return nullptr;
    }
    QObject *root = component.createWithInitialProperties({
        {QStringLiteral("stateManager"), QVariant::fromValue(m_stateManager.get())},
        {QStringLiteral("diskScanner"), QVariant::fromValue(m_diskScanner.get())},
        {QStringLiteral("sessionLogger"), QVariant::fromValue(m_sessionLogger.get())},
        {QStringLiteral("reportGenerator"), QVariant::fromValue(m_reportGenerator.get())},
        {QStringLiteral("settingsStore"), QVariant::fromValue(m_settingsStore.get())},
        {QStringLiteral("systemMonitor"), QVariant::fromValue(m_systemMonitor.get())},
        {QStringLiteral("systemOptimizer"), QVariant::fromValue(m_systemOptimizer.get())},
        {QStringLiteral("networkMonitor"), QVariant::fromValue(m_networkMonitor.get())},
    });
    auto *window = qobject_cast<QQuickWindow *>(root);
    if (!window) {
        qWarning().noquote() << component.errorString();
        delete root;
        return nullptr;
    }
    // Where the window system says the window is wholly covered, nothing in it moves.
    m_occlusion = platform::WindowOcclusion::create(window->winId());
    QObject::connect(m_occlusion.get(), &platform::WindowOcclusion::coveredChanged, window,
                     [window](bool covered) { window->setProperty("covered", covered); });
    // The bootstrap runs on the turn of the event loop after the window's first frame: that frame
    // then waits neither for the records nor for the monitors' first probes, and shows only the
    // background. A window that draws nothing (one started minimized) is bootstrapped half a
    // second after it first became visible. Showing the window again later finds it done.
    m_firstFrame = QObject::connect(
        window, &QQuickWindow::frameSwapped, this, [this, window] { bootstrapWindow(window); },
        Qt::QueuedConnection);
    QObject::connect(window, &QWindow::visibleChanged, this, [this, window](bool visible) {
        if (!visible || m_hasBootstrapped || m_bootstrapFallback) {
            return;
        }
        m_bootstrapFallback = m_clock.createTimer();
        m_bootstrapFallback->setSingleShot(true);
        QObject::connect(m_bootstrapFallback.get(), &platform::Timer::timeout, this,
                         [this, window] { bootstrapWindow(window); });
        m_bootstrapFallback->start(std::chrono::milliseconds(500));
    });
    return window;
}

void AppContext::bootstrapWindow(QQuickWindow *window)
{
    QObject::disconnect(m_firstFrame);
    if (m_bootstrapFallback) {
        m_bootstrapFallback->stop();
    }
    if (!m_hasBootstrapped) {
        bootstrap();
        window->setProperty("bootstrapped", true);
    }
}

void AppContext::bootstrap()
{
    if (m_hasBootstrapped) {
        return;
    }
    m_hasBootstrapped = true;

    const std::optional<ConfigInfo> config = RecordFile::load<ConfigInfo>(m_appFolder);
    if (config && config->firstRunComplete) {
        m_stateManager->setCurrentState(AppScreenState::Dashboard);
        m_systemMonitor->startMonitoring();
        m_networkMonitor->startMonitoring();
        return;
    }
    m_stateManager->setCurrentState(AppScreenState::Setup);
}
