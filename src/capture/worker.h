// The clock and the accumulator of one point's average.  The object stays
// on the GUI thread: only run(), its timer and its event loop live on the
// worker thread, so every tick of an average reaches
// dealWithStatValuesAveraging() as a queued call on the GUI thread,
// serialised with the button handlers.  The ticks of an idle worker stay on
// its own thread.
#pragma once

#include "vrel_cfg.h"

#include <orvane/stats.h>

#include <QThread>

#include <atomic>

class QTimer;

// The accumulators of the average and its result buffer.
extern stat_record raw_stats, eng_stats, temp_stats, humidity_stats, baro_stats;
extern PointRecord current_average;
extern EnvSample current_environment;

// The live value of a resolved host variable (the f64 at byte 64).
double host_variable_value(const void *variable);

// The sample count after one more sample; INT_MAX is followed by INT_MIN.
int next_sample_count(int count);

class Worker : public QThread {
    Q_OBJECT
public:
    Worker() = default;

    short pointIndex() const { return point_index; }
    int sampleCount() const { return sample_count; }
    bool isAveraging() const { return averaging_active; }
    // The scheduler's tick, read from the host on the GUI thread before the
    // thread starts: the worker thread itself reads no host pointer.
    void setTickInterval(int milliseconds) { tick_ms = milliseconds; }

signals:
    void finishedAveraging(int index);
    // Progress of the running average, for the status bar: samples taken so
    // far, or -1 once the average is finished.
    void samplesTaken(int index, int samples);

public slots:
    void startAveraging();
    void dealWithStatValuesAveraging();
    void setCurrentCapturedPointIndex(short index);

protected:
    void run() override;

private:
    void clearAndSeed();
    void finishAverage();

    short point_index = 0;
    int sample_count = 0;
    QTimer *averaging_timer = nullptr;
    int tick_ms = 0;
    // Set and cleared on the GUI thread; the worker thread reads it at each
    // tick to decide whether the tick is worth sending there.
    std::atomic<bool> averaging_active{false};
};
