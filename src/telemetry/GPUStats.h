#pragma once

#include <QMetaType>
#include <QString>

/// The graphics record the dashboard and the reports show.
struct GPUStats {
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name CONSTANT)
    Q_PROPERTY(int utilization MEMBER utilization CONSTANT)

public:
    QString name;
    int utilization = 0; ///< percent

    friend bool operator==(const GPUStats &, const GPUStats &) = default;
};
