#include "TestFiles.h"
#include "platform/linux/EnvironmentdHud.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The HUD switch's file as the session reads it at login: systemd's environment.d generator
/// run on a temporary configuration folder.
class TestHudEnvironment : public QObject {
    Q_OBJECT

private:
    QString m_generator;
    QTemporaryDir m_config;

    // The MANGOHUD values the generator hands to the session, in its output's order.
    QStringList sessionValues()
    {
        QProcess generator;
        QProcessEnvironment environment;
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
        environment.insert(u"HOME"_s, m_config.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_config.path());
        environment.insert(u"XDG_CONFIG_DIRS"_s, m_config.filePath(u"none"_s));
        generator.setProcessEnvironment(environment);
        generator.start(m_generator, {});
        if (!generator.waitForFinished(10000) || generator.exitCode() != 0) {
            return {u"generator failed"_s};
        }
        QStringList values;
        for (const QByteArray &line : generator.readAllStandardOutput().split('\n')) {
            if (line.startsWith("MANGOHUD=")) {
                values.append(QString::fromUtf8(line.mid(9)));
            }
        }
        return values;
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const QString &path :
             {u"/usr/lib/systemd/user-environment-generators/30-systemd-environment-d-generator"_s,
              u"/lib/systemd/user-environment-generators/30-systemd-environment-d-generator"_s}) {
            if (QFileInfo(path).isExecutable()) {
                m_generator = path;
                break;
            }
        }
        if (m_generator.isEmpty()) {
            QSKIP("systemd's environment.d generator is not installed");
        }
        QVERIFY(m_config.isValid());
    }

    void init() { QDir(m_config.filePath(u"environment.d"_s)).removeRecursively(); }

    void enableAndDisableAsTheSessionSeesThem()
    {
        platform::EnvironmentdHud hud(m_config.path());
        QCOMPARE(sessionValues(), QStringList());

        QVERIFY(hud.write(true));
        QCOMPARE(sessionValues(), QStringList{u"1"_s});
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"1"_s));

        QVERIFY(hud.write(false));
        QCOMPARE(sessionValues(), QStringList{u"0"_s});
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"0"_s));
    }

    void ourFileComesAfterTheUsersOwn()
    {
        // A file of the user's that sorts before ours: ours decides, for the session as for us.
        QVERIFY(QDir().mkpath(m_config.filePath(u"environment.d"_s)));
        QVERIFY(TestFiles::write(m_config.filePath(u"environment.d/50-games.conf"_s),
                                 "MANGOHUD=0\nMANGOHUD_CONFIG=fps\n"));
        platform::EnvironmentdHud hud(m_config.path());
        QVERIFY(hud.write(true));
        QCOMPARE(sessionValues(), QStringList{u"1"_s});
        QCOMPARE(hud.storedValue(), std::optional<QString>(u"1"_s));
    }
};

QTEST_GUILESS_MAIN(TestHudEnvironment)
#include "tst_hudenvironment.moc"
