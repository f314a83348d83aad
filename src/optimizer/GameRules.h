#pragma once

#include "RunningAppInfo.h"
#include "platform/RunningApplications.h"

#include <QList>
#include <QStringList>

/// Which running applications count as games and which are background chat, browser and music
/// programs that may be slowed down for one.
class GameRules {
public:
    /// Tested in this order as lower-case substrings of "name bundle-identifier". "game" and
    /// "launcher" match broadly on purpose.
    static const QStringList gameKeywords;
    /// Compared with the whole display name, case and all.
    static const QStringList backgroundAppNames;

    /// An ordinary application with a name and a real process.
    [[nodiscard]] static bool isCandidate(const platform::RunningApplication &application);
    [[nodiscard]] static bool isGame(const QString &name, const QString &bundleIdentifier);
    [[nodiscard]] static bool isBackgroundApp(const QString &name);
    /// The candidates that are games, in the given order.
    [[nodiscard]] static QList<RunningAppInfo>
    detectGames(const QList<platform::RunningApplication> &applications);
    /// Stable sort by name, ignoring case, in the user's collation.
    [[nodiscard]] static QList<RunningAppInfo> sortedByName(QList<RunningAppInfo> games);
};
