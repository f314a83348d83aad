#include "IconMap.h"

#include <QFontDatabase>

#include <array>

namespace {

constexpr std::array table{
    IconMap::Entry{u"antenna.radiowaves.left.and.right", u"cell_tower", 0xebba},
    IconMap::Entry{u"arrow.down", u"arrow_downward", 0xe5db},
    IconMap::Entry{u"arrow.up", u"arrow_upward", 0xe5d8},
    IconMap::Entry{u"building.2", u"business", 0xe0af},
    IconMap::Entry{u"cable.connector", u"cable", 0xefe6},
    IconMap::Entry{u"checkmark.circle.fill", u"check_circle", 0xe86c},
    IconMap::Entry{u"circle", u"radio_button_unchecked", 0xe836},
    IconMap::Entry{u"gamecontroller.fill", u"sports_esports", 0xea28},
    IconMap::Entry{u"gearshape", u"settings", 0xe8b8},
    IconMap::Entry{u"info.circle", u"info_outline", 0xe88f},
    IconMap::Entry{u"speedometer", u"speed", 0xe9e4},
    IconMap::Entry{u"wifi", u"wifi", 0xe63e},
    IconMap::Entry{u"wifi.slash", u"wifi_off", 0xe648},
};

} // namespace

std::span<const IconMap::Entry> IconMap::entries()
{
    return table;
}

QString IconMap::fontFamily()
{
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(fontResource.toString());
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
