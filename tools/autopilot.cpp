// vrel_autopilot: runs a whole calibration of the simulated cell through
// the utility's own window; see autopilot_run.h and `vrel_autopilot --help`.
#include "autopilot_run.h"
#include "startup.h"

#include <QApplication>
#include <QTextStream>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace
{

bool run_finished = false;

// The window ends the process with exit(0) when it cannot join the host at
// start-up; for the autopilot that is a failure, not a success.
void refuse_silent_exit()
{
    if (!run_finished) {
        std::fputs("vrel_autopilot: FAILED: the utility's window ended the program during start-up "
                   "(see the host log under ORVANE_ROOT/orvane/log)\n",
                   stderr);
        std::fflush(stdout);
        _exit(1);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // As in the utility: the C locale for the files, the form's font.
    prepare_application();

    QTextStream out(stdout);
    QTextStream err(stderr);
    AutopilotOptions options;
    QString error;
    if (!parse_autopilot_options(app.arguments().mid(1), options, error)) {
        err << "vrel_autopilot: " << error << "\n\n" << autopilot_usage();
        return 2;
    }
    if (options.help) {
        out << autopilot_usage();
        return 0;
    }

    std::atexit(refuse_silent_exit);
    int status = 1;
    Autopilot autopilot(options, out, err);
    QTimer::singleShot(0, &app, [&] {
        status = autopilot.run();
        app.exit(status);
    });
    app.exec();
    out.flush();
    err.flush();
    run_finished = true;
    return status;
}
