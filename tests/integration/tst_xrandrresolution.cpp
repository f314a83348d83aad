#include "platform/linux/XrandrDisplayResolution.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QTest>

using namespace Qt::StringLiterals;

/// The resolution switch for real, in a private X server that offers 2560x1440 and 1920x1080.
class TestXrandrResolution : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<platform::ToolRunner> m_runner = platform::ToolRunner::create();

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariableIsEmpty("KV_PRIVATE_X")) {
            QSKIP("changes a display's mode: run only through xrandr_session.sh");
        }
    }

    void changeAndRevert()
    {
        platform::XrandrDisplayResolution display(*m_runner);
        QCOMPARE(QCoro::waitFor(display.current()).size, QSize(2560, 1440));
        QVERIFY(QCoro::waitFor(display.change(QSize(1920, 1080))));
        QCOMPARE(QCoro::waitFor(display.current()).size, QSize(1920, 1080));
        QVERIFY(QCoro::waitFor(display.change(QSize(2560, 1440))));
        QCOMPARE(QCoro::waitFor(display.current()).size, QSize(2560, 1440));
    }

    void aModeTheDisplayLacksIsRefused()
    {
        platform::XrandrDisplayResolution display(*m_runner);
        QVERIFY(!QCoro::waitFor(display.change(QSize(1280, 720))));
        QCOMPARE(QCoro::waitFor(display.current()).size, QSize(2560, 1440));
    }
};

QTEST_GUILESS_MAIN(TestXrandrResolution)
#include "tst_xrandrresolution.moc"
