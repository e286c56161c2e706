#include "worker.h"

#include "conversion.h"
#include "functions.h"

#include <orvane/strings.h>

#include <QDateTime>
#include <QTimer>

#include <cstring>

stat_record raw_stats, eng_stats, temp_stats, humidity_stats, baro_stats;
PointRecord current_average;
EnvSample current_environment;

double host_variable_value(const void *variable)
{
    uint64_t bits = __atomic_load_n(reinterpret_cast<const uint64_t *>(static_cast<const char *>(variable) + 64),
                                    __ATOMIC_RELAXED);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

int next_sample_count(int count)
{
    // An average whose target was lowered below its count goes on until
    // the count wraps round to it: a wrap, not an overflow.
    return static_cast<int>(static_cast<unsigned>(count) + 1u);
}

namespace {

bool environment_switched_on()
{
    return env_settings && env_settings->env_vars_used;
}

// Sampled only once the environment form has resolved all three host
// variables: a form left with Escape resolves none of them.
bool environment_in_use()
{
    return environment_switched_on() && room_temp_var && humidity_var && barometer_var;
}

double live_engineering()
{
    short error = 0;
    return raw_to_engineering(cfg->table_info.tbl_type, &error, cfg, live_millivolts(cfg->channel));
}

void seed(stat_record &record, double value)
{
    record.member[ORV_STAT_MIN] = value;
    record.member[ORV_STAT_MAX] = value;
}

} // namespace

void Worker::run()
{
    averaging_timer = new QTimer;
    averaging_timer->setInterval(tick_ms);
    averaging_timer->setSingleShot(false);
    averaging_timer->start();
    // averaging_active starts false with the object; clearing it here, on
    // the worker thread, would race with a capture pressed meanwhile.
    // The timer lives on this thread, the worker object on the GUI thread:
    // a tick is queued to the GUI thread, where the average is taken.  An
    // idle tick would only wake the GUI thread to return at once, 20 times
    // a second for as long as the window is open, so it ends here.  A tick
    // that finds an average running is queued as before, and the tick that
    // finishes it too: the average's samples and timing are the same.
    connect(averaging_timer, &QTimer::timeout, averaging_timer, [this] {
        if (averaging_active.load(std::memory_order_acquire))
            QMetaObject::invokeMethod(this, &Worker::dealWithStatValuesAveraging, Qt::QueuedConnection);
    });
    exec();
}

void Worker::setCurrentCapturedPointIndex(short index)
{
    if (!averaging_active)
        point_index = index;
}

void Worker::startAveraging()
{
    if (averaging_active)
        return;
    sample_count = 0;
    clearAndSeed();
    averaging_active = true;
    emit samplesTaken(point_index, 0);
}

void Worker::clearAndSeed()
{
    clear_stat_values(&raw_stats);
    clear_stat_values(&eng_stats);
    if (environment_in_use()) {
        clear_stat_values(&temp_stats);
        clear_stat_values(&humidity_stats);
        clear_stat_values(&baro_stats);
    }
    seed(raw_stats, live_millivolts(cfg->channel));
    // Two conversions, as two readings: each end is seeded by its own.
    const double first = live_engineering();
    const double second = live_engineering();
    eng_stats.member[ORV_STAT_MIN] = first;
    eng_stats.member[ORV_STAT_MAX] = second;
    if (environment_in_use()) {
        seed(temp_stats, host_variable_value(room_temp_var));
        seed(humidity_stats, host_variable_value(humidity_var));
        seed(baro_stats, host_variable_value(barometer_var));
    }
}

void Worker::dealWithStatValuesAveraging()
{
    if (!averaging_active)
        return;
    if (sample_count == averaging_count) {
        finishAverage();
        averaging_active = false;
        emit samplesTaken(point_index, -1);
        emit finishedAveraging(point_index);
        return;
    }
    x_statistics_acquire(&raw_stats, live_millivolts(cfg->channel), 0.0);
    // A second reading: the two channels may see different samples.
    x_statistics_acquire(&eng_stats, live_engineering(), 0.0);
    if (environment_in_use()) {
        x_statistics_acquire(&temp_stats, host_variable_value(room_temp_var), 0.0);
        x_statistics_acquire(&humidity_stats, host_variable_value(humidity_var), 0.0);
        x_statistics_acquire(&baro_stats, host_variable_value(barometer_var), 0.0);
    }
    sample_count = next_sample_count(sample_count);
    emit samplesTaken(point_index, sample_count);
}

void Worker::finishAverage()
{
    x_statistics_compute(&raw_stats);
    x_statistics_compute(&eng_stats);
    current_average.raw_mean = get_stat_member(&raw_stats, ORV_STAT_MEAN);
    current_average.raw_max = get_stat_member(&raw_stats, ORV_STAT_MAX);
    current_average.raw_min = get_stat_member(&raw_stats, ORV_STAT_MIN);
    current_average.raw_stdev = get_stat_member(&raw_stats, ORV_STAT_STDEV);
    current_average.eng_mean = get_stat_member(&eng_stats, ORV_STAT_MEAN);
    current_average.eng_max = get_stat_member(&eng_stats, ORV_STAT_MAX);
    current_average.eng_min = get_stat_member(&eng_stats, ORV_STAT_MIN);
    current_average.eng_stdev = get_stat_member(&eng_stats, ORV_STAT_STDEV);

    const QDateTime now = QDateTime::currentDateTime();
    copyn("worker", __LINE__, current_average.capture_date,
          now.toString(QStringLiteral("MM/dd/yyyy")).toLatin1().constData(), sizeof current_average.capture_date);
    copyn("worker", __LINE__, current_average.capture_time,
          now.toString(QStringLiteral("hh:mm:ss")).toLatin1().constData(), sizeof current_average.capture_time);

    if (environment_in_use()) {
        x_statistics_compute(&temp_stats);
        x_statistics_compute(&humidity_stats);
        x_statistics_compute(&baro_stats);
        current_environment.temperature = get_stat_member(&temp_stats, ORV_STAT_MEAN);
        current_environment.pressure = get_stat_member(&baro_stats, ORV_STAT_MEAN);
        current_environment.humidity = get_stat_member(&humidity_stats, ORV_STAT_MEAN);
    }

    PointRecord &slot = cfg->point_stats[point_index];
    slot.raw_mean = current_average.raw_mean;
    slot.raw_stdev = current_average.raw_stdev;
    slot.raw_min = current_average.raw_min;
    slot.raw_max = current_average.raw_max;
    slot.eng_mean = current_average.eng_mean;
    slot.eng_stdev = current_average.eng_stdev;
    slot.eng_min = current_average.eng_min;
    slot.eng_max = current_average.eng_max;
    std::memcpy(slot.capture_date, current_average.capture_date, sizeof slot.capture_date);
    std::memcpy(slot.capture_time, current_average.capture_time, sizeof slot.capture_time);
    point_samples[point_index] = sample_count;
    // Copied even with the environment switched off: the slot then takes
    // what an earlier average left.  Switched on but never resolved, the
    // slot keeps what it holds.
    if (environment_in_use() || !environment_switched_on())
        cfg->env[point_index] = current_environment;
}
