#pragma once

#include <QImage>

/// A close approximation of a Gaussian blur, in place: three passes of a box filter across and
/// three down. Cheap enough to run whenever a picture changes, which a true Gaussian is not.
class GaussianBlur {
public:
    /// Blurs premultiplied ARGB32 or 8-bit alpha pixels. `radius` is a blur radius in pixels as
    /// design tools give it, read as a standard deviation of half of it; pixels outside the image
    /// count as transparent. Other formats, and radii too small to blur, are left as they are;
    /// radii beyond `maxBoxRadius` box widths blur as that.
    static void apply(QImage &image, qreal radius);

    /// The widest box pass: its mean is exact in 32-bit arithmetic.
    static constexpr int maxBoxRadius = 127;

    /// The half-width of each box pass for a blur radius: the blur reaches three times as far.
    [[nodiscard]] static int boxRadius(qreal radius);
};
