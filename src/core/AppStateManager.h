#pragma once

#include "AppScreenState.h"
#include "platform/Clock.h"

#include <QObject>
#include <QString>

/// The window's top-level state: the first-run welcome screen or the working layout.
/// Main thread only.
class AppStateManager : public QObject {
    Q_OBJECT

    /// Which top-level layout the window shows.
    Q_PROPERTY(AppScreenState::Value currentState READ currentState WRITE setCurrentState NOTIFY
                   currentStateChanged)
    /// Kept for observers that ask; nothing sets it, so it always reads false.
    Q_PROPERTY(bool isTransitioning READ isTransitioning NOTIFY isTransitioningChanged)
    /// How long the views cross-fade into the latest state, in milliseconds: 500 for an animated
    /// transition, 0 for a direct assignment or an unanimated transition.
    Q_PROPERTY(int transitionDuration READ transitionDuration NOTIFY currentStateChanged)

public:
    static constexpr int animatedTransitionMs = 500;

    /// Uses the application folder and the real clock.
    explicit AppStateManager(QObject *parent = nullptr);
    AppStateManager(QString appFolder, platform::Clock &clock, QObject *parent = nullptr);

    [[nodiscard]] AppScreenState::Value currentState() const { return m_currentState; }
    /// Direct assignment: takes effect at once and is not animated.
    void setCurrentState(AppScreenState::Value state);
    [[nodiscard]] bool isTransitioning() const { return false; }
    [[nodiscard]] int transitionDuration() const { return m_transitionDuration; }

    /// Schedules the change on the event loop; the state never changes inside this call.
    Q_INVOKABLE void transitionTo(AppScreenState::Value state, bool animated);

    /// Writes "config.json" with firstRunComplete true, keeping the install date of a readable
    /// record and dating a missing or unreadable one now. Returns false when the write failed.
    Q_INVOKABLE bool completeSetup();

Q_SIGNALS:
    void currentStateChanged();
    void isTransitioningChanged();

private:
    void assign(AppScreenState::Value state, int durationMs);

    QString m_appFolder;
    platform::Clock &m_clock;
    AppScreenState::Value m_currentState = AppScreenState::Setup;
    int m_transitionDuration = 0;
};
