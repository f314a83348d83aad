#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace platform {

/// What the connection watcher reports: whether there is a usable path to the network and which
/// kind of link carries it.
struct PathStatus {
    enum class Medium { Other, WiFi, Ethernet, Cellular };

    bool satisfied = false;
    Medium medium = Medium::Other;
    QString interfaceName; ///< the default route's interface; empty when there is none
    /// Where the default route's interface is a tunnel (a full-tunnel VPN), the interface that
    /// carries it, whose link the medium describes; empty otherwise.
    QString carrierName{};

    friend bool operator==(const PathStatus &, const PathStatus &) = default;
};

/// Watches the connection path. Built idle; after start() it reports the current path once and
/// then every change, from the thread it lives on.
class ConnectionPath : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~ConnectionPath() override = default;

    /// Starts watching; later calls do nothing. Call it on the thread the object lives on.
    virtual void start() = 0;

    /// The watcher of this system.
    [[nodiscard]] static std::unique_ptr<ConnectionPath> create();

Q_SIGNALS:
    void pathUpdated(const platform::PathStatus &status);
};

} // namespace platform

Q_DECLARE_METATYPE(platform::PathStatus)
