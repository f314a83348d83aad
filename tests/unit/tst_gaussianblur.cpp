#include "TestEnvironment.h"
#include "ui/GaussianBlur.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

namespace {

// A transparent (or, without alpha, black) square with one pixel set in its middle.
QImage singlePixel(QImage::Format format, int side, QRgb pixel)
{
    QImage image(side, side, format);
    image.fill(Qt::transparent);
    image.setPixel(side / 2, side / 2, pixel);
    return image;
}

int alphaSum(const QImage &image)
{
    int sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += qAlpha(image.pixel(x, y));
        }
    }
    return sum;
}

} // namespace

class TestGaussianBlur : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void boxRadius_data()
    {
        QTest::addColumn<qreal>("radius");
        QTest::addColumn<int>("box");
        QTest::newRow("too small to blur") << 0.4 << 0;
        QTest::newRow("one") << 1.0 << 1;
        QTest::newRow("network glow") << 3.0 << 2;
        QTest::newRow("memory glow") << 4.0 << 2;
        QTest::newRow("background glow, halved") << 20.0 << 10;
        QTest::newRow("background glow") << 40.0 << 20;
    }

    void boxRadius()
    {
        QFETCH(qreal, radius);
        QFETCH(int, box);
        QCOMPARE(GaussianBlur::boxRadius(radius), box);
    }

    // A small square spreads into a symmetric bell that keeps its ink and ends three boxes away.
    void squareSpreadsIntoASymmetricBell()
    {
        constexpr int side = 45;
        constexpr int centre = side / 2;
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        for (int y = centre - 2; y <= centre + 2; ++y) {
            for (int x = centre - 2; x <= centre + 2; ++x) {
                image.setPixel(x, y, qRgba(0, 0, 0, 255));
            }
        }
        GaussianBlur::apply(image, 8); // box radius 4, reaching 12 pixels
        const int ink = 25 * 255;
        QVERIFY2(qAbs(alphaSum(image) - ink) <= ink / 20,
                 qPrintable(QString::number(alphaSum(image))));
        const int peak = qAlpha(image.pixel(centre, centre));
        QVERIFY(peak > 0 && peak < 255);
        for (int d = 1; d <= 14; ++d) {
            const int here = qAlpha(image.pixel(centre + d, centre));
            QCOMPARE(qAlpha(image.pixel(centre - d, centre)), here);
            QCOMPARE(qAlpha(image.pixel(centre, centre + d)), here);
            QVERIFY(here <= qAlpha(image.pixel(centre + d - 1, centre)));
        }
        QVERIFY(qAlpha(image.pixel(centre + 10, centre)) > 0);
        QCOMPARE(qAlpha(image.pixel(centre + 15, centre)), 0);
    }

    void alphaOnlyImagesBlurLikeTheAlphaOfColourOnes()
    {
        QImage colour(30, 20, QImage::Format_ARGB32_Premultiplied);
        colour.fill(Qt::transparent);
        for (int x = 5; x < 25; ++x) {
            colour.setPixel(x, 10, qRgba(0, 100, 150, 200));
        }
        QImage alpha = colour.convertToFormat(QImage::Format_Alpha8);
        GaussianBlur::apply(colour, 3);
        GaussianBlur::apply(alpha, 3);
        QCOMPARE(alpha.format(), QImage::Format_Alpha8);
        for (int y = 0; y < colour.height(); ++y) {
            for (int x = 0; x < colour.width(); ++x) {
                QCOMPARE(int(alpha.constScanLine(y)[x]), qAlpha(colour.pixel(x, y)));
            }
        }
    }

    // Every channel is blurred alike, so no colour exceeds its pixel's opacity.
    void colourStaysPremultiplied()
    {
        QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                if ((x * 7 + y * 3) % 5 == 0) {
                    image.setPixel(x, y, qPremultiply(qRgba(255, x * 6, y * 6, 90 + x)));
                }
            }
        }
        GaussianBlur::apply(image, 5);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const QRgb p = image.pixel(x, y);
                QVERIFY(qRed(p) <= qAlpha(p) && qGreen(p) <= qAlpha(p) && qBlue(p) <= qAlpha(p));
            }
        }
    }

    // Beyond the edges is transparent: a filled image fades at its rim and stays whole inside.
    void outsideCountsAsTransparent()
    {
        QImage image(60, 60, QImage::Format_ARGB32_Premultiplied);
        image.fill(qRgba(255, 255, 255, 255));
        GaussianBlur::apply(image, 4);
        QCOMPARE(qAlpha(image.pixel(30, 30)), 255);
        QVERIFY(qAlpha(image.pixel(0, 30)) < 200);
        QVERIFY(qAlpha(image.pixel(0, 0)) < qAlpha(image.pixel(0, 30)));
    }

    // Every box width, up to the widest, averages exactly: the middle of a uniform area keeps
    // its value, and a huge radius blurs as the widest box (which reaches 381 pixels) would.
    void uniformAreasKeepTheirValue()
    {
        QCOMPARE(GaussianBlur::boxRadius(254), GaussianBlur::maxBoxRadius);
        for (const qreal radius : {2.0, 4.0, 40.0, 254.0, 10000.0}) {
            for (const int value : {1, 128, 254, 255}) {
                QImage image(801, 801, QImage::Format_Alpha8);
                image.fill(uchar(value));
                GaussianBlur::apply(image, radius);
                QCOMPARE(int(image.constScanLine(400)[400]), value);
                if (value >= 128) { // it did blur: the edge fades
                    QVERIFY(int(image.constScanLine(400)[0]) < value);
                }
            }
        }
    }

    void othersAreLeftAlone()
    {
        QImage opaque = singlePixel(QImage::Format_RGB32, 9, qRgb(255, 0, 0));
        const QImage before = opaque;
        GaussianBlur::apply(opaque, 4);
        QCOMPARE(opaque, before);

        QImage dot = singlePixel(QImage::Format_ARGB32_Premultiplied, 9, qRgba(0, 0, 0, 255));
        const QImage sharp = dot;
        GaussianBlur::apply(dot, 0.4);
        QCOMPARE(dot, sharp);

        QImage empty;
        GaussianBlur::apply(empty, 4);
        QVERIFY(empty.isNull());
    }
};

KV_TEST_MAIN(TestGaussianBlur)
#include "tst_gaussianblur.moc"
