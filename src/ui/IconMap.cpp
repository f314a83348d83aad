#include "IconMap.h"

#include <QFontDatabase>
#include <QResource>

#include <array>

namespace {

constexpr std::array table{
    IconMap::Entry{u"antenna.radiowaves.left.and.right", u"cell_tower", 0xebba},
    IconMap::Entry{u"archivebox", u"archive", 0xe149},
    IconMap::Entry{u"arrow.clockwise", u"refresh", 0xe5d5},
    IconMap::Entry{u"arrow.down", u"arrow_downward", 0xe5db},
    IconMap::Entry{u"arrow.up", u"arrow_upward", 0xe5d8},
    IconMap::Entry{u"battery.100", u"battery_full", 0xe1a4},
    IconMap::Entry{u"battery.25", u"battery_2_bar", 0xebe0},
    IconMap::Entry{u"battery.50", u"battery_3_bar", 0xebdd},
    IconMap::Entry{u"battery.75", u"battery_5_bar", 0xebd4},
    IconMap::Entry{u"bolt.fill", u"bolt", 0xea0b},
    IconMap::Entry{u"building.2", u"business", 0xe0af},
    IconMap::Entry{u"cable.connector", u"cable", 0xefe6},
    IconMap::Entry{u"calendar", u"calendar_today", 0xe935},
    IconMap::Entry{u"chart.bar", u"bar_chart", 0xe26b},
    IconMap::Entry{u"chart.bar.xaxis", u"insert_chart_outlined", 0xe26a},
    IconMap::Entry{u"checkmark.circle.fill", u"check_circle", 0xe86c},
    IconMap::Entry{u"chevron.down", u"expand_more", 0xe5cf},
    IconMap::Entry{u"circle", u"radio_button_unchecked", 0xe836},
    IconMap::Entry{u"clock", u"schedule", 0xe8b5},
    IconMap::Entry{u"cpu", u"developer_board", 0xe30d},
    IconMap::Entry{u"cup.and.saucer.fill", u"local_cafe", 0xe541},
    IconMap::Entry{u"folder", u"folder", 0xe2c7},
    IconMap::Entry{u"gamecontroller.fill", u"sports_esports", 0xea28},
    IconMap::Entry{u"gearshape", u"settings", 0xe8b8},
    IconMap::Entry{u"globe", u"public", 0xe80b},
    IconMap::Entry{u"info.circle", u"info_outline", 0xe88f},
    IconMap::Entry{u"keyboard", u"keyboard", 0xe312},
    IconMap::Entry{u"keyboard.badge.ellipsis", u"keyboard_hide", 0xe31a},
    IconMap::Entry{u"lightbulb.fill", u"lightbulb", 0xe0f0},
    IconMap::Entry{u"lock.fill", u"lock", 0xe897},
    IconMap::Entry{u"magnifyingglass", u"search", 0xe8b6},
    IconMap::Entry{u"memorychip", u"memory", 0xe322},
    IconMap::Entry{u"moon.fill", u"dark_mode", 0xe51c},
    IconMap::Entry{u"network", u"lan", 0xeb2f},
    IconMap::Entry{u"speedometer", u"speed", 0xe9e4},
    IconMap::Entry{u"trash", u"delete", 0xe872},
    IconMap::Entry{u"wand.and.stars", u"auto_fix_high", 0xe663},
    IconMap::Entry{u"wifi", u"wifi", 0xe63e},
    IconMap::Entry{u"wifi.slash", u"wifi_off", 0xe648},
    IconMap::Entry{u"wrench.and.screwdriver", u"build", 0xe869},
};

} // namespace

std::span<const IconMap::Entry> IconMap::entries()
{
    return table;
}

QString IconMap::fontFamily()
{
    static const QString family = [] {
        // Stored uncompressed in the program, the font is read by FreeType where it lies: no copy
        // of it on the heap, and only the pages of the glyphs drawn become resident.
        const QResource resource(fontResource.toString());
        const QByteArray data =
            resource.compressionAlgorithm() == QResource::NoCompression
                ? QByteArray::fromRawData(reinterpret_cast<const char *>(resource.data()),
                                          qsizetype(resource.size()))
                : resource.uncompressedData();
        const int id = QFontDatabase::addApplicationFontFromData(data);
        const QStringList families = QFontDatabase::applicationFontFamilies(id);
        return families.isEmpty() ? QString() : families.first();
    }();
    return family;
}

QString IconMap::glyph(const QString &symbol)
{
    for (const Entry &entry : table) {
        if (symbol == QStringView(entry.symbol)) {
            return QString(QChar(entry.codepoint));
        }
    }
    return {};
}
