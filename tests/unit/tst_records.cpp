#include "TestEnvironment.h"
#include "TestFiles.h"
#include "core/AppSettings.h"
#include "core/ConfigInfo.h"
#include "core/RecordFile.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(ConfigInfo)

class TestRecords : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodeConfig_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<bool>("firstRunComplete");
        QTest::addColumn<double>("installDate");

        QTest::newRow("complete") << QByteArray(R"({"firstRunComplete":true,"installDate":1.5})")
                                  << true << true << 1.5;
        QTest::newRow("integer date")
            << QByteArray(R"({"installDate":42,"firstRunComplete":false})") << true << false
            << 42.0;
        QTest::newRow("date zero")
            << QByteArray(R"({"firstRunComplete":true,"installDate":0})") << true << true << 0.0;
        QTest::newRow("extra key")
            << QByteArray(R"({"firstRunComplete":true,"installDate":7,"theme":"dark"})") << true
            << true << 7.0;
        QTest::newRow("pretty printed")
            << QByteArray("{\n  \"firstRunComplete\" : true,\n  \"installDate\" : 3\n}\n") << true
            << true << 3.0;
        QTest::newRow("only firstRunComplete")
            << QByteArray(R"({"firstRunComplete":true})") << false << false << 0.0;
        QTest::newRow("only installDate")
            << QByteArray(R"({"installDate":1})") << false << false << 0.0;
        QTest::newRow("date as string")
            << QByteArray(R"({"firstRunComplete":true,"installDate":"2026-01-01"})") << false
            << false << 0.0;
        QTest::newRow("flag as number")
            << QByteArray(R"({"firstRunComplete":1,"installDate":1})") << false << false << 0.0;
        QTest::newRow("null date") << QByteArray(R"({"firstRunComplete":true,"installDate":null})")
                                   << false << false << 0.0;
        QTest::newRow("array") << QByteArray(R"([true,1])") << false << false << 0.0;
        QTest::newRow("bare value") << QByteArray("true") << false << false << 0.0;
        QTest::newRow("empty") << QByteArray() << false << false << 0.0;
        QTest::newRow("truncated")
            << QByteArray("{\"firstRunComplete\":true,\"installD") << false << false << 0.0;
        QTest::newRow("binary junk") << QByteArray("\x00\xff\xfe{\x01", 5) << false << false << 0.0;
    }

    void decodeConfig()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        QFETCH(bool, firstRunComplete);
        QFETCH(double, installDate);

        const std::optional<ConfigInfo> record = ConfigInfo::decode(json);
        QCOMPARE(record.has_value(), decodes);
        if (record) {
            QCOMPARE(record->firstRunComplete, firstRunComplete);
            QCOMPARE(record->installDate, installDate);
        }
    }

    void encodeConfig_data()
    {
        QTest::addColumn<ConfigInfo>("record");
        QTest::addColumn<QByteArray>("json");

        QTest::newRow("fractional date")
            << ConfigInfo{true, 1795240604.978}
            << QByteArray(R"({"firstRunComplete":true,"installDate":1795240604.978})");
        QTest::newRow("zero date")
            << ConfigInfo{false, 0} << QByteArray(R"({"firstRunComplete":false,"installDate":0})");
        QTest::newRow("shortest round trip")
            << ConfigInfo{true, 0.1}
            << QByteArray(R"({"firstRunComplete":true,"installDate":0.1})");
    }

    void encodeConfig()
    {
        QFETCH(ConfigInfo, record);
        QFETCH(QByteArray, json);
        QCOMPARE(record.encode(), json);
        QCOMPARE(ConfigInfo::decode(record.encode()), std::optional(record));
    }

    void decodeSettings_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<bool>("launchOnStartup");
        QTest::addColumn<bool>("autoOptimize");

        QTest::newRow("both") << QByteArray(R"({"launchOnStartup":true,"autoOptimize":false})")
                              << true << true << false;
        QTest::newRow("extra key")
            << QByteArray(R"({"launchOnStartup":false,"autoOptimize":true,"extra":[1,2]})") << true
            << false << true;
        QTest::newRow("missing autoOptimize")
            << QByteArray(R"({"launchOnStartup":true})") << false << false << false;
        QTest::newRow("missing launchOnStartup")
            << QByteArray(R"({"autoOptimize":true})") << false << false << false;
        QTest::newRow("autoOptimize as string")
            << QByteArray(R"({"launchOnStartup":true,"autoOptimize":"yes"})") << false << false
            << false;
        QTest::newRow("string top level") << QByteArray(R"("settings")") << false << false << false;
        QTest::newRow("empty object") << QByteArray("{}") << false << false << false;
    }

    void decodeSettings()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, decodes);
        QFETCH(bool, launchOnStartup);
        QFETCH(bool, autoOptimize);

        const std::optional<AppSettings> record = AppSettings::decode(json);
        QCOMPARE(record.has_value(), decodes);
        if (record) {
            QCOMPARE(record->launchOnStartup, launchOnStartup);
            QCOMPARE(record->autoOptimize, autoOptimize);
        }
    }

    void encodeSettings()
    {
        QCOMPARE((AppSettings{false, true}).encode(),
                 QByteArray(R"({"autoOptimize":true,"launchOnStartup":false})"));
        QCOMPARE((AppSettings{true, false}).encode(),
                 QByteArray(R"({"autoOptimize":false,"launchOnStartup":true})"));
    }

    // A record is read whole up to its cap; one byte more and it reads as no record, whatever
    // it holds.
    void aRecordPastTheCapReadsAsNone()
    {
        QTemporaryDir folder;
        const QByteArray record = R"({"autoOptimize":true,"launchOnStartup":false})";
        const QString path = RecordFile::pathIn(folder.path(), AppSettings::fileName);
        const QByteArray atCap = record + QByteArray(RecordFile::maximumSize - record.size(), ' ');
        QVERIFY(TestFiles::write(path, atCap));
        QCOMPARE(RecordFile::read(path), atCap);
        QCOMPARE(RecordFile::load<AppSettings>(folder.path()), (AppSettings{false, true}));

        QVERIFY(TestFiles::write(path, atCap + ' '));
        QCOMPARE(RecordFile::read(path), std::nullopt);
        QCOMPARE(RecordFile::load<AppSettings>(folder.path()), std::nullopt);
    }
};

KV_TEST_MAIN(TestRecords)
#include "tst_records.moc"
