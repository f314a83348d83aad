#pragma once

#include <QImage>
#include <QRect>

#include <array>
#include <optional>

/// A picture whose middle is stretched, kept as nine pieces: the four corners as they are, the
/// four edges one pixel long and the middle one pixel. A rounded panel's backdrop, which only
/// varies near its corners and along its edges, costs a few kilobytes this way instead of its
/// whole area, and drawing the pieces in their places gives back the same pixels.
class NinePatch {
public:
    /// The pieces of `picture` with corners of `corner` pixels, or nothing when the picture is
    /// too small for them or its rows (columns) between the corners are not all alike, so that
    /// stretching the pieces would not give it back exactly.
    [[nodiscard]] static std::optional<NinePatch> split(const QImage &picture, int corner);

    /// The piece in `column` and `row`, each 0 (top, leading), 1 (middle) or 2.
    [[nodiscard]] const QImage &piece(int column, int row) const
    {
        return m_pieces[size_t(row * 3 + column)];
    }
    /// Where that piece goes in the whole picture, in its pixels.
    [[nodiscard]] QRect target(int column, int row) const;
    /// The size of the whole picture.
    [[nodiscard]] QSize size() const { return m_size; }
    /// The bytes all nine pieces take.
    [[nodiscard]] qsizetype byteCount() const;

private:
    std::array<QImage, 9> m_pieces;
    QSize m_size;
    int m_corner = 0;
};
