// screenshot FILE.png: saves the whole X screen as a PNG, for the demo and
// for documentation on machines without a desktop.
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <cstdio>

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: screenshot FILE.png\n");
        return 2;
    }
    QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen || !screen->grabWindow(0).save(QString::fromLocal8Bit(argv[1]), "PNG")) {
        std::fprintf(stderr, "screenshot: cannot grab the screen into %s\n", argv[1]);
        return 1;
    }
    return 0;
}
