#include "AppContext.h"
#include "platform/GraphicsEnvironment.h"
#include "platform/HeapPolicy.h"
#include "platform/PrivilegedRunner.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QQuickWindow>

#include <cstdio>

Q_LOGGING_CATEGORY(lcStartup, "kestrelvanta.startup", QtWarningMsg)

namespace {

void chooseRenderer()
{
    // Someone who picked a renderer explicitly knows best.
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") ||
        qEnvironmentVariableIsSet("QSG_RHI_BACKEND")) {
        return;
    }
    if (platform::GraphicsEnvironment::lacksHardwareRendering()) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QElapsedTimer sinceMain;
    sinceMain.start();
    platform::HeapPolicy::returnLargeBlocksPromptly();

    const QString missingDisplay = platform::GraphicsEnvironment::missingDisplayReason(
        QProcessEnvironment::systemEnvironment());
    if (!missingDisplay.isEmpty()) {
        std::fprintf(stderr, "kestrelvanta: cannot open a window: %s\n",
                     qPrintable(missingDisplay));
        return 1;
    }

    // A build-tree run works, but its privileged steps cannot: say so once, for the developer.
    const QString elevationProblem = platform::PrivilegedRunner::installationProblem();
    if (!elevationProblem.isEmpty()) {
        std::printf("%s\n", qPrintable(elevationProblem));
        std::fflush(stdout);
    }

    QGuiApplication::setApplicationName(QStringLiteral("Kestrelvanta"));
    QGuiApplication::setApplicationVersion(QStringLiteral(KV_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.kestrelvanta.Kestrelvanta"));
    QGuiApplication app(argc, argv);
    qCInfo(lcStartup, "application object %lld ms after main()", sinceMain.elapsed());
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/kestrelvanta/kestrelvanta.svg")));
    chooseRenderer();

    AppContext context;
    qCInfo(lcStartup, "models %lld ms after main()", sinceMain.elapsed());
    QQmlEngine engine;
    QObject::connect(&engine, &QQmlEngine::quit, &app, &QGuiApplication::quit);
    QQuickWindow *window = context.createWindow(engine);
    if (!window) {
        return 1;
    }
    qCInfo(lcStartup, "window created %lld ms after main()", sinceMain.elapsed());

    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [window, &sinceMain] {
            qCInfo(lcStartup).noquote()
                << QStringLiteral("first frame %1 ms after main(), at %2 ms since the epoch")
                       .arg(sinceMain.elapsed())
                       .arg(QDateTime::currentMSecsSinceEpoch());
            QObject::disconnect(window, &QQuickWindow::frameSwapped, window, nullptr);
        },
        Qt::DirectConnection);

    window->show();
    window->raise();
    window->requestActivate();

    const int status = QGuiApplication::exec();
    delete window;
    return status;
}
