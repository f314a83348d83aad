#include "TestEnvironment.h"
#include "ui/TelemetryFormat.h"

#include <QGuiApplication>
#include <QLocale>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTelemetryFormat : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gigabytes_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("oneDecimal");
        QTest::addColumn<QString>("whole");
        QTest::newRow("zero") << 0.0 << u"0.0 GB"_s << u"0 GB"_s;
        QTest::newRow("rounds down") << 1.34 << u"1.3 GB"_s << u"1 GB"_s;
        QTest::newRow("rounds up") << 15.66 << u"15.7 GB"_s << u"16 GB"_s;
        // Exact halves round to even, as printf does; 0.35 is stored just below a half.
        QTest::newRow("exact half") << 0.25 << u"0.2 GB"_s << u"0 GB"_s;
        QTest::newRow("inexact half") << 0.35 << u"0.3 GB"_s << u"0 GB"_s;
        QTest::newRow("whole half") << 2.5 << u"2.5 GB"_s << u"2 GB"_s;
        QTest::newRow("large") << 1234.56 << u"1234.6 GB"_s << u"1235 GB"_s;
        QTest::newRow("negative") << -0.04 << u"-0.0 GB"_s << u"-0 GB"_s;
    }

    void gigabytes()
    {
        QFETCH(double, value);
        QFETCH(QString, oneDecimal);
        QFETCH(QString, whole);
        QCOMPARE(TelemetryFormat::gigabytes(value), oneDecimal);
        QCOMPARE(TelemetryFormat::wholeGigabytes(value), whole);
    }

    void wholePercent_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"0%"_s;
        QTest::newRow("rounds") << 42.6 << u"43%"_s;
        QTest::newRow("hundred") << 100.0 << u"100%"_s;
        QTest::newRow("nothing measured yet") << qQNaN() << u"nan%"_s;
    }

    void wholePercent()
    {
        QFETCH(double, value);
        QFETCH(QString, text);
        QCOMPARE(TelemetryFormat::wholePercent(value), text);
    }

    // A decimal comma locale changes nothing.
    void localeIndependent()
    {
        const QLocale previous;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(TelemetryFormat::gigabytes(1.5), u"1.5 GB"_s);
        QLocale::setDefault(previous);
    }
};

KV_TEST_MAIN(TestTelemetryFormat)
#include "tst_telemetryformat.moc"
