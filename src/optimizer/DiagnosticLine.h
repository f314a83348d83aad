#pragma once

#include <QString>

/// Diagnostics that have no place on screen: one line on standard output.
class DiagnosticLine {
public:
    static void print(const QString &line);
};
