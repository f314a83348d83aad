#pragma once

#include <QColor>
#include <QObject>
#include <QStringView>
#include <QtQml/qqmlregistration.h>

/// The palette every screen draws with: dark navy, translucent white, cyan and purple accents.
class AppColors : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    Q_PROPERTY(QColor deepNavy READ deepNavy CONSTANT)
    Q_PROPERTY(QColor midNavy READ midNavy CONSTANT)
    Q_PROPERTY(QColor cyan READ cyan CONSTANT)
    Q_PROPERTY(QColor purple READ purple CONSTANT)
    Q_PROPERTY(QColor neonGreen READ neonGreen CONSTANT)
    /// The desktop's warning and error hues, as the dark appearance draws them.
    Q_PROPERTY(QColor systemOrange READ systemOrange CONSTANT)
    Q_PROPERTY(QColor systemRed READ systemRed CONSTANT)
    Q_PROPERTY(QColor textPrimary READ textPrimary CONSTANT)
    Q_PROPERTY(QColor textSecondary READ textSecondary CONSTANT)
    Q_PROPERTY(QColor textTertiary READ textTertiary CONSTANT)
    Q_PROPERTY(QColor glassPanelBackground READ glassPanelBackground CONSTANT)
    Q_PROPERTY(QColor glassPanelBorder READ glassPanelBorder CONSTANT)
    Q_PROPERTY(QColor glassButtonBackground READ glassButtonBackground CONSTANT)
    Q_PROPERTY(QColor glassButtonBorder READ glassButtonBorder CONSTANT)
    /// Stands in for the blurred translucent backdrop material of panels and bars: a live
    /// backdrop blur would cost a large share of a core on machines without a GPU.
    Q_PROPERTY(QColor ultraThinMaterial READ ultraThinMaterial CONSTANT)

public:
    using QObject::QObject;

    /// A colour from hexadecimal text: characters that are neither letters nor digits are
    /// trimmed from both ends; 8 digits are ARGB, 6 are RGB, 3 are one digit per channel (×17);
    /// any other length is opaque black. Text that does not scan as hexadecimal counts as 0.
    [[nodiscard]] static QColor fromHex(QStringView text);
    /// fromHex() for QML.
    Q_INVOKABLE [[nodiscard]] QColor hex(const QString &text) const { return fromHex(text); }

    static QColor deepNavy();
    static QColor midNavy();
    static QColor cyan();
    static QColor purple();
    static QColor neonGreen();
    static QColor systemOrange();
    static QColor systemRed();
    static QColor textPrimary();
    static QColor textSecondary();
    static QColor textTertiary();
    static QColor glassPanelBackground();
    static QColor glassPanelBorder();
    static QColor glassButtonBackground();
    static QColor glassButtonBorder();
    static QColor ultraThinMaterial();
};
