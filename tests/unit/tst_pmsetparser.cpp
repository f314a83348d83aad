#include "TestEnvironment.h"
#include "platform/macos/PmsetParser.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;
using platform::PeripheralBattery;
using Batteries = QList<PeripheralBattery>;

class TestPmsetParser : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lines_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<Batteries>("expected");

        QTest::newRow("accessory line")
            << u" -Magic Mouse 2 (id=4653056)\t85%; discharging; (no estimate) present: true"_s
            << Batteries{{u"-Magic Mouse 2 (id=4653056)"_s, 85}};
        QTest::newRow("internal battery never listed")
            << u"Now drawing from 'AC Power'\n - InternalBattery-0 (id=1234)\t100%; charged"_s
            << Batteries{};
        QTest::newRow("internal battery at a low level still not listed")
            << u" - InternalBattery-0 (id=99)\t7%; discharging"_s << Batteries{};
        QTest::newRow("battery power header skipped")
            << u"Now drawing from 'BatteryPower' 55%"_s << Batteries{};
        QTest::newRow("line without a number and a percent sign skipped")
            << u" -Magic Keyboard (id=1)\tcharging; present: true\n -Pen 40 percent"_s
            << Batteries{};
        QTest::newRow("percentage first leaves no name") << u"85%; discharging"_s << Batteries{};
        QTest::newRow("empty lines skipped") << u"\n\n"_s << Batteries{};
        QTest::newRow("Battery Percent with a quoted name keeps the quotes")
            << u"'Keyboard' Battery Percent : 64%"_s << Batteries{{u"'Keyboard'"_s, 64}};
        QTest::newRow("Battery Percent with a spaced name runs to the line's end")
            << u"Device Battery Percent: 30%"_s << Batteries{{u"Battery Percent: 30%"_s, 30}};
        QTest::newRow("Battery Percent without a number skipped")
            << u"'Mouse' Battery Percent : unknown"_s << Batteries{};
        QTest::newRow("Battery Percent alone names itself")
            << u"Battery Percent:12%"_s << Batteries{{u"Percent:12%"_s, 12}};
        QTest::newRow("signed percentage accepted")
            << u"'Pad' Battery Percent : +12%"_s << Batteries{{u"'Pad'"_s, 12}};
        QTest::newRow("several accessories in order")
            << u"Now drawing from 'AC Power'\n"
               u" -InternalBattery-0 (id=7)\t93%; charging\n"
               u" -Magic Trackpad (id=8)\t66%; discharging\n"
               u" -AirPods (id=9)\t12%; discharging\n"_s
            << Batteries{{u"-InternalBattery-0 (id=7)"_s, 93},
                         {u"-Magic Trackpad (id=8)"_s, 66},
                         {u"-AirPods (id=9)"_s, 12}};
    }

    void lines()
    {
        QFETCH(QString, output);
        QFETCH(Batteries, expected);
        QCOMPARE(platform::PmsetParser::parseAccessories(output), expected);
    }
};

KV_TEST_MAIN(TestPmsetParser)
#include "tst_pmsetparser.moc"
