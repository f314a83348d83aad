// A plain native Wayland window standing for a game: its app_id is the first argument.
#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>

namespace {

class PlainWindow : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(QRect(QPoint(), size()), Qt::darkGreen);
    }
};

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    if (argc > 1) {
        QGuiApplication::setDesktopFileName(QString::fromLocal8Bit(argv[1]));
    }
    PlainWindow window;
    window.resize(320, 240);
    window.show();
    return QGuiApplication::exec();
}
