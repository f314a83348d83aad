#include "OptimizerFormat.h"

#include "AppColors.h"

QString OptimizerFormat::boostMessage(bool success, const QStringList &actions)
{
    if (!success) {
        return QStringLiteral("Boost failed");
    }
    return actions.isEmpty() ? QStringLiteral("System already optimized")
                             : actions.join(QStringLiteral(", "));
}

bool OptimizerFormat::readsAsFailure(const QString &message)
{
    return message.contains(QStringLiteral("failed"));
}

QColor OptimizerFormat::statusColor(bool success)
{
    return success ? AppColors::neonGreen() : AppColors::systemRed();
}

QStringList OptimizerFormat::reportRows(const QStringList &actions)
{
    return actions.mid(0, maximumReportRows);
}

QString OptimizerFormat::reclaimedText(const QVariant &gigabytes)
{
    if (!gigabytes.isValid()) {
        return {};
    }
    return QString::asprintf("RAM reclaimed: %.2f GB", gigabytes.toDouble());
}

QString OptimizerFormat::providerText(const QVariant &name)
{
    return name.isValid() ? QStringLiteral("DNS provider: ") + name.toString() : QString();
}

QString OptimizerFormat::latencyText(const QVariant &before, const QVariant &after)
{
    if (!before.isValid() || !after.isValid()) {
        return {};
    }
    return QString::asprintf("Latency: %.1f ms -> %.1f ms", before.toDouble(), after.toDouble());
}

QColor OptimizerFormat::latencyColor(const QVariant &before, const QVariant &after)
{
    return after.toDouble() <= before.toDouble() ? AppColors::neonGreen()
                                                 : AppColors::systemOrange();
}

QStringList OptimizerFormat::sortedProviders(QStringList names)
{
    names.sort();
    return names;
}

QVariantList OptimizerFormat::gameChoices(const QList<RunningAppInfo> &games)
{
    QVariantList choices{QVariantMap{{QStringLiteral("text"), QStringLiteral("Auto Detect")},
                                     {QStringLiteral("value"), 0}}};
    for (const RunningAppInfo &game : games) {
        choices.append(
            QVariantMap{{QStringLiteral("text"), game.name}, {QStringLiteral("value"), game.id}});
    }
    return choices;
}
