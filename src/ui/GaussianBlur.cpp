#include "GaussianBlur.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// A box filter's mean of `window` values, rounded, by a multiplication rather than a division.
// In 32 bits: 255 * window * (2^24 / window) stays below 2^32, and the factor's rounding error is
// too small to move a mean across .5 for windows up to 256 (they are odd, so no mean lies on .5).
class BoxMean {
public:
    explicit BoxMean(int window)
        : m_factor(std::uint32_t(((1U << 24) + std::uint32_t(window) / 2) / std::uint32_t(window)))
    {
    }
    [[nodiscard]] uchar operator()(std::uint32_t sum) const
    {
        return uchar((sum * m_factor + (1U << 23)) >> 24);
    }

private:
    std::uint32_t m_factor;
};

// One pass across every row; each pixel is `Channels` bytes, each byte blurred on its own. The
// window slides in three stretches (entering at the left edge, in the middle, leaving at the right
// edge) so that the middle, nearly all of a row, runs without a test per pixel.
template <int Channels>
void blurRows(QImage &image, int radius)
{
    const int width = image.width();
    const BoxMean mean(2 * radius + 1);
    std::vector<uchar> source(size_t(width) * Channels);
    // Where the window's entering pixel leaves the row, and where its leaving pixel enters it.
    const int enteringEnd = std::max(0, width - radius - 1);
    const int leavingStart = std::min(width, radius);
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::memcpy(source.data(), row, source.size());
        const uchar *in = source.data();
        std::uint32_t sum[Channels] = {};
        for (int x = 0; x <= radius && x < width; ++x) {
            for (int c = 0; c < Channels; ++c) {
                sum[c] += in[x * Channels + c];
            }
        }
        const auto step = [&](int x, bool enters, bool leaves) {
            for (int c = 0; c < Channels; ++c) {
                row[x * Channels + c] = mean(sum[c]);
                if (enters) {
                    sum[c] += in[(x + radius + 1) * Channels + c];
                }
                if (leaves) {
                    sum[c] -= in[(x - radius) * Channels + c];
                }
            }
        };
        int x = 0;
        for (; x < std::min(leavingStart, enteringEnd); ++x) {
            step(x, true, false);
        }
        for (; x < enteringEnd; ++x) {
            step(x, true, true);
        }
        for (; x < leavingStart; ++x) {
            step(x, false, false);
        }
        for (; x < width; ++x) {
            step(x, false, true);
        }
    }
}

// One pass down every column, a row at a time (which suits the memory), from a copy.
void blurColumns(QImage &image, int radius, int bytesPerPixel)
{
    const int height = image.height();
    const size_t rowBytes = size_t(image.width()) * size_t(bytesPerPixel);
    const BoxMean mean(2 * radius + 1);
    const QImage source = image.copy();
    std::vector<std::uint32_t> sum(rowBytes, 0);
    const auto add = [&](int y, int sign) {
        const uchar *row = source.constScanLine(y);
        for (size_t i = 0; i < rowBytes; ++i) {
            sum[i] += std::uint32_t(sign * row[i]);
        }
    };
    for (int y = 0; y <= radius && y < height; ++y) {
        add(y, 1);
    }
    for (int y = 0; y < height; ++y) {
        uchar *row = image.scanLine(y);
        for (size_t i = 0; i < rowBytes; ++i) {
            row[i] = mean(sum[i]);
        }
        if (y + radius + 1 < height) {
            add(y + radius + 1, 1);
        }
        if (y - radius >= 0) {
            add(y - radius, -1);
        }
    }
}

} // namespace

int GaussianBlur::boxRadius(qreal radius)
{
    // Three box passes of width w approximate a Gaussian of sigma = w * sqrt(3 / 12).
    const double sigma = radius / 2.0;
    return int(std::lround(sigma * std::sqrt(12.0 / 3.0) / 2.0));
}

void GaussianBlur::apply(QImage &image, qreal radius)
{
    const int box = std::min(boxRadius(radius), maxBoxRadius);
    const bool argb = image.format() == QImage::Format_ARGB32_Premultiplied;
    if (box < 1 || (!argb && image.format() != QImage::Format_Alpha8) || image.isNull()) {
        return;
    }
    for (int pass = 0; pass < 3; ++pass) {
        if (argb) {
            blurRows<4>(image, box);
        } else {
            blurRows<1>(image, box);
        }
        blurColumns(image, box, argb ? 4 : 1);
    }
}
