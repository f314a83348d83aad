#pragma once

#include <QString>

/// Numbers as printf's "%.Nf" writes them, with a "." decimal point whatever the locale.
class DecimalFormat {
public:
    /// Correctly rounded, exact halves to even (7.25 → "7.2"), "nan" and "inf" spelled as
    /// printf spells them.
    [[nodiscard]] static QString fixed(double value, int decimals);
};
