// What the live display costs while the technician is not doing anything.
//
// 1. One draw_plots_info call when nothing moved (cell frozen, after a
//    first draw): the median over many calls.  It should be one 2568-byte
//    comparison and two conversions, with no replot.
// 2. The CPU time of the whole process over 10 s of event loop with a
//    channel selected, the monitor and worker threads running, as percent
//    of one core: once with the cell's default noise and tick, once with a
//    steady input.
//
// Runs against a simulated cell of its own (orvane-sim beside this
// program).  Usage: bench_draw [calls]   (default 20000)
#include "station.h"

#include "mainwindow.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QtTest>

#include <qwt_plot.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kChannel = 0;
constexpr int kIdleSeconds = 10;

// Counts the repaints of the plot's canvas: one per replot that reached the screen.
class PaintCounter : public QObject {
public:
    int count = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++count;
        return false;
    }
};

double cpu_seconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval &t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Waits until the cell has run two more ticks, so that a command it was
// given has taken effect.
bool wait_two_ticks()
{
    auto *control = static_cast<orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
    if (!control)
        return false;
    const int64_t start = __atomic_load_n(&control->ticks, __ATOMIC_RELAXED);
    for (int i = 0; i < 500; ++i) {
        if (__atomic_load_n(&control->ticks, __ATOMIC_RELAXED) >= start + 2)
            return true;
        QTest::qWait(10);
    }
    return false;
}

bool open_station(Station &station, const QStringList &options)
{
    if (!station.open(options) || !station.select(kChannel)) {
        std::fprintf(stderr, "bench_draw: no cell or no channel %d: %s\n", kChannel,
                     qPrintable(station.cell().lastOutput()));
        return false;
    }
    station.window().show();
    return QTest::qWaitForWindowExposed(&station.window());
}

int bench_idle_draw(int calls)
{
    Station station;
    if (!open_station(station, {"--no-noise"}))
        return 1;
    if (!station.cell().command({"freeze"}) || !wait_two_ticks()) {
        std::fprintf(stderr, "bench_draw: the cell did not freeze\n");
        return 1;
    }
    MainWindow &window = station.window();
    cfg->table_changed = 1; // the first draw does everything once
    window.draw_plots_info(cfg);
    QCoreApplication::processEvents();

    std::vector<double> micros;
    micros.reserve(size_t(calls));
    for (int i = 0; i < calls; ++i) {
        const auto start = std::chrono::steady_clock::now();
        window.draw_plots_info(cfg);
        const auto end = std::chrono::steady_clock::now();
        micros.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    std::sort(micros.begin(), micros.end());
    std::printf("idle draw_plots_info (cell frozen, %d calls): median %.2f us, fastest %.2f us, 99th %.2f us\n",
                calls, micros[micros.size() / 2], micros.front(), micros[micros.size() * 99 / 100]);
    return 0;
}

int bench_idle_cpu(const QStringList &options, const char *what)
{
    Station station;
    if (!open_station(station, options))
        return 1;
    QTest::qWait(500); // the load's first draws and repaints are over
    PaintCounter paints;
    QWidget *canvas = station.window().form()->dataPlot->canvas();
    canvas->installEventFilter(&paints);
    const auto wall_start = std::chrono::steady_clock::now();
    const double cpu_start = cpu_seconds();
    // A plain event loop, as the program's own exec(): QTest::qWait would
    // add a wake-up of its own every 10 ms.
    QEventLoop loop;
    QTimer::singleShot(kIdleSeconds * 1000, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    const double cpu = cpu_seconds() - cpu_start;
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_start).count();
    canvas->removeEventFilter(&paints);
    std::printf("idle CPU, channel %d selected, %.1f s, %s: %.2f %% of one core (%.3f s CPU, %d plot repaints)\n",
                kChannel, wall, what, 100.0 * cpu / wall, cpu, paints.count);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int calls = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20000;
    int status = bench_idle_draw(calls);
    if (status == 0)
        status = bench_idle_cpu({}, "cell default tick and noise");
    if (status == 0)
        status = bench_idle_cpu({"--no-noise"}, "steady input");
    return status;
}
