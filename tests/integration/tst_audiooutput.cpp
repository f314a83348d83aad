#include "platform/linux/ToolAudioOutput.h"

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Passes only pactl through to real processes. The other tools the output falls back to would
// reach the machine's own mixer (amixer talks to ALSA directly), so here they fail at once.
class PactlOnlyRunner final : public platform::ToolRunner {
public:
    QStringList programs;

    QCoro::Task<platform::ToolResult> run(platform::ToolRequest request) override
    {
        programs.append(request.program);
        if (request.program != u"pactl"_s) {
            co_return platform::ToolResult{};
        }
        co_return co_await m_real->run(std::move(request));
    }

private:
    std::unique_ptr<platform::ToolRunner> m_real = platform::ToolRunner::create();
};

} // namespace

/// Muting and unmuting for real, against a PulseAudio daemon of the test's own whose only
/// output is a null sink, reached through a private runtime folder.
class TestAudioOutput : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root{QDir::tempPath() + u"/kv-pulse-XXXXXX"_s};
    QProcess m_daemon;

    QString sinkMute()
    {
        QProcess pactl;
        pactl.start(u"pactl"_s, {u"get-sink-mute"_s, u"kv_null"_s});
        if (!pactl.waitForFinished(5000) || pactl.exitCode() != 0) {
            return {};
        }
        return QString::fromUtf8(pactl.readAllStandardOutput()).trimmed();
    }

    bool serverAnswers()
    {
        QProcess pactl;
        pactl.start(u"pactl"_s, {u"info"_s});
        return pactl.waitForFinished(5000) && pactl.exitStatus() == QProcess::NormalExit &&
               pactl.exitCode() == 0;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        const QString runtime = m_root.filePath(u"runtime"_s);
        const QString home = m_root.filePath(u"home"_s);
        QVERIFY(QDir().mkpath(runtime));
        QVERIFY(QDir().mkpath(home));
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        // Everything below, the daemon and every pactl the output starts, only knows this
        // folder: the machine's own sound server is never reached.
        const QString socket = runtime + u"/pulse/native"_s;
        qputenv("HOME", home.toLocal8Bit());
        qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", (home + u"/.config"_s).toLocal8Bit());
        qputenv("PULSE_SERVER", (u"unix:"_s + socket).toLocal8Bit());
        qputenv("PULSE_RUNTIME_PATH", (runtime + u"/pulse"_s).toLocal8Bit());
        qputenv("PULSE_STATE_PATH", (home + u"/state"_s).toLocal8Bit());
        qunsetenv("PULSE_COOKIE");

        QFile config(m_root.filePath(u"default.pa"_s));
        QVERIFY(config.open(QIODevice::WriteOnly));
        config.write("load-module module-null-sink sink_name=kv_null\n"
                     "load-module module-native-protocol-unix auth-anonymous=1 socket=" +
                     socket.toLocal8Bit() +
                     "\n"
                     "set-default-sink kv_null\n");
        config.close();

        m_daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_daemon.start(u"pulseaudio"_s,
                       {u"--daemonize=no"_s, u"--exit-idle-time=-1"_s, u"--disallow-exit"_s,
                        u"--use-pid-file=no"_s, u"--system=no"_s, u"--log-target=stderr"_s,
                        u"--log-level=error"_s, u"-n"_s, u"-F"_s, config.fileName()});
        if (!m_daemon.waitForStarted(5000)) {
            QSKIP("pulseaudio is not installed: the daemon cannot start");
        }
        for (int attempt = 0; attempt < 100 && !serverAnswers(); ++attempt) {
            if (m_daemon.state() == QProcess::NotRunning) {
                QSKIP("the private pulseaudio daemon exited at start");
            }
            QTest::qWait(100);
        }
        if (!serverAnswers()) {
            QSKIP("the private pulseaudio daemon does not answer");
        }
        QCOMPARE(sinkMute(), u"Mute: no"_s);
    }

    void cleanupTestCase()
    {
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.terminate();
            if (!m_daemon.waitForFinished(5000)) {
                m_daemon.kill();
                m_daemon.waitForFinished(5000);
            }
        }
    }

    void muteAndUnmute()
    {
        PactlOnlyRunner runner;
        platform::ToolAudioOutput output(runner);

        QVERIFY(QCoro::waitFor(output.setMuted(true)));
        QCOMPARE(sinkMute(), u"Mute: yes"_s);
        QCOMPARE(runner.programs, QStringList{u"pactl"_s});

        QVERIFY(QCoro::waitFor(output.setMuted(false)));
        QCOMPARE(sinkMute(), u"Mute: no"_s);
    }

    void mutingTwiceStaysMuted()
    {
        PactlOnlyRunner runner;
        platform::ToolAudioOutput output(runner);
        QVERIFY(QCoro::waitFor(output.setMuted(true)));
        QVERIFY(QCoro::waitFor(output.setMuted(true)));
        QCOMPARE(sinkMute(), u"Mute: yes"_s);
        QVERIFY(QCoro::waitFor(output.setMuted(false)));
        QCOMPARE(sinkMute(), u"Mute: no"_s);
    }

    void aServerThatIsGonePassesToTheNextTool()
    {
        // A socket nobody listens on: pactl fails and the next tools are tried in order.
        const QByteArray server = qgetenv("PULSE_SERVER");
        qputenv("PULSE_SERVER", "unix:/nonexistent/kv/native");
        PactlOnlyRunner runner;
        platform::ToolAudioOutput output(runner);
        const bool taken = QCoro::waitFor(output.setMuted(true));
        qputenv("PULSE_SERVER", server);
        QVERIFY(!taken);
        QCOMPARE(runner.programs, (QStringList{u"pactl"_s, u"wpctl"_s, u"amixer"_s}));
        QCOMPARE(sinkMute(), u"Mute: no"_s);
    }
};

QTEST_GUILESS_MAIN(TestAudioOutput)
#include "tst_audiooutput.moc"
