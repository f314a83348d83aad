#include "TestEnvironment.h"
#include "ui/IconMap.h"

#include <QFile>
#include <QGuiApplication>
#include <QRawFont>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestIconMap : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everySymbolTheScreensUseIsMapped_data()
    {
        QTest::addColumn<QString>("symbol");
        const QStringList used{u"gamecontroller.fill"_s, u"gearshape"_s, u"info.circle"_s,
                               u"checkmark.circle.fill"_s, u"circle"_s,
                               // The network panel (Part 6.4).
                               u"wifi"_s, u"cable.connector"_s,
                               u"antenna.radiowaves.left.and.right"_s, u"wifi.slash"_s,
                               u"speedometer"_s, u"building.2"_s, u"arrow.down"_s, u"arrow.up"_s};
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
