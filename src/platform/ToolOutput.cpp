#include "ToolOutput.h"

#include <QStringDecoder>

namespace platform {

std::optional<QString> ToolOutput::text(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return decoded;
}

QByteArray ToolOutput::bytes(const QByteArray &bytes)
{
    return text(bytes) ? bytes : QByteArray();
}

} // namespace platform
