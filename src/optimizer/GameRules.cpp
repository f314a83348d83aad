#include "GameRules.h"

#include <QCollator>

#include <algorithm>

const QStringList GameRules::gameKeywords{
    QStringLiteral("steam"),     QStringLiteral("epic"),     QStringLiteral("battle.net"),
    QStringLiteral("minecraft"), QStringLiteral("roblox"),   QStringLiteral("league"),
    QStringLiteral("valorant"),  QStringLiteral("dota"),     QStringLiteral("counter-strike"),
    QStringLiteral("cs2"),       QStringLiteral("fortnite"), QStringLiteral("genshin"),
    QStringLiteral("hoyoplay"),  QStringLiteral("unity"),    QStringLiteral("unreal"),
    QStringLiteral("game"),      QStringLiteral("launcher"),
};

const QStringList GameRules::backgroundAppNames{
    QStringLiteral("Safari"),  QStringLiteral("Google Chrome"), QStringLiteral("Chrome"),
    QStringLiteral("Discord"), QStringLiteral("Slack"),         QStringLiteral("Spotify"),
    QStringLiteral("Teams"),   QStringLiteral("zoom.us"),
};

bool GameRules::isCandidate(const platform::RunningApplication &application)
{
    return application.regular && !application.name.isEmpty() && application.pid >= 1;
}

bool GameRules::isGame(const QString &name, const QString &bundleIdentifier)
{
    const QString searchText = (name + u' ' + bundleIdentifier).toLower();
    return std::any_of(gameKeywords.cbegin(), gameKeywords.cend(),
                       [&](const QString &keyword) { return searchText.contains(keyword); });
}

bool GameRules::isBackgroundApp(const QString &name)
{
    return backgroundAppNames.contains(name, Qt::CaseSensitive);
}

QList<RunningAppInfo>
GameRules::detectGames(const QList<platform::RunningApplication> &applications)
{
    QList<RunningAppInfo> games;
    for (const platform::RunningApplication &application : applications) {
        if (isCandidate(application) && isGame(application.name, application.bundleIdentifier)) {
            games.append({application.pid, application.name, application.bundleIdentifier});
        }
    }
    return games;
}

QList<RunningAppInfo> GameRules::sortedByName(QList<RunningAppInfo> games)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    // Only "ascending" moves an element forward; equal names keep the order they were found in.
    std::stable_sort(games.begin(), games.end(),
                     [&](const RunningAppInfo &a, const RunningAppInfo &b) {
                         return collator.compare(a.name, b.name) < 0;
                     });
    return games;
}
