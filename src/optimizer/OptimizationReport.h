#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

/// What the last optimizer action did: a headline, one line per action and, depending on the
/// action, the memory it freed, the DNS provider it chose and the latency before and after.
struct OptimizationReport {
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title CONSTANT)
    Q_PROPERTY(QStringList actions MEMBER actions CONSTANT)
    // Undefined in QML when absent.
    Q_PROPERTY(QVariant reclaimedRAMGB READ reclaimedRAMGBValue CONSTANT)
    Q_PROPERTY(QVariant selectedDNSProvider READ selectedDNSProviderValue CONSTANT)
    Q_PROPERTY(QVariant latencyBeforeMS READ latencyBeforeMSValue CONSTANT)
    Q_PROPERTY(QVariant latencyAfterMS READ latencyAfterMSValue CONSTANT)

public:
    QString title;
    QStringList actions;
    std::optional<double> reclaimedRAMGB; ///< GiB, never negative
    std::optional<QString> selectedDNSProvider;
    std::optional<double> latencyBeforeMS;
    std::optional<double> latencyAfterMS;

    friend bool operator==(const OptimizationReport &, const OptimizationReport &) = default;

private:
    template <typename T>
    static QVariant valueOrUndefined(const std::optional<T> &value)
    {
        return value ? QVariant::fromValue(*value) : QVariant();
    }
    [[nodiscard]] QVariant reclaimedRAMGBValue() const { return valueOrUndefined(reclaimedRAMGB); }
    [[nodiscard]] QVariant selectedDNSProviderValue() const
    {
        return valueOrUndefined(selectedDNSProvider);
    }
    [[nodiscard]] QVariant latencyBeforeMSValue() const
    {
        return valueOrUndefined(latencyBeforeMS);
    }
    [[nodiscard]] QVariant latencyAfterMSValue() const { return valueOrUndefined(latencyAfterMS); }
};
