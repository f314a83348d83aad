#pragma once

#include <QTemporaryDir>

/// Makes a test process hermetic before Qt starts: a temporary HOME with its own XDG folders,
/// the C locale, the offscreen window system and Qt Quick's software renderer.
class TestEnvironment {
public:
    TestEnvironment();

private:
    QTemporaryDir m_home;
};

/// Like QTEST_MAIN, with the environment above set up before the application object exists.
#define KV_TEST_MAIN(TestObject)                                                                   \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        TestEnvironment environment;                                                               \
        QGuiApplication app(argc, argv);                                                           \
        QStandardPaths::setTestModeEnabled(true);                                                  \
        TestObject test;                                                                           \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
