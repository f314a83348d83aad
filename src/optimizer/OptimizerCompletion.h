#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// How an optimizer action tells its caller it is done: a success flag and one line for the
/// screen.
using OptimizerCompletion = std::function<void(bool success, const QString &message)>;
/// The same for the actions that report every step they took, one line each.
using OptimizerActionsCompletion = std::function<void(bool success, const QStringList &actions)>;
