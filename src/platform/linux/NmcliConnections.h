#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace platform {

/// Reads nmcli's terse listing of active connections ("-t -f UUID,TYPE,DEVICE").
class NmcliConnections {
public:
    /// One line's fields, with nmcli's "\:" and "\\" escapes undone.
    [[nodiscard]] static QStringList fields(const QString &line);
    /// The UUID of the first Wi-Fi or Ethernet connection, in the order nmcli lists them; empty
    /// when there is none.
    [[nodiscard]] static QString firstWiredOrWireless(const QByteArray &output);
};

} // namespace platform
