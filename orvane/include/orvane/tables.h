/* Orvane table library: reading table and archive files into the
 * table_info block (table_layout.h), and the numerics on tables.
 * Return codes: the low 16 bits are 0xFFFF on failure.
 */
#ifndef ORVANE_TABLES_H
#define ORVANE_TABLES_H

#include "common.h"
#include "table_layout.h"

ORV_BEGIN_C

/* Parses the .tbl text at path into *table, which the caller has zeroed.
 * A path in the host's trees ("/cell/...", "/orvane/...") is taken under
 * ORVANE_ROOT (common.h); any other path as given.
 * Fills the header fields of the file, tbl_name from the file's base name
 * (the file does not hold it), cal_interval in seconds (weeks * 604800),
 * and the data into dim.table_poly: INTERPOLATION points into range 0's
 * raw_data; POLYNOMIAL and HYPERBOLIC coefficients into range 0's coeff and
 * num_coeff; the SCALED factor into range 0's raw_data.x[0]; each RANGE=
 * line of a POLYNOMIAL_RANGE table into its range, keywords not given at
 * their defaults (MAX 1e6, GAIN 1.0, the others 0), num_coeff the highest
 * Cn given + 1, and range_index the first range with coefficients (else
 * the first given, else 0).  The 2D types give their type word only.
 * Texts are cut to their field widths.
 * Returns 0, or 0xFFFF (-1) for a file that cannot be opened, is not a
 * regular file, is larger than 4 MB, empty, binary or malformed; *table is
 * then left as it was, and the refusal is logged with the file, the line
 * and the reason. */
int read_table(const char *path, TableInfo *table);

/* Reads the newest (last appended) record of the .save archive at path,
 * found by reading backwards from the end of the file, so the cost does
 * not grow with the number of records.  Paths are taken as by read_table.
 * count: 1.  On success records[0] points at a TableInfo that the library
 * owns until the next call from the same thread; slots is scratch of 500
 * eight-byte entries and is not used.
 * The record's type word gives tbl_type (-1 for an empty or unknown word,
 * so that the caller takes the .tbl's type), its time_t last_cal, its
 * words cal_mode and tol_state ("5-point" is 0); the six band texts give
 * the bias and tolerance fields as the numbers they hold; the points go to
 * range 0's raw_data, and the coefficient string to range_index and that
 * range's coeff.  An auto_cal record's dyno_cal points go to dyno_cal.
 * A POLYNOMIAL_RANGE record takes all eight ranges (coefficients and raw
 * points, the RANGE= defaults for the rest) from the .poly_range file it
 * names, or from a file of that name beside the archive; range 0's points
 * are then that file's, and range_index is the first range with
 * coefficients.  The file holds no MIN or MAX: when that range has fewer
 * than two points there, its min and max are the lowest and highest x of
 * the record's own points (when at least two finite x span a width), so
 * that compute_long_table tabulates it over what was captured rather than
 * over the default 0..1e6.  cal_interval is 0: records do not hold it.
 * Returns 1; 0 when the archive does not exist or is empty; -1 for a
 * malformed newest record, a missing or malformed .poly_range file, or no
 * record start in the last 4 MB, logged with the file, the record's byte
 * offset and line, and the reason.  An older record is never used instead. */
short read_archive_file_poly(int count, const char *path, void *records[500], int64_t slots[500]);

/* Tabulates a table into *long_table: the points, sorted by x (equal x keep
 * their order, NaN last), with each segment's slope and intercepts; entry
 * count - 1 repeats count - 2, a zero-width segment is flat (slope 0), a
 * segment of slope 0 has x_intercept 0.  Only the points, the segments and
 * the two counts are written; host_count equals count.
 *   INTERPOLATION: range 0's raw points.
 *   POLYNOMIAL, HYPERBOLIC: range 0's polynomial at its raw x when it has at
 *     least two, else at 11 points evenly over its min..max (0..100 when
 *     max is not above min).  POLYNOMIAL_RANGE: the same with the range
 *     range_index (range 0 when that is outside 0..7).
 *   SCALED: the factor, range 0's raw_data.x[0], into x[0], count 0.
 *   Other types: count 0. */
void compute_long_table(const TableInfo *table, LongTable *long_table);

/* y of long_table at x by linear interpolation, the end segments extended.
 * Where two points share an x, the later one counts from that x on, so a
 * step reads its upper side.  *error is set to 1 for a table of fewer than
 * two points (one point gives its y, none gives 0), else to 0.
 * reserved: 0. */
double linear_interp_long(short *error, const LongTable *long_table, int reserved, double x);

/* Tabulates the polynomial coeff[0..num_coeff-1] (constant first, at most 8
 * used) at point_count x values evenly spaced from x_min to x_max, both
 * ends exact.  One point is at x_min; 0 or fewer write nothing. */
void computepoints(const double *coeff, int num_coeff, int point_count, double *x_out, double *y_out,
                   double x_min, double x_max);

/* Least-squares polynomial through n points with num_coeff coefficients,
 * lowest power first, written to coeff_out[0..num_coeff-1].  With fewer
 * points than coefficients it is the polynomial of degree n - 1 through
 * them, the higher coefficients 0.  Returns 0, or -1 when n < 1, num_coeff
 * is outside 1..8, or a value is not finite; the first num_coeff entries
 * (at most 64) are then 0. */
int polynomialfit(int n, int num_coeff, const double *x, const double *y, double *coeff_out);

/* Registers a file just written with the host's revision bookkeeping (one
 * line in the host log naming it).  Returns 0, or -1 for a NULL or empty
 * path. */
int put_rcs_specs(const char *path);

ORV_END_C

#endif
