#include "WlrRandrQuery.h"

#include <QList>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace platform {

std::optional<WaylandOutput> WlrRandrQuery::mainOutput(const QByteArray &text)
{
    // An output starts on a line of its own at the margin: its name, then its description in
    // quotes. Its properties are indented; mode lines are indented further, under "Modes:".
    static const QRegularExpression modeLine(
        QStringLiteral(R"(^\s+(\d+)x(\d+) px, ([0-9.]+) Hz(?: \(([^)]*)\))?\s*$)"));
    QList<WaylandOutput> outputs;
    QList<bool> enabled;
    for (const QByteArray &rawLine : text.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).remove(u'\r');
        if (line.trimmed().isEmpty()) {
            continue;
        }
        if (!line.front().isSpace()) {
            WaylandOutput output;
            output.name = line.section(u' ', 0, 0);
            outputs.append(output);
            enabled.append(true);
            continue;
        }
        if (outputs.isEmpty()) {
            continue;
        }
        const QString property = line.trimmed();
        if (property.startsWith(u"Enabled:")) {
            enabled.last() = property.mid(8).trimmed() == u"yes";
            continue;
        }
        const QRegularExpressionMatch match = modeLine.match(line);
        if (!match.hasMatch()) {
            continue;
        }
        WaylandOutputMode mode;
        mode.size = QSize(match.captured(1).toInt(), match.captured(2).toInt());
        mode.refreshRate = match.captured(3).toDouble();
        if (mode.size.isEmpty()) {
            continue;
        }
        outputs.last().modes.append(mode);
        const QStringList flags = match.captured(4).split(u',');
        if (std::any_of(flags.cbegin(), flags.cend(),
                        [](const QString &flag) { return flag.trimmed() == u"current"; })) {
            outputs.last().current = mode;
        }
    }
    for (qsizetype i = 0; i < outputs.size(); ++i) {
        if (enabled.at(i) && outputs.at(i).current) {
            return outputs.at(i);
        }
    }
    return std::nullopt;
}

} // namespace platform
