#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QUuid>

/// One second of a recorded session. No frame-rate or graphics-load source exists, so fps and
/// gpu are always 0; the report points the user to the performance overlay instead.
struct SessionRecord {
    Q_GADGET
    Q_PROPERTY(QUuid id MEMBER id CONSTANT)
    Q_PROPERTY(QDateTime time MEMBER time CONSTANT)
    Q_PROPERTY(double fps MEMBER fps CONSTANT)
    Q_PROPERTY(double cpu MEMBER cpu CONSTANT)
    Q_PROPERTY(double gpu MEMBER gpu CONSTANT)
    Q_PROPERTY(double ramPercent MEMBER ramPercent CONSTANT)

public:
    QUuid id;
    QDateTime time; ///< when the sample was taken
    double fps = 0;
    double cpu = 0; ///< processor load, percent 0…100
    double gpu = 0;
    double ramPercent = 0; ///< memory in use, percent 0…100

    friend bool operator==(const SessionRecord &, const SessionRecord &) = default;
};
