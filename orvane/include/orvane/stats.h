/* Orvane statistics accumulator.
 *
 * Numerically stable running statistics (Welford).  The members are read by
 * index with get_stat_member:
 *   0 mean, 1 minimum, 2 maximum, 3 variance, 4 standard deviation.
 * The minimum and maximum members may be seeded by the caller right after
 * clear_stat_values: the first acquired value is then compared with the
 * seed, not with an initial extreme.
 */
#ifndef ORVANE_STATS_H
#define ORVANE_STATS_H

#include "common.h"

ORV_BEGIN_C

enum { ORV_STAT_MEAN = 0, ORV_STAT_MIN = 1, ORV_STAT_MAX = 2, ORV_STAT_VARIANCE = 3, ORV_STAT_STDEV = 4 };

typedef struct stat_record {
    double member[5]; /* by the indices above; valid after x_statistics_compute */
    int64_t count;    /* samples acquired */
    double running_mean;
    double m2;        /* sum of squared deviations from the running mean */
} stat_record;

/* Empties the record: count 0, mean 0, minimum +DBL_MAX, maximum -DBL_MAX. */
void clear_stat_values(stat_record *record);

/* Adds one sample.  weight: reserved, pass 0.0. */
void x_statistics_acquire(stat_record *record, double value, double weight);

/* Computes mean, variance and standard deviation of the samples so far.
 * Both spreads are the sample ones (n - 1); with fewer than two samples
 * they are 0.  With no sample the mean is 0 and the extremes are what
 * the record held. */
void x_statistics_compute(stat_record *record);

/* Member by index 0..4; 0.0 for any other index. */
double get_stat_member(const stat_record *record, int index);

ORV_END_C

#endif
