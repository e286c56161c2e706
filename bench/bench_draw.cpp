// What the live display costs while the technician is not doing anything.
//
// 1. One draw_plots_info call when nothing moved (cell frozen, after a
//    first draw): the median over many calls.  It should be one 2568-byte
//    comparison and two conversions, with no replot.
// 2. One draw when the live point moved, with its repaint.
// 3. The CPU time of the whole process over 10 s of event loop with a
//    channel selected, the monitor and worker threads running, as percent
//    of one core: once with the cell's default noise and tick, once with a
//    steady input.
// 4. The floor: the same thread wake-ups in a bare program with nothing to
//    do, the part of 3 that is the machine's and not the program's.
//
// Runs against a simulated cell of its own (orvane-sim beside this
// program), each figure in a process of its own.
// Usage: bench_draw [calls]   (default 20000)
#include "station.h"

#include "calibrationplot.h"
#include "mainwindow.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QApplication>
#include <QEventLoop>
#include <QMap>
#include <QProcess>
#include <QStringList>
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

// Counts the repaints of every widget, by the widget's object name (or its
// class): the canvas's are one per replot that reached the screen, and any
// other widget painted at a tick is work to look at.
class PaintCounter : public QObject {
public:
    QMap<QString, int> by_widget;
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && object->isWidgetType()) {
            const QString name = object->objectName();
            ++by_widget[name.isEmpty() ? QString::fromLatin1(object->metaObject()->className()) : name];
        }
        return false;
    }
    int count(const QString &name) const { return by_widget.value(name); }
    QString summary() const
    {
        QStringList parts;
        for (auto it = by_widget.begin(); it != by_widget.end(); ++it)
            parts << QStringLiteral("%1 %2").arg(it.key()).arg(it.value());
        return parts.join(QStringLiteral(", "));
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

// A station on a frozen cell, drawn once with everything (table_changed
// set), so that the next draw has only what the bench changes.
bool open_frozen_station(Station &station)
{
    if (!open_station(station, {"--no-noise"}))
        return false;
    if (!station.cell().command({"freeze"}) || !wait_two_ticks()) {
        std::fprintf(stderr, "bench_draw: the cell did not freeze\n");
        return false;
    }
    cfg->table_changed = 1;
    station.window().draw_plots_info(cfg);
    QCoreApplication::processEvents();
    return true;
}

int bench_idle_draw(int calls)
{
    Station station;
    if (!open_frozen_station(station))
        return 1;
    MainWindow &window = station.window();

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

// The cost of a draw when the live point moved past the dead band, as a
// noisy sensor makes it at every tick: the call (title, scales, the
// point's sample, the replot request) and the repaint that follows it.
int bench_moved_draw(int calls)
{
    Station station;
    if (!open_frozen_station(station))
        return 1;
    MainWindow &window = station.window();

    // The cell is frozen: the reading is moved here, by a step of the dead
    // band each call, so that the title changes too.
    auto *millivolts = static_cast<orv_millivolts *>(orvane_segment_attach_rw(ORV_SEG_MILLIVOLTS, nullptr));
    if (!millivolts)
        return 1;
    const double resting = millivolts[kChannel].value;
    std::vector<double> draws, repaints;
    draws.reserve(size_t(calls));
    repaints.reserve(size_t(calls));
    for (int i = 0; i < calls; ++i) {
        millivolts[kChannel].value = resting + 0.002 * (i % 2);
        const auto start = std::chrono::steady_clock::now();
        window.draw_plots_info(cfg);
        const auto drawn = std::chrono::steady_clock::now();
        QCoreApplication::processEvents();
        const auto painted = std::chrono::steady_clock::now();
        draws.push_back(std::chrono::duration<double, std::micro>(drawn - start).count());
        repaints.push_back(std::chrono::duration<double, std::micro>(painted - drawn).count());
    }
    std::sort(draws.begin(), draws.end());
    std::sort(repaints.begin(), repaints.end());
    std::printf("moved draw_plots_info (%d calls): median %.0f us for the call, %.0f us for the repaint\n", calls,
                draws[draws.size() / 2], repaints[repaints.size() / 2]);
    return 0;
}

struct IdleShare {
    double cpu;  // s of CPU, every thread of the process
    double wall; // s
};

// kIdleSeconds of a plain event loop, as the program's own exec():
// QTest::qWait would add a wake-up of its own every 10 ms.
IdleShare run_idle()
{
    const auto wall_start = std::chrono::steady_clock::now();
    const double cpu_start = cpu_seconds();
    QEventLoop loop;
    QTimer::singleShot(kIdleSeconds * 1000, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    return {cpu_seconds() - cpu_start,
            std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_start).count()};
}

int bench_idle_cpu(const QStringList &options, const char *what)
{
    Station station;
    if (!open_station(station, options))
        return 1;
    QTest::qWait(500); // the load's first draws and repaints are over
    PaintCounter paints;
    CalibrationPlot *plot = station.window().form()->dataPlot;
    QWidget *canvas = plot->canvas();
    const int layouts_before = plot->layoutCount();
    canvas->setObjectName(QStringLiteral("canvas"));
    qApp->installEventFilter(&paints);
    const IdleShare idle = run_idle();
    const double cpu = idle.cpu, wall = idle.wall;
    qApp->removeEventFilter(&paints);
    std::printf("idle CPU, channel %d selected, %.1f s, %s: %.2f %% of one core (%.3f s CPU, %d plot repaints, "
                "%d layouts)\n  repaints by widget: %s\n",
                kChannel, wall, what, 100.0 * cpu / wall, cpu, paints.count(QStringLiteral("canvas")),
                plot->layoutCount() - layouts_before, qPrintable(paints.summary()));
    return 0;
}

// The floor under the idle figures: the same wake-ups with nothing to do,
// in a bare program.  A thread that sleeps 100 ms and posts an empty call
// to the GUI thread (the heartbeat), and a thread whose 50 ms timer fires
// into nothing (an idle worker).  What the program costs above this is its
// own work; this much is the machine's price of waking the threads.
class Heartbeat : public QThread {
public:
    QObject *target = nullptr;
    void run() override
    {
        while (!isInterruptionRequested()) {
            QMetaObject::invokeMethod(target, [] {}, Qt::QueuedConnection);
            QThread::msleep(100);
        }
    }
};

class IdleTicks : public QThread {
public:
    void run() override
    {
        QTimer timer;
        timer.start(50);
        exec();
    }
};

int bench_floor()
{
    QObject target;
    Heartbeat heartbeat;
    heartbeat.target = &target;
    IdleTicks ticks;
    heartbeat.start();
    ticks.start();
    QTest::qWait(500);
    const IdleShare idle = run_idle();
    const double cpu = idle.cpu, wall = idle.wall;
    heartbeat.requestInterruption();
    ticks.quit();
    heartbeat.wait();
    ticks.wait();
    std::printf("floor: the same wake-ups doing nothing, %.1f s: %.2f %% of one core (%.3f s CPU)\n", wall,
                100.0 * cpu / wall, cpu);
    return 0;
}

// Each figure is taken in a process of its own, as the program has one
// window: a window's monitor thread runs until its process ends, and the
// threads of an earlier window would add their wake-ups to the next
// figure's CPU time.
int run_phase(const QString &phase, int calls)
{
    if (phase == QLatin1String("idle-draw"))
        return bench_idle_draw(calls);
    if (phase == QLatin1String("moved-draw"))
        return bench_moved_draw(std::min(calls, 500));
    if (phase == QLatin1String("cpu-noise"))
        return bench_idle_cpu({}, "cell default tick and noise");
    if (phase == QLatin1String("cpu-steady"))
        return bench_idle_cpu({"--no-noise"}, "steady input");
    if (phase == QLatin1String("floor"))
        return bench_floor();
    std::fprintf(stderr, "bench_draw: no phase %s\n", qPrintable(phase));
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int calls = arguments.size() > 1 ? std::max(1, arguments.at(1).toInt()) : 20000;
    if (arguments.size() > 3 && arguments.at(2) == QLatin1String("--phase"))
        return run_phase(arguments.at(3), calls);
    for (const char *phase : {"idle-draw", "moved-draw", "cpu-noise", "cpu-steady", "floor"}) {
        std::fflush(stdout);
        const int status = QProcess::execute(app.applicationFilePath(),
                                             {QString::number(calls), "--phase", QString::fromLatin1(phase)});
        if (status != 0)
            return status < 0 ? 1 : status;
    }
    return 0;
}
