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
 * Returns 0, or 0xFFFF (-1) for a file that cannot be opened or is
 * malformed; a refusal is logged with the line and the reason. */
int read_table(const char *path, TableInfo *table);

/* Reads the newest (last appended) record of the .save archive at path.
 * count: 1.  On success records[0] points at a TableInfo that the library
 * owns until the next call; slots is scratch of 500 eight-byte entries.
 * Returns the number of records obtained (1), or 0 or less on failure. */
short read_archive_file_poly(int count, const char *path, void *records[500], int64_t slots[500]);

/* Tabulates a table into *long_table: the points of the range in use,
 * sorted by x, with each segment's slope and intercepts. */
void compute_long_table(const TableInfo *table, LongTable *long_table);

/* y of long_table at x by linear interpolation, the end segments extended.
 * *error is set to 1 for a table of fewer than two points.  reserved: 0. */
double linear_interp_long(short *error, const LongTable *long_table, int reserved, double x);

/* Tabulates the polynomial coeff[0..num_coeff-1] (constant first) at
 * point_count x values evenly spaced from x_min to x_max. */
void computepoints(const double *coeff, int num_coeff, int point_count, double *x_out, double *y_out,
                   double x_min, double x_max);

/* Least-squares polynomial through n points with num_coeff coefficients,
 * lowest power first.  Returns 0, or -1 when n < 1 or num_coeff is outside
 * 1..8 (coefficients then zero). */
int polynomialfit(int n, int num_coeff, const double *x, const double *y, double *coeff_out);

/* Registers a file just written with the host's revision bookkeeping (one
 * line in the host log).  Returns 0. */
int put_rcs_specs(const char *path);

ORV_END_C

#endif
