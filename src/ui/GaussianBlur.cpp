#include "GaussianBlur.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// A box filter's mean of `window` values, rounded, by a multiplication rather than a division.
class BoxMean {
public:
    explicit BoxMean(int window)
        : m_factor(((std::uint64_t(1) << 32) + std::uint64_t(window) / 2) / std::uint64_t(window))
    {
    }
    [[nodiscard]] uchar operator()(std::uint32_t sum) const
    {
        return uchar((sum * m_factor + (std::uint64_t(1) << 31)) >> 32);
    }

private:
    std::uint64_t m_factor;
};

// One pass across every row; each pixel is `Channels` bytes, each byte blurred on its own.
template <int Channels>
void blurRows(QImage &image, int radius)
{
    const int width = image.width();
    const BoxMean mean(2 * radius + 1);
    std::vector<uchar> source(size_t(width) * Channels);
    for (int y = 0; y < image.height(); ++y) {
        uchar *row = image.scanLine(y);
        std::memcpy(source.data(), row, source.size());
        std::uint32_t sum[Channels] = {};
        for (int x = 0; x <= radius && x < width; ++x) {
            for (int c = 0; c < Channels; ++c) {
                sum[c] += source[size_t(x) * Channels + c];
            }
        }
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < Channels; ++c) {
                row[size_t(x) * Channels + c] = mean(sum[c]);
            }
            if (const int entering = x + radius + 1; entering < width) {
                for (int c = 0; c < Channels; ++c) {
                    sum[c] += source[size_t(entering) * Channels + c];
                }
            }
            if (const int leaving = x - radius; leaving >= 0) {
                for (int c = 0; c < Channels; ++c) {
                    sum[c] -= source[size_t(leaving) * Channels + c];
                }
            }
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
    const int box = boxRadius(radius);
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
