// Start-up of the utility, two ways.
//
// 1. The program as a process: vrel_util is started against a simulated
//    cell; once it has installed its SIGTERM handler (the SigCgt mask of
//    /proc/<pid>/status) it is sent SIGTERM, which it acts on only when
//    its event loop runs, that is after the main window has been built and
//    shown.  The time from the start to its exit is the time to the shown
//    window, plus the exit.  It needs no flag in the program.
// 2. In this process: the MainWindow built, shown and exposed
//    (QTest::qWaitForWindowExposed), the libraries already loaded.
//
// Also prints the resident memory of the started program at its window.
// Runs against a simulated cell of its own (orvane-sim and vrel_util
// beside this program).  Usage: bench_startup [runs]   (default 11)
#include "mainwindow.h"
#include "simcell.h"
#include "vrel_cfg.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QtTest>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

// True once the process has a handler for SIGTERM.
bool catches_sigterm(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("SigCgt:"))
            return (line.mid(7).trimmed().toULongLong(nullptr, 16) >> (SIGTERM - 1)) & 1;
    return false;
}

// A "Vm...:" figure of /proc/<pid>/status, in kB.
long status_kb(qint64 pid, const char *field)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(int(std::strlen(field))).trimmed().split(' ').value(0).toLong();
    return -1;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("DISPLAY", ":99"); // the offscreen platform never opens it
    QApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 11;

    SimCell cell;
    if (!cell.start({"--tick", "50"})) {
        std::fprintf(stderr, "bench_startup: no cell: %s\n", qPrintable(cell.lastOutput()));
        return 1;
    }

    std::vector<double> to_window, to_handler;
    long rss_kb = -1, hwm_kb = -1;
    for (int run = 0; run <= runs; ++run) { // run 0 warms the page cache
        QProcess program;
        QElapsedTimer clock;
        clock.start();
        program.start(SimCell::program(QStringLiteral("vrel_util")), QStringList());
        if (!program.waitForStarted(10000)) {
            std::fprintf(stderr, "bench_startup: vrel_util does not start\n");
            return 1;
        }
        const qint64 pid = program.processId();
        while (!catches_sigterm(pid) && clock.elapsed() < 20000)
            QThread::usleep(200);
        const double handler_ms = clock.nsecsElapsed() / 1e6;
        ::kill(pid_t(pid), SIGTERM);
        if (!program.waitForFinished(20000) || program.exitCode() != 0) {
            std::fprintf(stderr, "bench_startup: vrel_util did not end cleanly: %s\n",
                         program.readAllStandardError().constData());
            return 1;
        }
        if (run > 0) {
            to_window.push_back(clock.nsecsElapsed() / 1e6);
            to_handler.push_back(handler_ms);
        }
    }
    // Memory: the program left running at its window.
    {
        QProcess program;
        program.start(SimCell::program(QStringLiteral("vrel_util")), QStringList());
        program.waitForStarted(10000);
        QElapsedTimer clock;
        clock.start();
        while (!catches_sigterm(program.processId()) && clock.elapsed() < 20000)
            QThread::usleep(200);
        QTest::qWait(1000); // the window is up and idle
        rss_kb = status_kb(program.processId(), "VmRSS:");
        hwm_kb = status_kb(program.processId(), "VmHWM:");
        ::kill(pid_t(program.processId()), SIGTERM);
        program.waitForFinished(20000);
    }

    std::vector<double> in_process;
    for (int run = 0; run <= runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        auto window = std::make_unique<MainWindow>();
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get())) {
            std::fprintf(stderr, "bench_startup: the window was not exposed\n");
            return 1;
        }
        if (run > 0)
            in_process.push_back(clock.nsecsElapsed() / 1e6);
    }

    std::printf("vrel_util process, start to SIGTERM handler: median %.1f ms\n", median(to_handler));
    std::printf("vrel_util process, start to shown window and exit: median %.1f ms (fastest %.1f, slowest %.1f, %d runs)\n",
                median(to_window), *std::min_element(to_window.begin(), to_window.end()),
                *std::max_element(to_window.begin(), to_window.end()), runs);
    std::printf("MainWindow built, shown and exposed in this process: median %.1f ms\n", median(in_process));
    std::printf("vrel_util at its window, no channel: VmRSS %ld kB, VmHWM %ld kB\n", rss_kb, hwm_kb);
    return 0;
}
