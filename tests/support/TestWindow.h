#pragma once

#include <QByteArray>
#include <QVariantMap>

#include <memory>

class QQmlEngine;
class QQuickWindow;

/// A window written in QML for a test: the document (a Window, without its imports) is created in
/// a fresh engine that imports QtQuick and the app's module, with the given initial (required)
/// properties, then shown and waited for until exposed.
class TestWindow {
public:
    /// Replaces `window` and `engine` (the old window goes first) with the new ones; returns the
    /// window, or null with the reason printed when the document does not load or the window is
    /// never exposed.
    static QQuickWindow *load(std::unique_ptr<QQmlEngine> &engine,
                              std::unique_ptr<QQuickWindow> &window, const QByteArray &document,
                              const QVariantMap &properties = {});
};
