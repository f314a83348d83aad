#include "platform/GraphicsEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <xcb/xcb.h>

namespace platform {

namespace {

QString waylandProblem(const QProcessEnvironment &environment)
{
    const QString display = environment.value(QStringLiteral("WAYLAND_DISPLAY"));
    if (display.isEmpty()) {
        return QStringLiteral("WAYLAND_DISPLAY is not set");
    }
    const QString socket =
        QDir::isAbsolutePath(display)
            ? display
            : environment.value(QStringLiteral("XDG_RUNTIME_DIR")) + QLatin1Char('/') + display;
    return QFileInfo::exists(socket)
               ? QString()
               : QStringLiteral("the Wayland display \"%1\" does not exist").arg(display);
}

QString x11Problem(const QProcessEnvironment &environment)
{
    const QString display = environment.value(QStringLiteral("DISPLAY"));
    if (display.isEmpty()) {
        return QStringLiteral("DISPLAY is not set");
    }
    xcb_connection_t *connection = xcb_connect(display.toLocal8Bit().constData(), nullptr);
    const bool failed = xcb_connection_has_error(connection) != 0;
    xcb_disconnect(connection);
    return failed ? QStringLiteral("cannot open the X display \"%1\"").arg(display) : QString();
}

} // namespace

QString GraphicsEnvironment::missingDisplayReason(const QProcessEnvironment &environment)
{
    const QString chosen = environment.value(QStringLiteral("QT_QPA_PLATFORM"));
    if (chosen.startsWith(QLatin1String("xcb"))) {
        return x11Problem(environment);
    }
    if (chosen.startsWith(QLatin1String("wayland"))) {
        return waylandProblem(environment);
    }
    if (!chosen.isEmpty()) {
        return {};
    }
    const bool hasWayland = environment.contains(QStringLiteral("WAYLAND_DISPLAY"));
    const bool hasX11 = environment.contains(QStringLiteral("DISPLAY"));
    if (!hasWayland && !hasX11) {
        return QStringLiteral("no display: neither DISPLAY nor WAYLAND_DISPLAY is set");
    }
    const QString wayland = hasWayland ? waylandProblem(environment) : QString();
    if (hasWayland && wayland.isEmpty()) {
        return {};
    }
    const QString x11 = hasX11 ? x11Problem(environment) : QString();
    if (hasX11 && x11.isEmpty()) {
        return {};
    }
    return hasX11 ? x11 : wayland;
}

bool GraphicsEnvironment::lacksHardwareRendering()
{
    // Without a DRI render node there is no GPU this process may use.
    const QStringList renderNodes =
        QDir(QStringLiteral("/dev/dri")).entryList({QStringLiteral("renderD*")}, QDir::System);
    if (renderNodes.isEmpty()) {
        return true;
    }
    // A render node can still be served by a rasterizer running on the processor.
    QOpenGLContext context;
    QOffscreenSurface surface;
    surface.create();
    if (!context.create() || !context.makeCurrent(&surface)) {
        return true;
    }
    const auto *renderer =
        reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER));
    const QByteArray name = QByteArray(renderer).toLower();
    context.doneCurrent();
    return name.isEmpty() || name.contains("llvmpipe") || name.contains("softpipe") ||
           name.contains("swrast") || name.contains("software");
}

} // namespace platform
