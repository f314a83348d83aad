#include "DiagnosticLine.h"

#include <cstdio>

void DiagnosticLine::print(const QString &line)
{
    std::fputs(qPrintable(line + u'\n'), stdout);
    std::fflush(stdout);
}
