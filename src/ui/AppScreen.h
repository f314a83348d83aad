#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// The screens of the tab bar, in their order, with their titles.
class AppScreen : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    /// Every case, in declaration order.
    Q_PROPERTY(QList<int> allCases READ allCaseValues CONSTANT)

public:
    enum Value {
        Dashboard,
        Optimizers,
        Cleaner,
        Settings,
    };
    Q_ENUM(Value)

    using QObject::QObject;

    [[nodiscard]] static QList<Value> allCases();
    /// The raw value, which is also the tab's title.
    [[nodiscard]] static QString rawValue(Value screen);
    /// Accepts exactly the four raw values.
    [[nodiscard]] static std::optional<Value> fromRawValue(QStringView raw);

    Q_INVOKABLE [[nodiscard]] QString title(int screen) const;

private:
    [[nodiscard]] static QList<int> allCaseValues();
};
