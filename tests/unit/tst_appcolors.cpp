#include "TestEnvironment.h"
#include "ui/AppColors.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

class TestAppColors : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fromHex_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("expected");

        const auto rgba = [](int r, int g, int b, int a) { return QColor(r, g, b, a); };
        QTest::newRow("six digits") << "00D4FF" << rgba(0x00, 0xD4, 0xFF, 255);
        QTest::newRow("leading mark") << "#00D4FF" << rgba(0x00, 0xD4, 0xFF, 255);
        QTest::newRow("marks both ends") << "  #00d4ff;\n" << rgba(0x00, 0xD4, 0xFF, 255);
        QTest::newRow("three digits white") << "FFF" << rgba(255, 255, 255, 255);
        QTest::newRow("three digits x17") << "#1A3" << rgba(0x11, 0xAA, 0x33, 255);
        QTest::newRow("eight digits ARGB") << "80FF0000" << rgba(255, 0, 0, 128);
        QTest::newRow("eight digits transparent") << "00FFFFFF" << rgba(255, 255, 255, 0);
        QTest::newRow("five digits") << "12345" << rgba(0, 0, 0, 255);
        QTest::newRow("empty") << "" << rgba(0, 0, 0, 255);
        QTest::newRow("only marks") << "#!#" << rgba(0, 0, 0, 255);
        QTest::newRow("seven digits") << "#1234567" << rgba(0, 0, 0, 255);
        QTest::newRow("unparsable six") << "ZZZZZZ" << rgba(0, 0, 0, 255);
        QTest::newRow("scan stops at non-hex") << "12XYZW" << rgba(0, 0, 0x12, 255);
        QTest::newRow("inner mark counts in length") << "12-456" << rgba(0, 0, 0x12, 255);
        QTest::newRow("0x prefix in six") << "0x12AB" << rgba(0, 0x12, 0xAB, 255);
        QTest::newRow("palette deep navy") << "0a0a1a" << rgba(0x0a, 0x0a, 0x1a, 255);
    }

    void fromHex()
    {
        QFETCH(QString, text);
        QFETCH(QColor, expected);
        const QColor color = AppColors::fromHex(text);
        QCOMPARE(color.rgba(), expected.rgba());
        QCOMPARE(color.spec(), QColor::Rgb);
    }

    void markedAndPlainTextGiveTheSameColour()
    {
        QCOMPARE(AppColors::fromHex(u"#00D4FF"), AppColors::fromHex(u"00D4FF"));
    }

    void paletteValues_data()
    {
        QTest::addColumn<QColor>("actual");
        QTest::addColumn<QColor>("expected");

        QTest::newRow("deepNavy") << AppColors::deepNavy() << QColor(0x0a, 0x0a, 0x1a);
        QTest::newRow("midNavy") << AppColors::midNavy() << QColor(0x15, 0x15, 0x30);
        QTest::newRow("cyan") << AppColors::cyan() << QColor(0x00, 0xD4, 0xFF);
        QTest::newRow("purple") << AppColors::purple() << QColor(0x7B, 0x2F, 0xFF);
        QTest::newRow("neonGreen") << AppColors::neonGreen() << QColor(0x00, 0xFF, 0x88);
        QTest::newRow("systemOrange") << AppColors::systemOrange() << QColor(0xFF, 0x9F, 0x0A);
        QTest::newRow("systemRed") << AppColors::systemRed() << QColor(0xFF, 0x45, 0x3A);
        const auto white = [](double opacity) {
            return QColor::fromRgbF(1.0F, 1.0F, 1.0F, float(opacity));
        };
        QTest::newRow("textPrimary") << AppColors::textPrimary() << white(0.95);
        QTest::newRow("textSecondary") << AppColors::textSecondary() << white(0.7);
        QTest::newRow("textTertiary") << AppColors::textTertiary() << white(0.5);
        QTest::newRow("glassPanelBackground") << AppColors::glassPanelBackground() << white(0.05);
        QTest::newRow("glassPanelBorder") << AppColors::glassPanelBorder() << white(0.1);
        QTest::newRow("glassButtonBackground") << AppColors::glassButtonBackground() << white(0.1);
        QTest::newRow("glassButtonBorder") << AppColors::glassButtonBorder() << white(0.2);
    }

    void paletteValues()
    {
        QFETCH(QColor, actual);
        QFETCH(QColor, expected);
        QCOMPARE(actual, expected);
    }
};

KV_TEST_MAIN(TestAppColors)
#include "tst_appcolors.moc"
