#include "ui/AppColors.h"
#include "ui/OptimizerFormat.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestOptimizerFormat : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void boostMessage_data()
    {
        QTest::addColumn<bool>("success");
        QTest::addColumn<QStringList>("actions");
        QTest::addColumn<QString>("message");
        QTest::newRow("actions") << true << QStringList{u"A"_s, u"B"_s} << u"A, B"_s;
        QTest::newRow("none") << true << QStringList{} << u"System already optimized"_s;
        QTest::newRow("failed") << false << QStringList{u"A"_s} << u"Boost failed"_s;
    }

    void boostMessage()
    {
        QFETCH(bool, success);
        QFETCH(QStringList, actions);
        QFETCH(QString, message);
        QCOMPARE(OptimizerFormat::boostMessage(success, actions), message);
    }

    void failureWording()
    {
        QVERIFY(OptimizerFormat::readsAsFailure(u"Boost failed"_s));
        QVERIFY(OptimizerFormat::readsAsFailure(u"Resolution failed to change to 1920x1080"_s));
        QVERIFY(!OptimizerFormat::readsAsFailure(u"Failed to flush DNS"_s));
        QVERIFY(!OptimizerFormat::readsAsFailure(u"Game Mode disabled"_s));
        QCOMPARE(OptimizerFormat::statusColor(true), AppColors::neonGreen());
        QCOMPARE(OptimizerFormat::statusColor(false), AppColors::systemRed());
    }

    void reportRows()
    {
        QStringList seven;
        for (int i = 1; i <= 7; ++i) {
            seven.append(QString::number(i));
        }
        QCOMPARE(OptimizerFormat::reportRows(seven),
                 (QStringList{u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s}));
        QCOMPARE(OptimizerFormat::reportRows({u"1"_s}), QStringList{u"1"_s});
    }

    void reportLines()
    {
        QCOMPARE(OptimizerFormat::reclaimedText(1.234), u"RAM reclaimed: 1.23 GB"_s);
        QCOMPARE(OptimizerFormat::reclaimedText(0.0), u"RAM reclaimed: 0.00 GB"_s);
        QCOMPARE(OptimizerFormat::reclaimedText(QVariant()), QString());
        QCOMPARE(OptimizerFormat::providerText(u"Google"_s), u"DNS provider: Google"_s);
        QCOMPARE(OptimizerFormat::providerText(QVariant()), QString());
        QCOMPARE(OptimizerFormat::latencyText(30.0, 12.55), u"Latency: 30.0 ms -> 12.6 ms"_s);
        QCOMPARE(OptimizerFormat::latencyText(QVariant(), 12.5), QString());
        QCOMPARE(OptimizerFormat::latencyText(12.5, QVariant()), QString());
        QCOMPARE(OptimizerFormat::latencyColor(30.0, 12.5), AppColors::neonGreen());
        QCOMPARE(OptimizerFormat::latencyColor(12.5, 12.5), AppColors::neonGreen());
        QCOMPARE(OptimizerFormat::latencyColor(12.5, 30.0), AppColors::systemOrange());
    }

    void choicesAndProviders()
    {
        const QVariantList none = OptimizerFormat::gameChoices({});
        QCOMPARE(none.size(), 1);
        QCOMPARE(none.constFirst().toMap().value(u"text"_s).toString(), u"Auto Detect"_s);
        QCOMPARE(none.constFirst().toMap().value(u"value"_s).toInt(), 0);
        const QVariantList two =
            OptimizerFormat::gameChoices({{7, u"alpha"_s, QString()}, {9, u"Beta"_s, u"b"_s}});
        QCOMPARE(two.size(), 3);
        QCOMPARE(two.at(2).toMap().value(u"text"_s).toString(), u"Beta"_s);
        QCOMPARE(two.at(2).toMap().value(u"value"_s).toInt(), 9);
        QCOMPARE(OptimizerFormat::sortedProviders(
                     {u"OpenDNS"_s, u"Google"_s, u"AdGuard"_s, u"Cloudflare"_s}),
                 (QStringList{u"AdGuard"_s, u"Cloudflare"_s, u"Google"_s, u"OpenDNS"_s}));
    }
};

QTEST_GUILESS_MAIN(TestOptimizerFormat)
#include "tst_optimizerformat.moc"
