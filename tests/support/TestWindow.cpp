#include "TestWindow.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTest>

using namespace Qt::StringLiterals;

QQuickWindow *TestWindow::load(std::unique_ptr<QQmlEngine> &engine,
                               std::unique_ptr<QQuickWindow> &window, const QByteArray &document,
                               const QVariantMap &properties)
{
    window.reset();
    engine = std::make_unique<QQmlEngine>();
    engine->addImportPath(u"qrc:/qt/qml"_s);
    QQmlComponent component(engine.get());
    component.setData("import QtQuick\nimport Kestrelvanta\n" + document, QUrl(u"qrc:/test.qml"_s));
    window.reset(qobject_cast<QQuickWindow *>(component.createWithInitialProperties(properties)));
    if (!window) {
        qWarning().noquote() << component.errorString();
        return nullptr;
    }
    window->show();
    return QTest::qWaitForWindowExposed(window.get()) ? window.get() : nullptr;
}
