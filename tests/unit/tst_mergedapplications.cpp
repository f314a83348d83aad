#include "FakeRunningApplications.h"
#include "platform/MergedRunningApplications.h"

#include <QTest>

using namespace Qt::StringLiterals;
using platform::MergedRunningApplications;
using platform::RunningApplication;

Q_DECLARE_METATYPE(QList<RunningApplication>)

namespace {

RunningApplication app(qint32 pid, const QString &name, const QString &id = {})
{
    return {pid, name, id, true, quint64(pid) * 10};
}

} // namespace

/// The window list with the applications that run without a window after it, one entry per
/// application.
class TestMergedApplications : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void merged_data()
    {
        QTest::addColumn<QList<RunningApplication>>("windowed");
        QTest::addColumn<QList<RunningApplication>>("background");
        QTest::addColumn<QList<qint32>>("pids");
        const RunningApplication game = app(200, u"Racing Game"_s, u"org.example.Racer"_s);
        const RunningApplication discordWindow = app(300, u"Discord"_s, u"discord"_s);
        QTest::newRow("nothing") << QList<RunningApplication>{} << QList<RunningApplication>{}
                                 << QList<qint32>{};
        QTest::newRow("a tray application joins the windows")
            << QList<RunningApplication>{game}
            << QList<RunningApplication>{app(400, u"Spotify"_s, u"spotify"_s)}
            << QList<qint32>{200, 400};
        QTest::newRow("the same process once, as its window has it")
            << QList<RunningApplication>{game}
            << QList<RunningApplication>{app(200, u"racer"_s, u"racer"_s)} << QList<qint32>{200};
        QTest::newRow("the same desktop id, another process (a helper of the windowed one)")
            << QList<RunningApplication>{discordWindow}
            << QList<RunningApplication>{app(301, u"Discord Helper"_s, u"Discord"_s)}
            << QList<qint32>{300};
        QTest::newRow("the same name, another process")
            << QList<RunningApplication>{discordWindow}
            << QList<RunningApplication>{app(302, u"Discord"_s, u"com.discordapp.Discord"_s)}
            << QList<qint32>{300};
        QTest::newRow("two background entries of one application")
            << QList<RunningApplication>{}
            << QList<RunningApplication>{app(500, u"Slack"_s, u"com.slack.Slack"_s),
                                         app(501, u"Slack"_s, u"slack"_s)}
            << QList<qint32>{500};
        QTest::newRow("an empty id or name matches nothing")
            << QList<RunningApplication>{app(600, QString(), QString())}
            << QList<RunningApplication>{app(601, QString(), QString()),
                                         app(602, u"Teams"_s, QString())}
            << QList<qint32>{600, 601, 602};
        QTest::newRow("without windows, every background application")
            << QList<RunningApplication>{}
            << QList<RunningApplication>{app(700, u"Spotify"_s, u"spotify"_s),
                                         app(701, u"Discord"_s, u"discord"_s)}
            << QList<qint32>{700, 701};
    }

    void merged()
    {
        QFETCH(QList<RunningApplication>, windowed);
        QFETCH(QList<RunningApplication>, background);
        QFETCH(QList<qint32>, pids);
        const QList<RunningApplication> result =
            MergedRunningApplications::merged(windowed, background);
        QList<qint32> found;
        for (const RunningApplication &application : result) {
            found.append(application.pid);
        }
        QCOMPARE(found, pids);
        // The windows' entries come first and as they were.
        QCOMPARE(result.mid(0, windowed.size()), windowed);
    }

    void theWindowsSayWhichIsInFront()
    {
        auto windowed = std::make_unique<FakeRunningApplications>();
        auto background = std::make_unique<FakeRunningApplications>();
        windowed->running = {app(200, u"Racing Game"_s, u"racer"_s)};
        windowed->frontmost = 200;
        background->running = {app(400, u"Spotify"_s, u"spotify"_s)};
        background->frontmost = 400;
        FakeRunningApplications *windows = windowed.get();
        FakeRunningApplications *processes = background.get();
        MergedRunningApplications merged(std::move(windowed), std::move(background));
        QCOMPARE(merged.applications(),
                 (QList<RunningApplication>{app(200, u"Racing Game"_s, u"racer"_s),
                                            app(400, u"Spotify"_s, u"spotify"_s)}));
        QCOMPARE(merged.frontmostPid(), std::optional<qint32>(200));
        QCOMPARE(windows->scans, 1);
        QCOMPARE(processes->scans, 1);
        // A process list asked again sees what runs now.
        processes->running.clear();
        QCOMPARE(merged.applications().size(), 1);
    }
};

QTEST_APPLESS_MAIN(TestMergedApplications)
#include "tst_mergedapplications.moc"
