/* Orvane units.
 *
 * Unit keywords belong to a dimension (temperature, pressure, voltage, the
 * dimensionless fraction "FRAC" with "PCT" in it, time, speed, force,
 * torque, flow, mass, length, ...).  A value converts linearly between two
 * keywords of one dimension: base = value * factor + offset.  Keywords are
 * matched without regard to (ASCII) case and to white space at their ends;
 * an empty keyword is unknown.  The host publishes the same table in
 * segment ORV_SEG_UNITS (shm.h) for pickers.
 */
#ifndef ORVANE_UNITS_H
#define ORVANE_UNITS_H

#include "common.h"
#include "shm.h"

ORV_BEGIN_C

/* Attaches to the host's unit table.  mode: 1.  Returns 0, or 0xFFFF (-1)
 * when the host's unit segment cannot be reached. */
short units_init_access(int mode);

/* 0 when both keywords are known and of one dimension; 1 when they differ
 * in dimension; 2 when either keyword is unknown or empty. */
short units_dimension_check_key(const char *unit_a, const char *unit_b);

/* *result = value converted from keyword `from` to keyword `to`.
 * Returns 0; 1 for incompatible dimensions and 2 for an unknown keyword,
 * leaving *result untouched in both cases. */
short units_dbl_keyword_convrt(const char *from, double *result, const char *to, double value);

/* Converts a value text with its units in brackets, such as ".25[PCT]", to
 * keyword `to`: ".25[PCT]" to "FRAC" gives 0.0025.  White space may stand
 * around the number and the brackets; the number is read as strtod reads
 * it in the "C" locale, whatever the process locale.  Returns 0; 1 for
 * incompatible dimensions, 2 for an unknown keyword (empty brackets
 * included) and 3 for a text that is not "number[units]"; *result is
 * untouched on failure. */
short units_token_convert(const char *token, const char *to, double *result);

/* The built-in table the host publishes: its records and their number.
 * For the simulated cell and for tests. */
const orv_unit_record *orvane_unit_table(int *count);

ORV_END_C

#endif
