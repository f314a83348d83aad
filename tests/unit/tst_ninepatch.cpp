#include "TestEnvironment.h"
#include "ui/GlassBackground.h"
#include "ui/NinePatch.h"

#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QStandardPaths>
#include <QTest>

#include <cmath>

namespace {

/// The nine pieces drawn in their places, the middle ones stretched without smoothing.
QImage reassembled(const NinePatch &patch)
{
    QImage image(patch.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            painter.drawImage(patch.target(column, row), patch.piece(column, row));
        }
    }
    return image;
}

} // namespace

class TestNinePatch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void backdropComesBackExactlyFromAFewPieces_data()
    {
        QTest::addColumn<QSizeF>("size");
        QTest::addColumn<qreal>("ratio");
        QTest::addColumn<qreal>("radius");
        QTest::addColumn<qreal>("rimWidth");
        QTest::newRow("panel") << QSizeF(968, 198) << 1.0 << 12.0 << 1.0;
        QTest::newRow("two pixels a point") << QSizeF(300, 120) << 2.0 << 12.0 << 1.0;
        QTest::newRow("fractional size") << QSizeF(312.5, 90.25) << 1.0 << 12.0 << 1.0;
        QTest::newRow("fractional ratio") << QSizeF(200, 100) << 1.25 << 12.0 << 1.0;
        QTest::newRow("square corners") << QSizeF(200, 100) << 1.0 << 0.0 << 1.0;
        QTest::newRow("thick rim") << QSizeF(200, 100) << 1.0 << 4.0 << 3.0;
    }

    void backdropComesBackExactlyFromAFewPieces()
    {
        QFETCH(QSizeF, size);
        QFETCH(qreal, ratio);
        QFETCH(qreal, radius);
        QFETCH(qreal, rimWidth);
        const GlassBackground::Look look{QColor(30, 30, 40, 150), QColor(255, 255, 255, 20),
                                         QColor(255, 255, 255, 40), rimWidth, radius};
        const QImage picture = GlassBackground::render(size, ratio, look);
        const int corner = int(std::ceil(std::max(radius, rimWidth) * ratio)) + 2;
        const std::optional<NinePatch> patch = NinePatch::split(picture, corner);
        QVERIFY(patch);
        QCOMPARE(patch->size(), picture.size());
        QVERIFY2(patch->byteCount() * 20 < picture.sizeInBytes(),
                 qPrintable(QString::number(patch->byteCount())));
        QCOMPARE(reassembled(*patch), picture);
    }

    void pictureThatVariesInTheMiddleIsNotCut()
    {
        QImage picture(120, 80, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&picture);
        QLinearGradient gradient(0, 0, 120, 80);
        gradient.setColorAt(0, Qt::red);
        gradient.setColorAt(1, Qt::blue);
        painter.fillRect(picture.rect(), gradient);
        painter.end();
        QVERIFY(!NinePatch::split(picture, 10));

        // Alike along its rows but not down its columns.
        QImage stripes(120, 80, QImage::Format_ARGB32_Premultiplied);
        stripes.fill(Qt::white);
        for (int x = 0; x < 120; ++x) {
            stripes.setPixelColor(x, 40, Qt::black);
        }
        QVERIFY(!NinePatch::split(stripes, 10));
    }

    void pictureTooSmallForItsCornersIsNotCut()
    {
        QImage picture(20, 40, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::white);
        QVERIFY(!NinePatch::split(picture, 10));
        QVERIFY(NinePatch::split(picture, 9));
        QVERIFY(!NinePatch::split(QImage(), 0));
        QVERIFY(!NinePatch::split(picture, -1));
    }
};

KV_TEST_MAIN(TestNinePatch)
#include "tst_ninepatch.moc"
