#include "TestEnvironment.h"

#include <QDir>
#include <QtGlobal>

TestEnvironment::TestEnvironment()
    : m_home(QDir::tempPath() + u"/kv-test-home-XXXXXX")
{
    const QString home = m_home.path();
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home + u"/.config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home + u"/.local/share").toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (home + u"/.cache").toLocal8Bit());
    qputenv("XDG_STATE_HOME", (home + u"/.local/state").toLocal8Bit());
    qputenv("LC_ALL", "C");
    qputenv("LANG", "C");
    qunsetenv("LANGUAGE");
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
        qputenv("QT_QUICK_BACKEND", "software");
    }
}
