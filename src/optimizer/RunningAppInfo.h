#pragma once

#include <QMetaType>
#include <QString>

/// A running application that looks like a game: its process, display name and bundle
/// identifier (the desktop entry's id; empty when it has none).
struct RunningAppInfo {
    Q_GADGET
    Q_PROPERTY(int id MEMBER id CONSTANT)
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(QString bundleIdentifier MEMBER bundleIdentifier CONSTANT)

public:
    qint32 id = 0;
    QString name;
    QString bundleIdentifier;

    friend bool operator==(const RunningAppInfo &, const RunningAppInfo &) = default;
};
