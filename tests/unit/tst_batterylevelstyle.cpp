#include "TestEnvironment.h"
#include "ui/AppColors.h"
#include "ui/BatteryLevelStyle.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestBatteryLevelStyle : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The symbol steps at 25, 50 and 75; the colour at 20 and 50.
    void levels_data()
    {
        QTest::addColumn<int>("battery");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QColor>("symbolColor");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("textColor");

        const QColor red = AppColors::systemRed();
        const QColor orange = AppColors::systemOrange();
        const QColor green = AppColors::neonGreen();
        QTest::newRow("-1 connected") << -1 << u"checkmark.circle.fill"_s << green << u"Connected"_s
                                      << AppColors::textSecondary();
        QTest::newRow("-50 connected") << -50 << u"checkmark.circle.fill"_s << green
                                       << u"Connected"_s << AppColors::textSecondary();
        QTest::newRow("0") << 0 << u"battery.25"_s << red << u"0%"_s << red;
        QTest::newRow("12") << 12 << u"battery.25"_s << red << u"12%"_s << red;
        QTest::newRow("19") << 19 << u"battery.25"_s << red << u"19%"_s << red;
        QTest::newRow("20") << 20 << u"battery.25"_s << orange << u"20%"_s << orange;
        QTest::newRow("22") << 22 << u"battery.25"_s << orange << u"22%"_s << orange;
        QTest::newRow("24") << 24 << u"battery.25"_s << orange << u"24%"_s << orange;
        QTest::newRow("25") << 25 << u"battery.50"_s << orange << u"25%"_s << orange;
        QTest::newRow("49") << 49 << u"battery.50"_s << orange << u"49%"_s << orange;
        QTest::newRow("50") << 50 << u"battery.75"_s << green << u"50%"_s << green;
        QTest::newRow("74") << 74 << u"battery.75"_s << green << u"74%"_s << green;
        QTest::newRow("75") << 75 << u"battery.100"_s << green << u"75%"_s << green;
        QTest::newRow("100") << 100 << u"battery.100"_s << green << u"100%"_s << green;
        QTest::newRow("above 100") << 140 << u"battery.100"_s << green << u"140%"_s << green;
    }

    void levels()
    {
        QFETCH(int, battery);
        QFETCH(QString, symbol);
        QFETCH(QColor, symbolColor);
        QFETCH(QString, text);
        QFETCH(QColor, textColor);
        QCOMPARE(BatteryLevelStyle::symbol(battery), symbol);
        QCOMPARE(BatteryLevelStyle::symbolColor(battery), symbolColor);
        QCOMPARE(BatteryLevelStyle::levelText(battery), text);
        QCOMPARE(BatteryLevelStyle::textColor(battery), textColor);
    }
};

KV_TEST_MAIN(TestBatteryLevelStyle)
#include "tst_batterylevelstyle.moc"
