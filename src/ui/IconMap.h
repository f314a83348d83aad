#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <span>

/// The one table from the symbol names the screens use to glyphs of the icon font the program
/// ships (Google's Material Icons, Apache License 2.0). Nothing is hand-drawn.
class IconMap : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    /// The family to draw glyph() with; empty if the embedded font could not be loaded.
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)

public:
    struct Entry {
        const char16_t *symbol;       ///< the name the screens use
        const char16_t *materialName; ///< the icon's name in the font's own list
        char16_t codepoint;
    };

    using QObject::QObject;

    [[nodiscard]] static std::span<const Entry> entries();
    [[nodiscard]] static QString fontFamily();
    /// The text that draws the symbol in fontFamily(), or an empty string for an unknown symbol.
    Q_INVOKABLE [[nodiscard]] static QString glyph(const QString &symbol);

    static constexpr QStringView fontResource = u":/kestrelvanta/fonts/MaterialIcons-Regular.ttf";
};
