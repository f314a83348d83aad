#pragma once

#include "platform/PeripheralBattery.h"

#include <QList>
#include <QStringView>

namespace platform {

/// Reads the accessory batteries out of the text of macOS's `pmset -g accps`. Pure text work,
/// kept for the macOS backend and built everywhere so that its rules stay tested.
class PmsetParser {
public:
    /// The accessories in the order of their lines.
    [[nodiscard]] static QList<PeripheralBattery> parseAccessories(QStringView output);
};

} // namespace platform
