#pragma once

#include <QFont>
#include <QString>

#include <functional>

/// The icon font the report draws its symbols with, and the glyph of each symbol name. The
/// glyphs are drawn as outlines, so the page stays vector and its text holds no stray glyphs.
struct ReportIcons {
    /// The icon font, asked for when a symbol is first drawn: finding it reads the system's fonts,
    /// which the window's first frame need not wait for.
    std::function<QFont()> font;
    /// The text that draws a symbol in font; empty for a symbol the font lacks.
    std::function<QString(const QString &symbol)> glyph;
};
