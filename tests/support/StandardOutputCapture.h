#pragma once

#include <QByteArray>
#include <QTemporaryFile>

/// Sends the process's standard output to a temporary file until stop(), which gives back what
/// was written meanwhile: the diagnostic lines a model prints have no other way out.
class StandardOutputCapture {
public:
    StandardOutputCapture();
    ~StandardOutputCapture();
    StandardOutputCapture(const StandardOutputCapture &) = delete;
    StandardOutputCapture &operator=(const StandardOutputCapture &) = delete;

    /// Puts standard output back and returns what was captured (once; later calls give nothing).
    QByteArray stop();

private:
    QTemporaryFile m_file;
    int m_saved = -1;
};
