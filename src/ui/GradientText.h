#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

/// One line of text filled with a linear gradient from its top-leading to its bottom-trailing
/// corner. Painted once into a texture when the text, font or colours change; no shader is
/// involved, so it renders the same under every scene graph backend.
class GradientText : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(QFont font READ font WRITE setFont NOTIFY fontChanged)
    Q_PROPERTY(QList<QColor> colors READ colors WRITE setColors NOTIFY colorsChanged)

public:
    explicit GradientText(QQuickItem *parent = nullptr);

    [[nodiscard]] QString text() const { return m_text; }
    void setText(const QString &text);
    [[nodiscard]] QFont font() const { return m_font; }
    void setFont(const QFont &font);
    [[nodiscard]] QList<QColor> colors() const { return m_colors; }
    void setColors(const QList<QColor> &colors);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void textChanged();
    void fontChanged();
    void colorsChanged();

private:
    void relayout();

    QString m_text;
    QFont m_font;
    QList<QColor> m_colors;
};
