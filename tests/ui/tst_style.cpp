#include "QuickDriver.h"
#include "TestAnimationDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "ui/AppColors.h"
#include "ui/GlassBackground.h"
#include "ui/SoftBlob.h"

#include <QGuiApplication>
#include <QPainter>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;

// The style kit's pieces, each loaded on its own into a small offscreen window.
class TestStyle : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;

    QQuickItem *load(const QByteArray &qml)
    {
        QQuickWindow *window = TestWindow::load(
            m_engine, m_window, "Window {\n width: 400\n height: 300\n" + qml + "\n}");
        return window ? window->contentItem() : nullptr;
    }

    // A red rectangle ("content") at (20, 20), 100 x 60, shown through a CachedLayer ("cache").
    QQuickItem *loadCachedRectangle()
    {
        return load(R"(
            Item {
                anchors.fill: parent
                Item {
                    x: 20; y: 20; width: 100; height: 60
                    layer.enabled: true
                    layer.effect: CachedLayer { objectName: "cache" }
                    Rectangle { objectName: "content"; anchors.fill: parent; color: "red" }
                }
            })");
    }

    // Moves the background's glows by STEPS of their clock, 160 ms each, as its timer would.
    static void stepGlows(QQuickItem *root, int steps)
    {
        QObject *clock = root->window()->findChild<QObject *>(u"glowClock"_s);
        QVERIFY(clock);
        for (int step = 0; step < steps; ++step) {
            QMetaObject::invokeMethod(clock, "triggered");
        }
    }

