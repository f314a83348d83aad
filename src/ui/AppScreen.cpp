#include "AppScreen.h"

QList<AppScreen::Value> AppScreen::allCases()
{
    return {Dashboard, Optimizers, Cleaner, Settings};
}

QString AppScreen::rawValue(Value screen)
{
    switch (screen) {
    case Dashboard:
        return QStringLiteral("Dashboard");
    case Optimizers:
        return QStringLiteral("Optimizers");
    case Cleaner:
        return QStringLiteral("Cleaner");
    case Settings:
        return QStringLiteral("Settings");
    }
    return {};
}

std::optional<AppScreen::Value> AppScreen::fromRawValue(QStringView raw)
{
    for (const Value screen : allCases()) {
        if (raw == rawValue(screen)) {
            return screen;
        }
    }
    return std::nullopt;
}

QString AppScreen::title(int screen) const
{
    return screen >= Dashboard && screen <= Settings ? rawValue(Value(screen)) : QString();
}

QList<int> AppScreen::allCaseValues()
{
    QList<int> values;
    for (const Value screen : allCases()) {
        values.append(screen);
    }
    return values;
}
