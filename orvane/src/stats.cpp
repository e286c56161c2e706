/* Orvane statistics accumulator.
 *
 * Welford's update keeps a running mean and the sum of squared deviations
 * from it, so a long average of a raw reading that sits far from zero (a
 * pressure in pascals, a count near 1e9) keeps its small spread instead of
 * losing it to cancellation as the sum-of-squares formula would.
 */
#include "orvane/stats.h"

#include <cfloat>
#include <cmath>

extern "C" {

void clear_stat_values(stat_record *record)
{
    if (!record)
        return;
    *record = stat_record{};
    record->member[ORV_STAT_MIN] = DBL_MAX;
    record->member[ORV_STAT_MAX] = -DBL_MAX;
}

void x_statistics_acquire(stat_record *record, double value, double weight)
{
    (void)weight; /* reserved by the host; every caller passes 0.0 */
    if (!record)
        return;
    /* The extremes live in the members themselves, so a seed the caller
     * stored there after clearing takes part in the first comparison. */
    if (value < record->member[ORV_STAT_MIN])
        record->member[ORV_STAT_MIN] = value;
    if (value > record->member[ORV_STAT_MAX])
        record->member[ORV_STAT_MAX] = value;

    ++record->count;
    const double delta = value - record->running_mean;
    record->running_mean += delta / static_cast<double>(record->count);
    record->m2 += delta * (value - record->running_mean);
}

void x_statistics_compute(stat_record *record)
{
    if (!record)
        return;
    record->member[ORV_STAT_MEAN] = record->count > 0 ? record->running_mean : 0.0;
    double variance = 0.0;
    if (record->count > 1)
        variance = record->m2 / static_cast<double>(record->count - 1);
    record->member[ORV_STAT_VARIANCE] = variance;
    record->member[ORV_STAT_STDEV] = std::sqrt(variance);
}

double get_stat_member(const stat_record *record, int index)
{
    if (!record || index < ORV_STAT_MEAN || index > ORV_STAT_STDEV)
        return 0.0;
    return record->member[index];
}

} // extern "C"