private Q_SLOTS:
    void cleanup()
    {
        m_window.reset();
        m_engine.reset();
    }

    void hoverGrowsByTheFactorOverAFifthOfASecondAndShrinksBack()
    {
        QQuickItem *root = load(R"(
            Rectangle {
                objectName: "control"
                x: 100; y: 100; width: 100; height: 40
                HoverEffect { objectName: "effect"; hoverScale: 1.2 }
            })");
        QVERIFY(root);
        QQuickItem *control = QuickDriver::itemIn(root, u"control"_s);
        QQuickItem *effect = QuickDriver::itemIn(root, u"effect"_s);
        QVERIFY(control);
        QVERIFY(effect);
        QCOMPARE(effect->property("animationDuration").toInt(), 200);
        QCOMPARE(control->scale(), 1.0);

        TestAnimationDriver time;
        QuickDriver driver(m_window.get());
        driver.hover(QPointF(150, 120));
        QTRY_VERIFY(effect->property("isHovered").toBool());
        time.step(100);
        // Midway through an ease-in-out curve the scale is midway between 1 and the factor.
        QVERIFY2(qAbs(control->scale() - 1.1) < 0.02,
                 qPrintable(QString::number(control->scale())));
        time.step(120);
        QCOMPARE(control->scale(), 1.2);

        driver.hover(QPointF(10, 10));
        QTRY_VERIFY(!effect->property("isHovered").toBool());
        time.step(100);
        QVERIFY(control->scale() > 1.05 && control->scale() < 1.15);
        time.step(120);
        QCOMPARE(control->scale(), 1.0);
    }

    void hoverGlowAppearsOnlyWhileHovered()
    {
        QQuickItem *root = load(R"(
            Rectangle {
                x: 100; y: 100; width: 100; height: 40
                HoverEffect { objectName: "effect" }
            })");
        QVERIFY(root);
        QQuickItem *effect = QuickDriver::itemIn(root, u"effect"_s);
        QCOMPARE(effect->property("progress").toDouble(), 0.0);
        QCOMPARE(effect->z(), -1.0);
        TestAnimationDriver time;
        QuickDriver driver(m_window.get());
        driver.hover(QPointF(5, 5));
        driver.hover(QPointF(150, 120));
        QTRY_VERIFY(effect->property("isHovered").toBool());
        time.step(250);
        QCOMPARE(effect->property("progress").toDouble(), 1.0);
    }

    void toggleFlipsOnlyFromItsButton()
    {
        QQuickItem *root = load(R"(
            GlassToggleStyle {
                objectName: "toggle"
                width: 300
                onToggled: isOn = !isOn
                Text { objectName: "label"; text: "Title" }
            })");
        QVERIFY(root);
        QuickDriver driver(m_window.get());
        QQuickItem *toggle = driver.item(u"toggle"_s);
        QQuickItem *button = driver.item(u"toggleButton"_s);
        QCOMPARE(button->property("symbol").toString(), u"circle"_s);
        QCOMPARE(button->property("color").value<QColor>(), AppColors::textTertiary());

        driver.click(driver.item(u"label"_s));
        QCOMPARE(toggle->property("isOn").toBool(), false);

        driver.click(button);
        QCOMPARE(toggle->property("isOn").toBool(), true);
        QCOMPARE(button->property("symbol").toString(), u"checkmark.circle.fill"_s);
        QCOMPARE(button->property("color").value<QColor>(), AppColors::cyan());
        // Label at the leading edge, button at the trailing edge.
        QVERIFY(button->mapToScene(QPointF(button->width(), 0)).x() > 290);
    }

    void glassPanelPadsItsContent()
    {
        QQuickItem *root = load(R"(
            GlassPanel {
                objectName: "panel"
                cornerRadius: 12
                padding: 16
                Rectangle { objectName: "content"; implicitWidth: 100; implicitHeight: 50 }
            })");
        QVERIFY(root);
        QQuickItem *panel = QuickDriver::itemIn(root, u"panel"_s);
        QQuickItem *content = QuickDriver::itemIn(root, u"content"_s);
        QCOMPARE(panel->implicitWidth(), 132.0);
        QCOMPARE(panel->implicitHeight(), 82.0);
        QCOMPARE(content->mapToItem(panel, QPointF(0, 0)), QPointF(16, 16));
    }

    // The panel's backdrop, one picture, looks as the material and the tinted, rimmed rectangle
    // over it do when drawn one over the other.
    void glassPanelLooksLikeItsTwoLayers()
    {
        QQuickItem *root = load(R"(
            Item {
                anchors.fill: parent
                Rectangle { anchors.fill: parent; color: "navy" }
                Item {
                    x: 10; y: 10; width: 150; height: 90
                    Rectangle { anchors.fill: parent; radius: 12; color: AppColors.ultraThinMaterial }
                    Rectangle {
                        anchors.fill: parent; radius: 12; color: AppColors.glassPanelBackground
                        border.color: AppColors.glassPanelBorder; border.width: 1
                    }
                }
                GlassPanel { x: 200; y: 10; width: 150; height: 90 }
            })");
        QVERIFY(root);
        const QImage image = m_window->grabWindow();
        int worst = 0;
        for (int y = 0; y < 90; ++y) {
            for (int x = 0; x < 150; ++x) {
                const bool corner = (x < 12 || x >= 138) && (y < 12 || y >= 78);
                if (corner) {
                    continue; // antialiased differently
                }
                const QColor layers = image.pixelColor(10 + x, 10 + y);
                const QColor panel = image.pixelColor(200 + x, 10 + y);
                worst = std::max({worst, std::abs(layers.red() - panel.red()),
                                  std::abs(layers.green() - panel.green()),
                                  std::abs(layers.blue() - panel.blue())});
            }
        }
        QVERIFY2(worst <= 2, qPrintable(QString::number(worst)));
        // The rim is lighter than the inside, and the corner's tip is the backdrop.
        QVERIFY(image.pixelColor(275, 10).red() > image.pixelColor(275, 50).red());
        QCOMPARE(image.pixelColor(200, 10), QColor(u"navy"_s));
    }

    // However the window's renderer is handed the backdrop, it shows exactly its picture.
    void glassPanelShowsItsPictureExactly()
    {
        QQuickItem *root = load(R"(
            Item {
                anchors.fill: parent
                Rectangle { anchors.fill: parent; color: "navy" }
                GlassPanel { objectName: "panel"; x: 20; y: 30; width: 330; height: 210 }
            })");
        QVERIFY(root);
        QQuickItem *panel = m_window->findChild<QQuickItem *>(u"panel"_s);
        QVERIFY(panel);
        auto *background =
            qobject_cast<GlassBackground *>(panel->property("background").value<QQuickItem *>());
        QVERIFY(background);
        const QImage shown = m_window->grabWindow().convertToFormat(QImage::Format_RGB32);
        QImage expected(shown.size(), QImage::Format_RGB32);
        expected.fill(QColor(u"navy"_s));
        {
            QPainter painter(&expected);
            painter.drawImage(QPointF(20, 30),
                              GlassBackground::render(QSizeF(330, 210), 1,
                                                      {background->material(), background->tint(),
                                                       background->rim(), background->rimWidth(),
                                                       background->radius()}));
        }
        QCOMPARE(shown, expected);
    }

    void glassBackdropPicture()
    {
        const GlassBackground::Look look{QColor(0, 0, 0, 128), QColor(255, 255, 255, 0),
                                         QColor(255, 0, 0, 255), 1, 4};
        const QImage picture = GlassBackground::render(QSizeF(40, 20), 1, look);
        QCOMPARE(picture.size(), QSize(40, 20));
        QCOMPARE(picture.pixelColor(20, 10), QColor(0, 0, 0, 128)); // material, clear tint
        QCOMPARE(picture.pixelColor(20, 0), QColor(Qt::red));       // the rim, one pixel wide
        QCOMPARE(picture.pixelColor(20, 1).alpha(), 128);
        QCOMPARE(picture.pixelColor(0, 0).alpha(), 0); // the rounded corner
        QCOMPARE(GlassBackground::render(QSizeF(40, 20), 2, look).size(), QSize(80, 40));
        QCOMPARE(GlassBackground::render(QSizeF(20.5, 10), 1, look).size(), QSize(21, 10));
        QVERIFY(GlassBackground::render(QSizeF(0, 10), 1, look).isNull() ||
                GlassBackground::render(QSizeF(0, 10), 1, look).size().isEmpty());
    }

    void backgroundBlobsDriftWithinTheirRanges()
    {
        QQuickItem *root = load(R"(AnimatedBackground { anchors.fill: parent })");
        QVERIFY(root);
        struct Expected {
            const char *name;
            double size;
            double duration;
            QPointF offset;
            QColor color;
        };
        const auto withAlpha = [](QColor color, double alpha) {
            color.setAlphaF(float(alpha));
            return color;
        };
        const Expected blobs[] = {
            {"blob1", 400, 8, {-100, -200}, withAlpha(AppColors::cyan(), 0.4)},
            {"blob2", 350, 10, {150, 100}, withAlpha(AppColors::purple(), 0.4)},
            {"blob3", 300, 12, {-80, 250}, withAlpha(AppColors::cyan(), 0.3)},
        };
        for (const Expected &expected : blobs) {
            QQuickItem *blob = QuickDriver::itemIn(root, QString::fromLatin1(expected.name));
            QVERIFY2(blob, expected.name);
            QCOMPARE(blob->property("size").toDouble(), expected.size);
            QCOMPARE(blob->property("animationDuration").toDouble(), expected.duration);
            QCOMPARE(blob->property("fixedOffset").toPointF(), expected.offset);
            QCOMPARE(blob->property("blurRadius").toDouble(), 40.0);
            const QColor color = blob->property("color").value<QColor>();
            QCOMPARE(color.rgb(), expected.color.rgb());
            QVERIFY(qAbs(color.alphaF() - expected.color.alphaF()) < 0.01);
            const double tx = blob->property("targetOffsetX").toDouble();
            const double ty = blob->property("targetOffsetY").toDouble();
            const double ts = blob->property("targetScale").toDouble();
            QVERIFY(tx >= -50 && tx <= 50);
            QVERIFY(ty >= -30 && ty <= 30);
            QVERIFY(ts >= 0.9 && ts <= 1.1);
        }
    }

    void blobDriftsToItsTargetAndBack()
    {
        QQuickItem *root = load(R"(AnimatedBackground { anchors.fill: parent })");
        QVERIFY(root);
        QQuickItem *blob = QuickDriver::itemIn(root, u"blob1"_s);
        const double tx = blob->property("targetOffsetX").toDouble();
        const double ts = blob->property("targetScale").toDouble();
        stepGlows(root, 50); // 8 s
        QVERIFY(qAbs(blob->property("offsetX").toDouble() - tx) < 0.5);
        QVERIFY(qAbs(blob->scale() - ts) < 0.01);
        stepGlows(root, 50);
        QVERIFY(qAbs(blob->property("offsetX").toDouble()) < 0.5);
        QVERIFY(qAbs(blob->scale() - 1) < 0.01);
        // And out again: the round trip repeats.
        stepGlows(root, 50);
        QVERIFY(qAbs(blob->property("offsetX").toDouble() - tx) < 0.5);
        // The target is drawn once and kept.
        QCOMPARE(blob->property("targetOffsetX").toDouble(), tx);
    }

    void glowsMoveTogetherInStepsOf160Milliseconds()
    {
        QQuickItem *root = load(R"(AnimatedBackground { anchors.fill: parent })");
        QVERIFY(root);
        QObject *clock = root->window()->findChild<QObject *>(u"glowClock"_s);
        QVERIFY(clock);
        QCOMPARE(clock->property("interval").toInt(), 160);
        QVERIFY(clock->property("repeat").toBool());
        QVERIFY(clock->property("running").toBool());
        QList<QQuickItem *> blobs;
        for (const QString &name : {u"blob1"_s, u"blob2"_s, u"blob3"_s}) {
            blobs.append(QuickDriver::itemIn(root, name));
            QVERIFY(blobs.last());
        }
        const auto places = [&] {
            QList<double> values;
            for (QQuickItem *blob : blobs) {
                values << blob->x() << blob->y() << blob->scale();
            }
            return values;
        };
        // Between two steps nothing moves, however many frames go by: no animation ticks the
        // window in between.
        TestAnimationDriver time;
        const QList<double> start = places();
        time.step(2000);
        QCOMPARE(places(), start);
        // Step by step over 4 s: each step moves the three glows' clocks by 160 ms together,
        // and the glows move.
        QList<double> last = start;
        int changes = 0;
        for (int step = 1; step <= 25; ++step) {
            stepGlows(root, 1);
            for (QQuickItem *blob : blobs) {
                QCOMPARE(blob->property("elapsed").toDouble(), 160.0 * step);
            }
            if (places() != last) {
                ++changes;
                last = places();
            }
        }
        QVERIFY(changes > 5);
    }

    void pausedBackgroundStandsStill()
    {
        QQuickItem *root = load(
            R"(AnimatedBackground { objectName: "bg"; anchors.fill: parent; running: false })");
        QVERIFY(root);
        QObject *clock = root->window()->findChild<QObject *>(u"glowClock"_s);
        QVERIFY(clock);
        QVERIFY(!clock->property("running").toBool());
        QQuickItem *background = QuickDriver::itemIn(root, u"bg"_s);
        background->setProperty("running", true);
        QVERIFY(clock->property("running").toBool());
        QQuickItem *blob = QuickDriver::itemIn(root, u"blob2"_s);
        QCOMPARE(blob->property("offsetX").toDouble(), 0.0);
        QCOMPARE(blob->scale(), 1.0);
    }

    void softBlobTextureFadesToTransparentAtTheRim()
    {
        const QImage image = SoftBlob::render(QColor(0, 212, 255, 102), 100, 10);
        QCOMPARE(image.size(), QSize(140, 140));
        const QColor centre = image.pixelColor(70, 70);
        // 0.4 × 0.6 at the centre before the blur, which lowers the peak of the cone a little.
        QVERIFY2(centre.alphaF() > 0.19 && centre.alphaF() <= 0.24,
                 qPrintable(QString::number(centre.alphaF())));
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        QVERIFY(image.pixelColor(70, 125).alpha() < centre.alpha());
    }

    void softBlobsTransparentRimIsFoundExactly()
    {
        QImage image(10, 8, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QCOMPARE(SoftBlob::visibleRect(image), QRect());
        image.setPixelColor(3, 2, QColor(0, 0, 0, 1));
        QCOMPARE(SoftBlob::visibleRect(image), QRect(3, 2, 1, 1));
        image.setPixelColor(7, 6, QColor(255, 255, 255, 255));
        QCOMPARE(SoftBlob::visibleRect(image), QRect(3, 2, 5, 5));
        // The background's largest glow: 200 texture pixels across, blurred by 20, has a rim of
        // 30 transparent pixels on every side of its 280.
        const QImage glow = SoftBlob::render(QColor(0, 212, 255, 102), 200, 20);
        QCOMPARE(glow.size(), QSize(280, 280));
        QCOMPARE(SoftBlob::visibleRect(glow), QRect(30, 30, 220, 220));
    }

    // The glow's node draws only the texture's visible part, in its place: the window shows
    // exactly what the whole texture, stretched over the item, would show.
    void softBlobLooksAsItsWholeTextureStretched()
    {
        QQuickItem *root = load(R"(
            Rectangle { anchors.fill: parent; color: "navy" }
            SoftBlob {
                x: -90; y: -110; width: 560; height: 560
                diameter: 400; blurRadius: 40; scale: 1.04; smooth: false
                color: Qt.rgba(0, 0.83, 1, 0.4)
            })");
        QVERIFY(root);
        const QImage shown = m_window->grabWindow().convertToFormat(QImage::Format_RGB32);
        QImage expected(shown.size(), QImage::Format_RGB32);
        expected.fill(QColor(0, 0, 128));
        {
            QPainter painter(&expected);
            painter.translate(-90 + 280, -110 + 280);
            painter.scale(1.04, 1.04);
            painter.translate(-280, -280);
            QColor color;
            color.setRgbF(0, 0.83F, 1, 0.4F);
            painter.drawImage(QRectF(0, 0, 560, 560), SoftBlob::render(color, 200, 20));
        }
        QCOMPARE(shown, expected);
    }

    void cachedLayerShowsTheItemAsItLooksWithoutALayer()
    {
        // The same translucent two-coloured panel twice over a backdrop: drawn directly, and
        // through a layer shown by CachedLayer. Red on top tells a mirrored texture apart.
        const QByteArray panel = "width: 120; height: 80\n"
                                 "Rectangle { width: 120; height: 40; radius: 8; color: 'red';"
                                 " opacity: 0.75 }\n"
                                 "Rectangle { y: 40; width: 120; height: 40; color: 'lime';"
                                 " opacity: 0.5 }\n"
                                 "Text { x: 10; y: 30; text: 'Wired'; color: 'white' }\n";
        QQuickItem *root = load("Rectangle { anchors.fill: parent; color: 'navy' }\n"
                                "Item { x: 20; y: 30\n" +
                                panel +
                                "}\n"
                                "Item { x: 200; y: 30; layer.enabled: true\n"
                                "layer.effect: CachedLayer {}\n" +
                                panel + "}");
        QVERIFY(root);
        const QImage image = m_window->grabWindow();
        QVERIFY(image.pixelColor(260, 40).red() > 150);
        QVERIFY(image.pixelColor(260, 100).green() > 100);
        // Blending the layer's premultiplied pixels may round a channel differently by one.
        for (int y = 30; y < 110; ++y) {
            for (int x = 0; x < 120; ++x) {
                const QColor direct = image.pixelColor(20 + x, y);
                const QColor layered = image.pixelColor(200 + x, y);
                const int difference = std::max({std::abs(direct.red() - layered.red()),
                                                 std::abs(direct.green() - layered.green()),
                                                 std::abs(direct.blue() - layered.blue())});
                if (difference > 2) {
                    QFAIL(qPrintable(
                        u"differs by %1 at %2, %3"_s.arg(difference).arg(x).arg(y - 30)));
                }
            }
        }
    }

    void cachedLayerFollowsChangesOfItsContent()
    {
        QQuickItem *root = loadCachedRectangle();
        QVERIFY(root);
        QCOMPARE(m_window->grabWindow().pixelColor(70, 50), QColor(Qt::red));
        QuickDriver::itemIn(root, u"content"_s)->setProperty("color", QColor(Qt::blue));
        QTRY_COMPARE(m_window->grabWindow().pixelColor(70, 50), QColor(Qt::blue));
    }

    // A held layer keeps showing what it showed; once let go, it shows its content as it is now.
    void heldCachedLayerWaits()
    {
        QQuickItem *root = loadCachedRectangle();
        QVERIFY(root);
        QCOMPARE(m_window->grabWindow().pixelColor(70, 50), QColor(Qt::red));
        QQuickItem *cache = QuickDriver::itemIn(root, u"cache"_s);
        QVERIFY(cache);
        cache->setProperty("held", true);
        QuickDriver::itemIn(root, u"content"_s)->setProperty("color", QColor(Qt::blue));
        for (int frame = 0; frame < 5; ++frame) {
            QCOMPARE(m_window->grabWindow().pixelColor(70, 50), QColor(Qt::red));
        }
        cache->setProperty("held", false);
        QTRY_COMPARE(m_window->grabWindow().pixelColor(70, 50), QColor(Qt::blue));
    }

    // Holding keeps what is on screen as it is: it needs no new frame, and a frame it caused
    // would redraw the layer's whole area for nothing.
    void holdingAloneDrawsNothing()
    {
        QQuickItem *root = loadCachedRectangle();
        QVERIFY(root);
        QQuickItem *cache = QuickDriver::itemIn(root, u"cache"_s);
        QVERIFY(cache);
        QTest::qWait(100);
        int frames = 0;
        connect(m_window.get(), &QQuickWindow::afterRendering, this, [&frames] { ++frames; });
        cache->setProperty("held", true);
        QTest::qWait(200);
        QCOMPARE(frames, 0);
        // Letting go asks for the frame that brings the layer up to date.
        cache->setProperty("held", false);
        QTRY_VERIFY(frames > 0);
        disconnect(m_window.get(), &QQuickWindow::afterRendering, this, nullptr);
    }

    void hexColourIsReachableFromQml()
    {
        QQuickItem *root =
            load("Rectangle { objectName: \"r\"; color: AppColors.hex(\"#80FF0000\") }");
        QVERIFY(root);
        QCOMPARE(QuickDriver::itemIn(root, u"r"_s)->property("color").value<QColor>(),
                 QColor(255, 0, 0, 128));
    }
};

KV_TEST_MAIN(TestStyle)
#include "tst_style.moc"
