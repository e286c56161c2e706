// Loading a channel's calibration into the record: the archive <name>.save
// and the table file <name>.tbl are read as a pair (the archive wins, the
// .tbl supplies its description and MUA instance), SCALED tables become
// two-point interpolation, points are refitted or sorted, and long_table,
// the form the live conversion and the plot use, is derived.  load_channel
// also builds the channel's file paths and resolves its tolerances.
#pragma once

#include "vrel_cfg.h"

// Reads the selected channel into the record.  0 when the channel is in
// range and active; otherwise shows why, sets captured_count to 0 and
// returns -1 with the record untouched.  A table that cannot be read still
// loads: "No Description" and no points.
short load_channel(VREL_CFG *record);

// Reads and post-processes the table of record->tbl_file.  The low 16 bits
// are 0xFFFF when neither file could be read.
int load_table(VREL_CFG *record);

// Fills table (zeroed by the caller) from the .save and .tbl siblings of
// tbl_file.  Without an archive it is read_table's result on the .tbl; with
// one it is 0, and a disagreement of the pair is reported.
int load_table_pair(const char *tbl_file, TableInfo *table);

// Tells the technician when the archive and the .tbl disagree in type, in
// the count of interpolation points, or in the count of polynomial
// coefficients.  Values themselves are not compared.
void compare_table_pair(const TableInfo *save_table, const TableInfo *tbl_table,
                        const char *tbl_path, const char *save_path);

// Empties new_table_poly: every raw slot kUnusedPoint, every count 0.
// The six limits from the tolerance texts, in the order in which their
// warnings may show: each band's bias, then its tolerance.
void resolve_tolerances(VREL_CFG *record);

void clear_new_table(VREL_CFG *record);
// Zeroes new_long_table.
void clear_new_long_table(VREL_CFG *record);

// load_channel, only when the channel's active word is exactly 1.  Returns
// the channel number.
int reload_if_active(VREL_CFG *record);

// Minimum and maximum 0.0, five ticks.
void reset_axis_scale(axis_scale *scale);

// The six paths of the channel's files under the host's root, built from
// tbl_name.  A name too long for a 100-byte field is cut there (and the
// cut logged); the folder and the extension are kept.
void build_table_paths(VREL_CFG *record);

// The table name as it enters a file name: the name comes from the host's
// memory, and a '/' in it would lead out of the tables folder, so each one
// becomes '_'.  out (size bytes) is always ended.
void table_file_stem(const char *name, char *out, size_t size);

// Two-point interpolation from a SCALED table's factor (raw_data.x[0] of
// range 0): a line through (0, 0) and (100, 100 * factor).
void convert_scaled_table(TableInfo *table);

// The first range whose num_coeff is above 0, or -1 when there is none.
int first_filled_range(const TableInfo *table);

// Stores count fitted coefficients from scratch (kMaxPoints doubles) in the
// element starting at coeff[0], and sets num_coeff to count.  The count of
// points, not of coefficients, bounds the store: past coeff[7] it runs on
// over bias, gain ... max and, from the 19th, raw_data.x[0] onward, as the
// host's tables have always had it.  It never leaves the element.
void store_fit_coefficients(TablePoly *element, const double *scratch, int count);

// Sorts the first count raw pairs by x alone, ascending: a quicksort with a
// median of three, so pairs of equal x may swap.
void sort_raw_points(RawData *raw, int count);
