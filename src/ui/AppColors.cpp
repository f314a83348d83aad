#include "AppColors.h"

#include <QTextBoundaryFinder>

#include <limits>

namespace {

QColor whiteAt(double opacity)
{
    return QColor::fromRgbF(1.0F, 1.0F, 1.0F, float(opacity));
}

qsizetype characterCount(const QString &text)
{
    // Counted as a reader sees characters (grapheme clusters), not UTF-16 code units.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() > 0) {
        ++count;
    }
    return count;
}

int hexDigit(QChar character)
{
    const char16_t c = character.toLower().unicode();
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    if (c >= u'a' && c <= u'f') {
        return c - u'a' + 10;
    }
    return -1;
}

// Reads the leading hexadecimal digits after an optional "0x", as a scanner would: no digits
// give 0, and a value too large for 64 bits saturates.
quint64 scanHex(QStringView text)
{
    if (text.size() > 2 && text.startsWith(u"0x", Qt::CaseInsensitive) && hexDigit(text[2]) >= 0) {
        text = text.sliced(2);
    }
    quint64 value = 0;
    for (const QChar character : text) {
        const int digit = hexDigit(character);
        if (digit < 0) {
            break;
        }
        if (value > (std::numeric_limits<quint64>::max() >> 4)) {
            return std::numeric_limits<quint64>::max();
        }
        value = (value << 4) | quint64(digit);
    }
    return value;
}

} // namespace

QColor AppColors::fromHex(QStringView text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && !text[begin].isLetterOrNumber()) {
        ++begin;
    }
    while (end > begin && !text[end - 1].isLetterOrNumber()) {
        --end;
    }
    const QStringView trimmed = text.sliced(begin, end - begin);
    const quint64 value = scanHex(trimmed);

    quint64 a = 255;
    quint64 r = 0;
    quint64 g = 0;
    quint64 b = 0;
    switch (characterCount(trimmed.toString())) {
    case 3:
        r = (value >> 8) * 17;
        g = (value >> 4 & 0xF) * 17;
        b = (value & 0xF) * 17;
        break;
    case 6:
        r = value >> 16;
        g = value >> 8 & 0xFF;
        b = value & 0xFF;
        break;
    case 8:
        a = value >> 24;
        r = value >> 16 & 0xFF;
        g = value >> 8 & 0xFF;
        b = value & 0xFF;
        break;
    default:
        break;
    }
    // Each length above keeps every channel within 0…255; the clamp only guards the conversion.
    const auto channel = [](quint64 v) { return int(std::min<quint64>(v, 255)); };
    return QColor::fromRgb(channel(r), channel(g), channel(b), channel(a));
}

QColor AppColors::deepNavy()
{
    static const QColor color = fromHex(u"0a0a1a");
    return color;
}

QColor AppColors::midNavy()
{
    static const QColor color = fromHex(u"151530");
    return color;
}

QColor AppColors::cyan()
{
    static const QColor color = fromHex(u"00D4FF");
    return color;
}

QColor AppColors::purple()
{
    static const QColor color = fromHex(u"7B2FFF");
    return color;
}

QColor AppColors::neonGreen()
{
    static const QColor color = fromHex(u"00FF88");
    return color;
}

QColor AppColors::systemOrange()
{
    static const QColor color = fromHex(u"FF9F0A");
    return color;
}

QColor AppColors::systemRed()
{
    static const QColor color = fromHex(u"FF453A");
    return color;
}

QColor AppColors::textPrimary()
{
    return whiteAt(0.95);
}

QColor AppColors::textSecondary()
{
    return whiteAt(0.7);
}

QColor AppColors::textTertiary()
{
    return whiteAt(0.5);
}

QColor AppColors::glassPanelBackground()
{
    return whiteAt(0.05);
}

QColor AppColors::glassPanelBorder()
{
    return whiteAt(0.1);
}

QColor AppColors::glassButtonBackground()
{
    return whiteAt(0.1);
}

QColor AppColors::glassButtonBorder()
{
    return whiteAt(0.2);
}

QColor AppColors::ultraThinMaterial()
{
    static const QColor color = QColor::fromRgbF(0.08F, 0.08F, 0.17F, 0.45F);
    return color;
}
