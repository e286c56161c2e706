// The table file <name>.tbl: the text that the host's table builder and
// read_table consume.  Written only when a calibration is adopted.
#pragma once

#include "vrel_cfg.h"

extern "C" {
// The explanatory header of a POLYNOMIAL_RANGE table file and the notes
// after its type section, exported for the host's libraries to bind.
extern char *poly_range_header;
extern char *poly_range_notes;
}

// Writes the table file at path from the record: the metadata of
// table_info and the data of the working blocks (new_long_table,
// new_table_poly), never of table_info.dim.  A point flagged POINT_NEW is
// left out.  The caller has set cal_mode, which picks the date label.
//
// Writes back into the record: last_cal becomes now and cal_interval 26
// weeks when 0; an empty user_comment becomes "none"; an empty
// sensor_range_units takes tbl_units.  The new file is written beside the
// old one and renamed over it once whole: a folder that refuses the file,
// or a write that fails (a full disk), is skipped in silence and the
// previous file stands as it was.  The file is registered with
// put_rcs_specs once in place.
void write_table_file(const char *path, VREL_CFG *record);

// Copies at most the first 32 characters of source, every double quote
// left out, into a process-wide scratch, and returns the scratch.  Valid
// until the next call.
char *strip_quotes(const char *source);
