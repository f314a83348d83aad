#include "XrandrQuery.h"

#include <QRegularExpression>

namespace platform {

std::optional<XrandrQuery::Output> XrandrQuery::mainOutput(const QByteArray &text)
{
    // "HDMI-1 connected primary 1920x1080+0+0 (normal left …) 527mm x 296mm"; the size is the
    // output's area on the screen, so a monitor turned left or right shows its mode's width and
    // height swapped, and the turn follows the position: "1080x1920+0+0 left (normal …".
    static const QRegularExpression line(
        QStringLiteral(
            R"(^(\S+) connected( primary)? (\d+)x(\d+)\+\d+\+\d+(?: (left|right|inverted)\b)?)"),
        QRegularExpression::MultilineOption);
    std::optional<Output> first;
    QRegularExpressionMatchIterator it = line.globalMatch(QString::fromUtf8(text));
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        bool widthOk = false;
        bool heightOk = false;
        Output output{match.captured(1),
                      QSize(match.captured(3).toInt(&widthOk), match.captured(4).toInt(&heightOk))};
        // A mode of no area is not one the output can show.
        if (!widthOk || !heightOk || output.size.isEmpty()) {
            continue;
        }
        // Modes are named in the monitor's own orientation: that is what is set and compared.
        const QString turn = match.captured(5);
        if (turn == u"left" || turn == u"right") {
            output.size.transpose();
        }
        if (!match.captured(2).isEmpty()) {
            return output;
        }
        if (!first) {
            first = output;
        }
    }
    return first;
}

} // namespace platform
