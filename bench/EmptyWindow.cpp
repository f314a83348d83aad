// The baseline of the window benchmark: an empty Qt Quick window of the application's size, on
// the renderer the application would choose, reporting its first frame the same way.

#include "platform/GraphicsEnvironment.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>

int main(int argc, char *argv[])
{
    QElapsedTimer sinceMain;
    sinceMain.start();
    QGuiApplication app(argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND") &&
        platform::GraphicsEnvironment::lacksHardwareRendering()) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
    QQuickWindow window;
    window.resize(1000, 650);
    window.setColor(Qt::black);
    QObject::connect(
        &window, &QQuickWindow::frameSwapped, &window,
        [&] {
            std::fprintf(stderr, "first frame %lld ms after main(), at %lld ms since the epoch\n",
                         sinceMain.elapsed(), QDateTime::currentMSecsSinceEpoch());
            QObject::disconnect(&window, &QQuickWindow::frameSwapped, &window, nullptr);
        },
        Qt::DirectConnection);
    window.show();
    return QGuiApplication::exec();
}
