// vrel_util: the calibration utility.  "-d" as the first argument is debug
// mode; a display is required.
#include "functions.h"
#include "mainwindow.h"
#include "startup.h"
#include "vrel_cfg.h"

#include <orvane/shm.h>

#include <QApplication>

#include <sys/mman.h>

int main(int argc, char *argv[])
{
    if (is_display_env_var_empty(argv[0]))
        return 1;
    QApplication app(argc, argv);
    prepare_application();
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
