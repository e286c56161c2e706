// The one conversion from a channel's millivolts to engineering units,
// through the calibration in force in the record.
#pragma once

#include <cstdint>

struct VREL_CFG;

// tbl_type: the record's table type; error: set by the interpolation of the
// host, not looked at.  INTERP interpolates long_table; POLY and POLY_RANGE
// evaluate the polynomial of range 0 or of range_index; SCALED multiplies
// by the first double of long_table; any other type gives 0.0.
double raw_to_engineering(int16_t tbl_type, short *error, const VREL_CFG *record, double raw);

// The live display's dead band: 1000 times the value, truncated toward
// zero, so -0.0004 and 0.0004 share the key 0 and a value crossing a
// multiple of 0.001 changes it.  Values out of the key's range (and NaN)
// share one key.
int64_t dead_band_key(double value);
