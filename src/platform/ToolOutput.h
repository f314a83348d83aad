#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// The one way a tool's printed bytes become something to read. Output that is not valid UTF-8
/// counts as no output at all, whatever the tool's exit status: a reader judges only the text.
class ToolOutput {
public:
    /// The text, or nothing when the bytes are not valid UTF-8.
    [[nodiscard]] static std::optional<QString> text(QByteArrayView bytes);

    /// The bytes themselves when they are valid UTF-8, else none: for readers that parse bytes.
    [[nodiscard]] static QByteArray bytes(const QByteArray &bytes);
};

} // namespace platform
