// The calibration history: one self-describing record appended to the
// channel's archive <name>.save per recorded event, read back by the
// host's read_archive_file_poly.  The archive is append-only.
#pragma once

#include "vrel_cfg.h"

// Appends one record for cal_mode to the archive at path.  Sanitises the
// record's texts in place first (quotes and newlines out of tbl_desc,
// quotes, newlines, apostrophes and backslashes out of user_comment, empty
// ones "none") and leaves tol_units "PCT" and tbl_tol as fixed by
// tol_state.  For a POLYNOMIAL_RANGE table also writes the sibling
// "/cell/tables/<name>-<time>.poly_range" that the record names.
// The record is composed whole and appended in one write; a write that
// fails part way is taken back, and a record after a cut end of the
// archive starts on a line of its own.
// Returns 0 when done or when the archive cannot be opened (nothing is
// written then), -1 when tbl_type is not a table type (nothing written).
int append_history_record(const char *path, VREL_CFG *record, uint16_t cal_mode);

// Records cal_mode in save_file and, for ADJUSTED and
// CORRELATION_CHANGE, adopts the new table: the outgoing .tbl is appended
// byte for byte to old_file, then the .tbl is rewritten.  An adjusted
// POLYNOMIAL_RANGE table is adopted before its record as well, so that the
// record's range file, which the next load reads, holds the adopted
// ranges rather than the outgoing ones.  A table named
// "INACTIVE" records nothing.  Clears pending_changes and
// unrecorded_changes.  Always 0.
int save_calibration(VREL_CFG *record, uint16_t cal_mode);

// Records cal_mode in save_file only: last_cal, cal_mode, table_info.dim
// and the .tbl stay.  Always 0.
int save_history(VREL_CFG *record, uint16_t cal_mode);
