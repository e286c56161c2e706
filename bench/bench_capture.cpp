// A real capture at the cell's usual 50 ms tick: the worker thread's timer
// drives the average, as on a station.  An average of 5 s takes
// (1000 / 50) * 5 = 100 samples and ends one tick after the last, so 101
// ticks, about 5.05 s.  Prints the samples, the ticks and the wall time of
// each capture, and the resident memory of the process with the channel
// selected and the window shown.
//
// Runs against a simulated cell of its own (orvane-sim beside this
// program).  Usage: bench_capture [captures]   (default 3, at most 11)
#include "mainwindow.h"
#include "pointinfo.h"
#include "startup.h"
#include "station.h"
#include "vrel_cfg.h"
#include "worker.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr int kChannel = 0;
constexpr int kTickMs = 50;
constexpr int kSeconds = 5;

long status_kb(const char *field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(int(std::strlen(field))).trimmed().split(' ').value(0).toLong();
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int captures = argc > 1 ? std::clamp(std::atoi(argv[1]), 1, 11) : 3; // the channel has 11 points

    Station station;
    if (!station.open({"--tick", QString::number(kTickMs), "--no-noise"}) || !station.select(kChannel)) {
        std::fprintf(stderr, "bench_capture: no cell or no channel: %s\n", qPrintable(station.cell().lastOutput()));
        return 1;
    }
    station.window().show();
    if (!QTest::qWaitForWindowExposed(&station.window())) {
        std::fprintf(stderr, "bench_capture: the window was not exposed\n");
        return 1;
    }
    QTest::qWait(1000); // the first draws are over
    std::printf("with channel %d selected and the window shown: VmRSS %ld kB, VmHWM %ld kB\n", kChannel,
                status_kb("VmRSS:"), status_kb("VmHWM:"));

    averaging_count = averaging_count_for(kTickMs, kSeconds);
    Worker *worker = station.worker();
    for (int capture = 0; capture < captures; ++capture) {
        int ticks = 0; // every tick that reached the worker during the average
        const auto counter = QObject::connect(worker, &Worker::samplesTaken, [&ticks](int, int samples) {
            if (samples != 0) // 0 is the start itself, not a tick
                ++ticks;
        });
        QSignalSpy finished(worker, &Worker::finishedAveraging);
        QElapsedTimer clock;
        PointInfo *row = station.row(capture); // a fresh row each time
        clock.start();
        row->findChild<QPushButton *>(QStringLiteral("btnCapture"))->click();
        if (!finished.wait(kSeconds * 4000)) {
            std::fprintf(stderr, "bench_capture: the average did not end\n");
            return 1;
        }
        const double seconds = clock.nsecsElapsed() / 1e9;
        QObject::disconnect(counter);
        std::printf("capture %d: %d samples, %d ticks, %.3f s (one tick after the last sample: %d ticks, %.2f s)\n",
                    capture + 1, worker->sampleCount(), ticks, seconds, averaging_count + 1,
                    (averaging_count + 1) * kTickMs / 1000.0);
    }
    std::printf("after %d captures: VmRSS %ld kB, VmHWM %ld kB\n", captures, status_kb("VmRSS:"), status_kb("VmHWM:"));
    return 0;
}
