// orvane-refcontrol: the reference standard of the simulated cell, for
// training and demonstrations.  Runs against the cell named by ORVANE_CELL
// under ORVANE_ROOT, as orvane-sim does.
#include "refcontrolwindow.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

int main(int argc, char *argv[])
{
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::printf(
            "usage: orvane-refcontrol\n\n"
            "A window with one row per channel of the running simulated cell (ORVANE_CELL,\n"
            "ORVANE_ROOT): type the value the calibrator applies to a sensor and press Apply.\n");
        return 0;
    }
    QApplication app(argc, argv);
    RefControlWindow window;
    window.show();
    return app.exec();
}
