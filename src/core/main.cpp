// vrel_util: the calibration utility.  "-d" as the first argument is debug
// mode; a display is required.
#include "functions.h"
#include "mainwindow.h"
#include "startup.h"
#include "vrel_cfg.h"

#include <orvane/shm.h>

#include <QApplication>

#include <clocale>
#include <sys/mman.h>

int main(int argc, char *argv[])
{
    if (is_display_env_var_empty(argv[0]))
        return 1;
    QApplication app(argc, argv);
    // Qt has just set the C library's locale from the environment; the
    // files this program writes and the host reads are in the C locale.
    std::setlocale(LC_NUMERIC, "C");
    std::setlocale(LC_TIME, "C");
    // The application's font is the form's, 11 points: widgets that carry a
    // style sheet take their font from the application, not from the form.
    QFont font = QApplication::font();
    font.setPointSize(11);
    QApplication::setFont(font);
    install_sigterm_exit();
    touch_screen = touch_screen_marker_present();
    debug_mode = parse_debug_flag(argc, argv);
    if (join_layer(3) == 5000)
        exit_auth_failure();
    munlockall();
    MainWindow window;
    the_main_window = &window;
    window.show();
    return app.exec();
}
