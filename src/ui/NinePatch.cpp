#include "NinePatch.h"

#include <cstring>

namespace {

/// True when every pixel of `row` from `first` to `last` (exclusive) is that at `first`.
bool runIsUniform(const QRgb *row, int first, int last)
{
    for (int x = first + 1; x < last; ++x) {
        if (row[x] != row[first]) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<NinePatch> NinePatch::split(const QImage &source, int corner)
{
    const int width = source.width();
    const int height = source.height();
    if (corner < 0 || width < 2 * corner + 1 || height < 2 * corner + 1) {
        return std::nullopt;
    }
    const QImage picture = source.format() == QImage::Format_ARGB32_Premultiplied
                               ? source
                               : source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int middleEnd = width - corner;
    const auto *reference = reinterpret_cast<const QRgb *>(picture.constScanLine(corner));
    const size_t rowBytes = size_t(width) * sizeof(QRgb);
    for (int y = 0; y < height; ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        if (!runIsUniform(row, corner, middleEnd)) {
            return std::nullopt;
        }
        const bool middleRow = y > corner && y < height - corner; // row `corner` is the reference
        if (middleRow && std::memcmp(row, reference, rowBytes) != 0) {
            return std::nullopt;
        }
    }

    NinePatch patch;
    patch.m_size = picture.size();
    patch.m_corner = corner;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            QRect from = patch.target(column, row);
            // The middle pieces are one pixel across, stretched when drawn.
            if (column == 1) {
                from.setWidth(1);
            }
            if (row == 1) {
                from.setHeight(1);
            }
            patch.m_pieces[size_t(row * 3 + column)] = picture.copy(from);
        }
    }
    return patch;
}

QRect NinePatch::target(int column, int row) const
{
    const auto span = [this](int index, int length) {
        switch (index) {
        case 0:
            return std::pair{0, m_corner};
        case 1:
            return std::pair{m_corner, length - 2 * m_corner};
        default:
            return std::pair{length - m_corner, m_corner};
        }
    };
    const auto [x, w] = span(column, m_size.width());
    const auto [y, h] = span(row, m_size.height());
    return {x, y, w, h};
}

qsizetype NinePatch::byteCount() const
{
    qsizetype bytes = 0;
    for (const QImage &piece : m_pieces) {
        bytes += piece.sizeInBytes();
    }
    return bytes;
}
