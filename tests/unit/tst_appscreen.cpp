#include "TestEnvironment.h"
#include "ui/AppScreen.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAppScreen : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void casesInDeclarationOrderWithTheirTitles()
    {
        const QList<AppScreen::Value> cases = AppScreen::allCases();
        QStringList titles;
        for (const AppScreen::Value screen : cases) {
            titles.append(AppScreen::rawValue(screen));
        }
        QCOMPARE(titles,
                 QStringList({u"Dashboard"_s, u"Optimizers"_s, u"Cleaner"_s, u"Settings"_s}));
        QCOMPARE(cases.first(), AppScreen::Dashboard);
    }

    void fromRawValue_data()
    {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<int>("expected"); // -1: no screen

        QTest::newRow("Dashboard") << "Dashboard" << int(AppScreen::Dashboard);
        QTest::newRow("Optimizers") << "Optimizers" << int(AppScreen::Optimizers);
        QTest::newRow("Cleaner") << "Cleaner" << int(AppScreen::Cleaner);
        QTest::newRow("Settings") << "Settings" << int(AppScreen::Settings);
        QTest::newRow("lower case") << "dashboard" << -1;
        QTest::newRow("padded") << " Settings" << -1;
        QTest::newRow("empty") << "" << -1;
        QTest::newRow("other") << "Welcome" << -1;
    }

    void fromRawValue()
    {
        QFETCH(QString, raw);
        QFETCH(int, expected);
        const std::optional<AppScreen::Value> screen = AppScreen::fromRawValue(raw);
        QCOMPARE(screen ? int(*screen) : -1, expected);
    }

    void titleForQmlIgnoresUnknownValues()
    {
        AppScreen screens;
        QCOMPARE(screens.title(AppScreen::Cleaner), u"Cleaner"_s);
        QCOMPARE(screens.title(7), QString());
        QCOMPARE(screens.title(-1), QString());
    }
};

KV_TEST_MAIN(TestAppScreen)
#include "tst_appscreen.moc"
