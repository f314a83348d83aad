#pragma once

#include <QObject>

/// The two top-level layouts of the window.
namespace AppScreenState {
Q_NAMESPACE

enum Value {
    Setup,     ///< the first-run welcome screen
    Dashboard, ///< the tab bar with the selected screen
};
Q_ENUM_NS(Value)

} // namespace AppScreenState
