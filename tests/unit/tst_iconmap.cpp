#include "TestEnvironment.h"
#include "ui/BatteryLevelStyle.h"
#include "ui/IconMap.h"

#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QRawFont>
#include <QRegularExpression>
#include <QResource>
#include <QStandardPaths>
#include <QTest>

#include <malloc.h>

using namespace Qt::StringLiterals;

class TestIconMap : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // First, before anything else loads the font: the program reads it where it lies in its own
    // image rather than keeping a copy of it on the heap.
    void embeddedFontIsNotCopiedOntoTheHeap()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("the sanitizer's allocator keeps no statistics");
#else
        const QResource resource(IconMap::fontResource.toString());
        QVERIFY(resource.isValid());
        QCOMPARE(resource.compressionAlgorithm(), QResource::NoCompression);
        const auto inUse = [] {
            const struct mallinfo2 info = mallinfo2();
            return qint64(info.uordblks + info.hblkhd);
        };
        // The font database reads the system's fonts on first use: not what is measured here.
        QVERIFY(!QFontDatabase::families().isEmpty());
        const qint64 before = inUse();
        QVERIFY(!IconMap::fontFamily().isEmpty());
        QCOMPARE_LT(inUse() - before, resource.size() / 2);
#endif
    }

    void everySymbolTheScreensUseIsMapped_data()
    {
        QTest::addColumn<QString>("symbol");
        // Symbols chosen in code, then every literal the QML gives an icon or a glyph lookup.
        QStringList used{u"checkmark.circle.fill"_s, u"circle"_s};
        for (const int level : {-1, 10, 30, 60, 90}) {
            used.append(BatteryLevelStyle::symbol(level));
        }
        const QRegularExpression literal(u"(?:symbol:|icon:|glyph\\()\\s*\"([^\"]+)\""_s);
        QDirIterator files(QStringLiteral(KV_SOURCE_DIR "/src/ui/qml"), {u"*.qml"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            QRegularExpressionMatchIterator matches =
                literal.globalMatch(QString::fromUtf8(file.readAll()));
            while (matches.hasNext()) {
                used.append(matches.next().captured(1));
            }
        }
        used.removeDuplicates();
        QVERIFY(used.size() > 10);
        for (const QString &symbol : used) {
            QTest::newRow(qPrintable(symbol)) << symbol;
        }
    }

    void everySymbolTheScreensUseIsMapped()
    {
        QFETCH(QString, symbol);
        QCOMPARE(IconMap::glyph(symbol).size(), 1);
    }

    void unknownSymbolDrawsNothing()
    {
        QCOMPARE(IconMap::glyph(u"no.such.symbol"_s), QString());
        QCOMPARE(IconMap::glyph(QString()), QString());
    }

    void embeddedFontHasEveryGlyph()
    {
        QVERIFY(!IconMap::fontFamily().isEmpty());
        QFile file(IconMap::fontResource.toString());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRawFont font(file.readAll(), 24);
        QVERIFY(font.isValid());
        for (const IconMap::Entry &entry : IconMap::entries()) {
            QVERIFY2(font.supportsCharacter(QChar(entry.codepoint)),
                     qPrintable(QStringView(entry.symbol).toString()));
        }
    }

    // The code points must be the ones the icon set itself gives for the names in the table.
    void codepointsMatchTheIconSetsOwnList()
    {
        QFile list(u"/usr/share/fonts-material-design-icons-iconfont/scss/_variables.scss"_s);
        QVERIFY2(list.open(QIODevice::ReadOnly), "the icon font package is a build dependency");
        const QString text = QString::fromUtf8(list.readAll());
        for (const IconMap::Entry &entry : IconMap::entries()) {
            const QString name = QStringView(entry.materialName).toString();
            const QRegularExpression line(u"\"%1\": ([0-9a-f]+),"_s.arg(name));
            const QRegularExpressionMatch match = line.match(text);
            QVERIFY2(match.hasMatch(), qPrintable(name));
            QCOMPARE(match.captured(1).toUInt(nullptr, 16), uint(entry.codepoint));
        }
    }

    void symbolsAreUnique()
    {
        QStringList symbols;
        for (const IconMap::Entry &entry : IconMap::entries()) {
            const QString symbol = QStringView(entry.symbol).toString();
            QVERIFY2(!symbols.contains(symbol), qPrintable(symbol));
            symbols.append(symbol);
        }
    }
};

KV_TEST_MAIN(TestIconMap)
#include "tst_iconmap.moc"
