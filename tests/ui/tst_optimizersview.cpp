#include "FakeOptimizerPlatform.h"
#include "ManualClock.h"
#include "QuickDriver.h"
#include "TestEnvironment.h"
#include "TestWindow.h"
#include "optimizer/SystemOptimizer.h"
#include "ui/AppColors.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

} // namespace

// The optimizers screen, loaded offscreen over an optimizer whose system parts are fakes.
class TestOptimizersView : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<ManualClock> m_clock;
    FakePrivilegedRunner *m_privileged = nullptr;
    FakeRunningApplications *m_apps = nullptr;
    FakeLatencyProbe *m_latency = nullptr;
    FakeDisplayResolution *m_display = nullptr;
    std::unique_ptr<SystemOptimizer> m_optimizer;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;

    QList<platform::RunningApplication> m_running;

    void load()
    {
        FakeOptimizerPlatform fakes;
        m_optimizer = std::make_unique<SystemOptimizer>(*m_clock, fakes.parts(m_running));
        m_privileged = fakes.privileged;
        m_apps = fakes.applications;
        m_latency = fakes.latency;
        m_display = fakes.display;

        QVERIFY(TestWindow::load(
            m_engine, m_window,
            "Window {\n id: root\n width: 1000\n height: 1100\n"
            " required property SystemOptimizer optimizer\n"
            " property bool viewShown: true\n"
            " Component { id: view; OptimizersView { optimizer: root.optimizer } }\n"
            " Loader { anchors.fill: parent; active: root.viewShown; sourceComponent: view }\n}",
            {{u"optimizer"_s, QVariant::fromValue(m_optimizer.get())}}));
    }

    QQuickItem *item(const QString &name) const
    {
        return QuickDriver::itemIn(m_window->contentItem(), name);
    }

    QQuickItem *in(const QString &container, const QString &name) const
    {
        QQuickItem *parent = item(container);
        return parent ? QuickDriver::itemIn(parent, name) : nullptr;
    }

    QList<QQuickItem *> all(const QString &name) const
    {
        return QuickDriver::itemsIn(m_window->contentItem(), name);
    }

    void click(const QString &name)
    {
        QQuickItem *target = item(name);
        QVERIFY2(target, qPrintable(name));
        QuickDriver(m_window.get()).click(target);
    }

    QString textOf(const QString &name) const
    {
        QQuickItem *found = item(name);
        return found ? found->property("text").toString() : u"<missing>"_s;
    }

    QString colorOf(const QString &name) const
    {
        QQuickItem *found = item(name);
        return found ? hex(found->property("color").value<QColor>()) : u"<missing>"_s;
    }

    static QString hex(const QColor &color) { return color.name(QColor::HexArgb); }

    // Another tab and back: the screen is built anew, with none of the old one's state.
    void rebuildView()
    {
        m_window->setProperty("viewShown", false);
        QVERIFY(!item(u"gameModeButton"_s));
        m_window->setProperty("viewShown", true);
        QTRY_VERIFY(item(u"gameModeButton"_s));
    }

    QQuickItem *picker() const { return item(u"gamePicker"_s); }

    // Opens the picker's list and clicks the entry with this text.
    void pick(const QString &name)
    {
        QuickDriver driver(m_window.get());
        driver.click(picker());
        // The list's entries are made as the popup opens, over more than one frame.
        const auto entryNamed = [this, &name]() -> QQuickItem * {
            for (QQuickItem *choice : all(u"gameChoice"_s)) {
                const QQuickItem *text = QuickDriver::itemIn(choice, u"choiceText"_s);
                if (text && text->property("text").toString() == name) {
                    return choice;
                }
            }
            return nullptr;
        };
        QTRY_VERIFY2(entryNamed(), qPrintable(name));
        QQuickItem *entry = entryNamed();
        driver.click(entry);
        QTRY_VERIFY(all(u"gameChoice"_s).isEmpty());
    }

    QStringList tilesEnabled() const
    {
        QStringList enabled;
        for (const QString &name :
             {u"antiShutTile"_s, u"focusModeTile"_s, u"hudTile"_s, u"purgeTile"_s, u"flushTile"_s,
              u"lowerResButton"_s, u"revertResButton"_s}) {
            QQuickItem *found = item(name);
            if (found && found->isEnabled()) {
                enabled.append(name);
            }
        }
        return enabled;
    }

    QString tileColor(const QString &tile) const
    {
        QQuickItem *symbol = in(tile, u"tileSymbol"_s);
        return symbol ? hex(symbol->property("color").value<QColor>()) : QString();
    }

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        m_running.clear();
    }

    void cleanup()
    {
        m_window.reset();
        m_engine.reset();
        m_optimizer.reset();
        m_clock.reset();
    }

    void cardsInOrderWithTheirTitles()
    {
        load();
        const QList<QQuickItem *> titles = all(u"sectionTitle"_s);
        QStringList texts;
        for (QQuickItem *title : titles) {
            texts.append(title->property("text").toString());
        }
        QCOMPARE(texts, (QStringList{u"Quick Boost"_s, u"System Tools"_s, u"DNS Providers"_s}));
        QVERIFY(
            QuickDriver(m_window.get()).text(u"One-click optimization for maximum performance"_s));
        QVERIFY(QuickDriver(m_window.get()).text(u"Optimize your network for gaming"_s));
        QCOMPARE(in(u"gameModeButton"_s, u"buttonText"_s)->property("text").toString(),
                 u"Enable Game Mode"_s);
        QVERIFY(!item(u"boostResult"_s));
        QVERIFY(!item(u"reportView"_s));
        QVERIFY(!item(u"toolsStatus"_s));
    }

    void withNoGamesThePickerOffersOnlyAutoDetect()
    {
        load();
        QTRY_COMPARE(item(u"gamePicker"_s)->property("count").toInt(), 1);
        QCOMPARE(item(u"gamePicker"_s)->property("currentText").toString(), u"Auto Detect"_s);
    }

    void thePickerListsTheGamesAndRefreshes()
    {
        m_running = {{10, u"Zeta Game"_s, QString(), true},
                     {11, u"alpha launcher"_s, QString(), true}};
        load();
        QQuickItem *picker = item(u"gamePicker"_s);
        QTRY_COMPARE(picker->property("count").toInt(), 3);
        QString second;
        QMetaObject::invokeMethod(picker, "textAt", Q_RETURN_ARG(QString, second), Q_ARG(int, 1));
        QCOMPARE(second, u"alpha launcher"_s);
        m_apps->running.append({12, u"Minecraft"_s, QString(), true});
        const int scans = m_apps->scans;
        click(u"refreshGamesButton"_s);
        QCOMPARE(m_apps->scans, scans + 1);
        QTRY_COMPARE(picker->property("count").toInt(), 4);
    }

    void enableGameModeShowsItsResultAndReport()
    {
        m_running = {{200, u"Chess Game"_s, QString(), true}, {100, u"Safari"_s, QString(), true}};
        load();
        QCoreApplication::processEvents();
        click(u"gameModeButton"_s);
        QTRY_COMPARE(in(u"gameModeButton"_s, u"buttonText"_s)->property("text").toString(),
                     u"Disable Game Mode"_s);
        QTRY_VERIFY(item(u"boostResult"_s));
        const QString result = textOf(u"boostResult"_s);
        QCOMPARE(result, u"Prevented display sleep during gameplay, Muted system output for focus "
                         "mode, Raised priority for Chess Game, Lowered priority for Safari, "
                         "Purged inactive RAM cache"_s);
        QCOMPARE(colorOf(u"boostResult"_s), hex(AppColors::neonGreen()));
        QTRY_VERIFY(item(u"reportView"_s));
        QCOMPARE(in(u"reportView"_s, u"reportTitle"_s)->property("text").toString(),
                 u"Game Mode enabled"_s);
        QCOMPARE(all(u"reportRow"_s).size(), 5);
        QCOMPARE(in(u"reportView"_s, u"reclaimedLine"_s)->property("text").toString(),
                 u"RAM reclaimed: 0.00 GB"_s);
        QVERIFY(!in(u"reportView"_s, u"latencyLine"_s));
        QVERIFY(!in(u"reportView"_s, u"providerLine"_s));
        // The tools light up with Game Mode.
        QTRY_COMPARE(tileColor(u"antiShutTile"_s), hex(AppColors::neonGreen()));
        QTRY_COMPARE(tileColor(u"focusModeTile"_s), hex(AppColors::neonGreen()));
        QCOMPARE(tileColor(u"hudTile"_s), hex(AppColors::textSecondary()));

        click(u"gameModeButton"_s);
        QTRY_COMPARE(in(u"gameModeButton"_s, u"buttonText"_s)->property("text").toString(),
                     u"Enable Game Mode"_s);
        QTRY_COMPARE(textOf(u"boostResult"_s),
                     u"Restored game process priority, Restored background process priority, "
                     "Game Mode disabled"_s);
        QTRY_COMPARE(tileColor(u"antiShutTile"_s), hex(AppColors::textSecondary()));
    }

    void busyWhileAPromptIsOpen()
    {
        m_running = {{200, u"Chess Game"_s, QString(), true}};
        load();
        m_privileged->hold = true;
        click(u"gameModeButton"_s);
        QTRY_COMPARE(m_privileged->starts, 1);
        QVERIFY(!item(u"gameModeButton"_s)->isEnabled());
        QVERIFY(in(u"gameModeButton"_s, u"busySpinner"_s));
        QVERIFY(!in(u"gameModeButton"_s, u"buttonSymbol"_s));
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(item(u"gameModeButton"_s)->isEnabled());
        QVERIFY(!in(u"gameModeButton"_s, u"busySpinner"_s));
    }

    // The screen is left and opened again while Enable Game Mode waits at a password dialog:
    // the new card shows the switch busy, and its button cannot start a disable meanwhile.
    void aRebuiltCardShowsGameModeBusy()
    {
        m_running = {{200, u"Chess Game"_s, QString(), true}};
        load();
        m_privileged->hold = true;
        click(u"gameModeButton"_s);
        QTRY_COMPARE(m_privileged->starts, 1);
        rebuildView();
        QCOMPARE(in(u"gameModeButton"_s, u"buttonText"_s)->property("text").toString(),
                 u"Disable Game Mode"_s);
        QVERIFY(!item(u"gameModeButton"_s)->isEnabled());
        QVERIFY(in(u"gameModeButton"_s, u"busySpinner"_s));
        click(u"gameModeButton"_s);
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(item(u"gameModeButton"_s)->isEnabled());
        QVERIFY(!in(u"gameModeButton"_s, u"busySpinner"_s));
        // The enable finished alone: nothing was restored behind it.
        QCOMPARE(m_privileged->calls.size(), 2);
        QVERIFY(m_optimizer->gameModeEnabled());
        QCOMPARE(m_optimizer->boostedPIDs(), (std::set<qint32>{200}));
    }

    // While one tool works every tile waits, also on a screen built meanwhile.
    void toolTilesWaitWhileAToolWorks()
    {
        load();
        const QStringList all{u"antiShutTile"_s,   u"focusModeTile"_s, u"hudTile"_s,
                              u"purgeTile"_s,      u"flushTile"_s,     u"lowerResButton"_s,
                              u"revertResButton"_s};
        QCOMPARE(tilesEnabled(), all);
        QVERIFY(!item(u"toolsSpinner"_s));
        m_privileged->hold = true;
        click(u"purgeTile"_s);
        QTRY_COMPARE(m_privileged->calls.size(), 1);
        QCOMPARE(tilesEnabled(), QStringList());
        QVERIFY(item(u"toolsSpinner"_s));
        rebuildView();
        QCOMPARE(tilesEnabled(), QStringList());
        QVERIFY(item(u"toolsSpinner"_s));
        click(u"flushTile"_s);
        QCoreApplication::processEvents();
        QCOMPARE(m_privileged->calls.size(), 1);

        m_privileged->hold = false;
        m_privileged->release();
        QCoreApplication::processEvents();
        m_clock->advance(SystemOptimizer::purgeSettleTime);
        QTRY_COMPARE(tilesEnabled(), all);
        QVERIFY(!item(u"toolsSpinner"_s));
        QCOMPARE(m_privileged->calls.size(), 1);
    }

    // The DNS card rebuilt during a tuning shows it running.
    void aRebuiltDnsCardShowsTheTuning()
    {
        load();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(12.5)}};
        m_privileged->hold = true;
        click(u"autoTuneButton"_s);
        QTRY_COMPARE(m_privileged->starts, 1);
        rebuildView();
        QVERIFY(!item(u"autoTuneButton"_s)->isEnabled());
        QVERIFY(in(u"autoTuneButton"_s, u"busySpinner"_s));
        QVERIFY(!item(u"provider_Google"_s)->isEnabled());
        QVERIFY(!item(u"automaticDnsButton"_s)->isEnabled());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_VERIFY(item(u"autoTuneButton"_s)->isEnabled());
        QVERIFY(item(u"provider_Google"_s)->isEnabled());
    }

    // A pick survives refreshes while its process runs, and what the picker shows is what
    // Game Mode gets.
    void aPickSurvivesARefresh()
    {
        m_running = {{10, u"Zeta Game"_s, QString(), true},
                     {11, u"alpha launcher"_s, QString(), true}};
        load();
        QTRY_COMPARE(picker()->property("count").toInt(), 3);
        pick(u"Zeta Game"_s);
        QCOMPARE(picker()->property("currentText").toString(), u"Zeta Game"_s);

        // A game that sorts before the pick joins the list.
        m_apps->running.append({12, u"Minecraft"_s, QString(), true});
        click(u"refreshGamesButton"_s);
        QTRY_COMPARE(picker()->property("count").toInt(), 4);
        QCOMPARE(picker()->property("currentText").toString(), u"Zeta Game"_s);
        QCOMPARE(item(u"quickBoostSection"_s)->property("selectedGamePID").toInt(), 10);
        // The same list again.
        click(u"refreshGamesButton"_s);
        QTest::qWait(50);
        QCOMPARE(picker()->property("currentText").toString(), u"Zeta Game"_s);

        click(u"gameModeButton"_s);
        QTRY_VERIFY(m_optimizer->lastOptimizationReport());
        QCOMPARE(m_privileged->calls.constFirst().mid(0, 3),
                 (QStringList{u"renice"_s, u"10"_s, u"-10"_s}));
        click(u"gameModeButton"_s);
        QTRY_VERIFY(!m_optimizer->gameModeEnabled());

        // The picked game quits: the picker falls back to automatic choice, and so does Game
        // Mode (the alphabetically first game).
        m_apps->running.removeFirst();
        click(u"refreshGamesButton"_s);
        QTRY_COMPARE(picker()->property("count").toInt(), 3);
        QCOMPARE(picker()->property("currentText").toString(), u"Auto Detect"_s);
        QCOMPARE(item(u"quickBoostSection"_s)->property("selectedGamePID").toInt(), 0);
        m_privileged->calls.clear();
        click(u"gameModeButton"_s);
        QTRY_VERIFY(m_optimizer->gameModeEnabled());
        QTRY_VERIFY(!m_privileged->calls.isEmpty());
        QCOMPARE(m_privileged->calls.constFirst().mid(0, 3),
                 (QStringList{u"renice"_s, u"11"_s, u"-10"_s}));
    }

    // The open list is drawn in the style kit's colours: dark, with light text.
    void theGameListIsDark()
    {
        m_running = {{10, u"Zeta Game"_s, QString(), true}};
        load();
        QTRY_COMPARE(picker()->property("count").toInt(), 2);
        QuickDriver(m_window.get()).click(picker());
        QTRY_COMPARE(all(u"gameChoice"_s).size(), 2);
        auto *popup = picker()->property("popup").value<QObject *>();
        QVERIFY(popup && popup->property("visible").toBool());
        auto *background = popup->property("background").value<QQuickItem *>();
        QVERIFY(background);
        QCOMPARE(hex(background->property("color").value<QColor>()), hex(AppColors::midNavy()));
        QStringList colours;
        for (QQuickItem *choice : all(u"gameChoice"_s)) {
            colours.append(hex(
                QuickDriver::itemIn(choice, u"choiceText"_s)->property("color").value<QColor>()));
        }
        // The entry under the keyboard is highlighted in cyan, the other in the primary text.
        QCOMPARE(colours.size(), 2);
        QVERIFY(colours.contains(hex(AppColors::textPrimary())));
        for (const QString &colour : colours) {
            QVERIFY2(colour == hex(AppColors::textPrimary()) || colour == hex(AppColors::cyan()),
                     qPrintable(colour));
        }
    }

    void aReportOfSevenActionsShowsFive()
    {
        m_running = {{1, u"Safari"_s, QString(), true},
                     {2, u"Chrome"_s, QString(), true},
                     {3, u"Discord"_s, QString(), true},
                     {4, u"Slack"_s, QString(), true},
                     {5, u"Spotify"_s, QString(), true}};
        load();
        click(u"gameModeButton"_s);
        QTRY_VERIFY(m_optimizer->lastOptimizationReport());
        QVERIFY(m_optimizer->lastOptimizationReport()->actions.size() >= 7);
        QTRY_COMPARE(all(u"reportRow"_s).size(), 5);
    }

    void tuningReportLines()
    {
        load();
        m_latency->outputs = {{u"8.8.8.8"_s, FakeLatencyProbe::summary(12.5)}};
        m_privileged->hold = true;
        click(u"autoTuneButton"_s);
        // Busy while the password dialog is open.
        QTRY_COMPARE(m_privileged->starts, 1);
        QVERIFY(!item(u"autoTuneButton"_s)->isEnabled());
        QVERIFY(in(u"autoTuneButton"_s, u"busySpinner"_s));
        QVERIFY(!item(u"provider_Google"_s)->isEnabled());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_COMPARE(textOf(u"dnsStatus"_s), u"Network tuned with Google"_s);
        QCOMPARE(colorOf(u"dnsStatus"_s), hex(AppColors::neonGreen()));
        QVERIFY(item(u"autoTuneButton"_s)->isEnabled());
        // No baseline: no latency line.
        QTRY_VERIFY(item(u"reportView"_s));
        QCOMPARE(in(u"reportView"_s, u"providerLine"_s)->property("text").toString(),
                 u"DNS provider: Google"_s);
        QVERIFY(!in(u"reportView"_s, u"latencyLine"_s));
        QVERIFY(!in(u"reportView"_s, u"reclaimedLine"_s));

        // With a baseline that was faster, the line is orange.
        m_latency->outputs.insert(u"1.1.1.1"_s, FakeLatencyProbe::summary(10.0));
        m_latency->outputs.insert(u"8.8.8.8"_s, FakeLatencyProbe::summary(9.0));
        click(u"autoTuneButton"_s);
        QTRY_VERIFY(in(u"reportView"_s, u"latencyLine"_s));
        QCOMPARE(in(u"reportView"_s, u"latencyLine"_s)->property("text").toString(),
                 u"Latency: 10.0 ms -> 9.0 ms"_s);
        QCOMPARE(hex(in(u"reportView"_s, u"latencyLine"_s)->property("color").value<QColor>()),
                 hex(AppColors::neonGreen()));
    }

    void automaticDnsUndoesTheSwitch()
    {
        load();
        click(u"provider_Google"_s);
        QTRY_COMPARE(textOf(u"dnsStatus"_s), u"DNS set to Google"_s);
        m_privileged->hold = true;
        click(u"automaticDnsButton"_s);
        QTRY_COMPARE(m_privileged->calls.constLast().constFirst(), u"restore-dns"_s);
        QVERIFY(!item(u"automaticDnsButton"_s)->isEnabled());
        QVERIFY(!item(u"autoTuneButton"_s)->isEnabled());
        m_privileged->hold = false;
        m_privileged->release();
        QTRY_COMPARE(textOf(u"dnsStatus"_s), u"Automatic DNS restored"_s);
        QCOMPARE(colorOf(u"dnsStatus"_s), hex(AppColors::neonGreen()));
        QVERIFY(item(u"automaticDnsButton"_s)->isEnabled());
    }

    void providersSortedAndFailuresInRed()
    {
        load();
        QStringList names;
        for (QQuickItem *button : all(u"buttonText"_s)) {
            const QString text = button->property("text").toString();
            if (SystemOptimizer::dnsProviders.contains(text)) {
                names.append(text);
            }
        }
        QCOMPARE(names, (QStringList{u"AdGuard"_s, u"Cloudflare"_s, u"Google"_s, u"OpenDNS"_s}));
        click(u"provider_Google"_s);
        QTRY_COMPARE(textOf(u"dnsStatus"_s), u"DNS set to Google"_s);
        m_privileged->answer = [](const QStringList &) {
            return FakePrivilegedRunner::dismissed();
        };
        click(u"provider_OpenDNS"_s);
        QTRY_COMPARE(textOf(u"dnsStatus"_s), u"Request dismissed"_s);
        QCOMPARE(colorOf(u"dnsStatus"_s), hex(AppColors::systemRed()));
        click(u"flushTile"_s);
        QTRY_COMPARE(textOf(u"toolsStatus"_s), u"Failed to flush DNS"_s);
        QCOMPARE(colorOf(u"toolsStatus"_s), hex(AppColors::systemRed()));
    }

    void revertBeforeAChangeDoesNothing()
    {
        load();
        click(u"revertResButton"_s);
        QTest::qWait(20);
        QVERIFY(!item(u"toolsStatus"_s));
        QVERIFY(m_display->changes.isEmpty());

        click(u"lowerResButton"_s);
        QTRY_COMPARE(textOf(u"toolsStatus"_s), u"Resolution changed to 1920x1080"_s);
        click(u"revertResButton"_s);
        QTRY_COMPARE(textOf(u"toolsStatus"_s), u"Resolution changed to 2560x1440"_s);
    }

    void toolTiles()
    {
        load();
        click(u"hudTile"_s);
        QTRY_COMPARE(tileColor(u"hudTile"_s), hex(AppColors::neonGreen()));
        QCOMPARE(textOf(u"toolsStatus"_s),
                 u"Metal HUD enabled. Please RESTART your game to see the HUD in the top right "
                 "corner."_s);
        click(u"focusModeTile"_s);
        QTRY_VERIFY(m_optimizer->focusModeEnabled());
        QTRY_COMPARE(tileColor(u"focusModeTile"_s), hex(AppColors::neonGreen()));
        click(u"antiShutTile"_s);
        QTRY_VERIFY(m_optimizer->antiShutEnabled());
        click(u"purgeTile"_s);
        QTRY_COMPARE(m_privileged->calls.size(), 1);
        QCoreApplication::processEvents();
        m_clock->advance(SystemOptimizer::purgeSettleTime);
        QTRY_COMPARE(textOf(u"toolsStatus"_s), u"RAM cache cleared. Reclaimed 0.00 GB"_s);
        QTRY_COMPARE(in(u"reportView"_s, u"reportTitle"_s)->property("text").toString(),
                     u"RAM purged"_s);
    }
};

KV_TEST_MAIN(TestOptimizersView)
#include "tst_optimizersview.moc"
