#pragma once

#include "OptimizationReport.h"
#include "RunningAppInfo.h"

#include <QList>
#include <QSize>
#include <QStringList>

#include <optional>

/// Where the optimizer's parts put what the screens show: one published state and the report of
/// the last action, kept in one place so that each part changes only its own share of it.
class OptimizerPublisher {
public:
    virtual ~OptimizerPublisher() = default;

    [[nodiscard]] virtual QList<RunningAppInfo> detectedGames() const = 0;
    [[nodiscard]] virtual QStringList currentDNS() const = 0;
    [[nodiscard]] virtual std::optional<QSize> originalResolution() const = 0;

    /// Replaces the last report whole.
    virtual void publishReport(OptimizationReport report) = 0;
    virtual void publishDetectedGames(const QList<RunningAppInfo> &games) = 0;
    virtual void publishGameModeEnabled(bool enabled) = 0;
    virtual void publishAntiShutEnabled(bool enabled) = 0;
    virtual void publishFocusModeEnabled(bool enabled) = 0;
    virtual void publishMetalHUDEnabled(bool enabled) = 0;
    virtual void publishCurrentDNS(const QStringList &servers) = 0;
    virtual void publishOriginalResolution(std::optional<QSize> size) = 0;

protected:
    OptimizerPublisher() = default;
    OptimizerPublisher(const OptimizerPublisher &) = default;
    OptimizerPublisher &operator=(const OptimizerPublisher &) = default;
};
