// Tolerance resolution and the small numeric helpers of the table storage:
// the limits configured as "value[units]" texts become numbers in the
// record's units; the within-tolerance test; the padding of a long table
// into a curve; the autoscale of a plot axis.
#pragma once

#include "vrel_cfg.h"

#include <QByteArray>

#include <cstdint>

// Widths of the two outputs of split_value_units.
constexpr size_t kValueTextSize = 80;
constexpr size_t kUnitTextSize = 16;

// Splits "value[units]".  number receives the text before the first '['
// (kValueTextSize bytes, always ended).  units (kUnitTextSize bytes) receives
// what follows the bracket less its last character, whatever that is: a
// missing ']' costs the unit its last letter.  Without '[' the whole text
// goes to number and units is left as it was.
void split_value_units(const char *text, char *number, char *units);

// A tolerance text and how its unit trouble is handled.  The channel load
// resets the MUA index on either warning; the table information dialog keeps
// it on the table-units warning and, after the sensor-units warning,
// converts the process-wide text of the band instead of its label.
struct ToleranceText {
    QByteArray text;           // "value[units]"
    QByteArray fraction_text;  // converted to "FRAC" after the sensor-units warning
    bool reset_on_table_units; // the table-units warning resets the MUA index
};

// The tolerance of kind 1 (OOA), 2 (OOT) or any other (SOOT), from the
// process-wide texts, as an absolute width in tbl_units.  A unit that fits
// neither the sensor nor the table shows the modal "Warning" and resets
// selected_mua_index to 0.
double resolve_tolerance(int16_t kind, const VREL_CFG *record);
double resolve_tolerance_text(const ToleranceText &tolerance, const VREL_CFG *record);

// The bias of that kind, in sensor_range_units or as a bare fraction (never
// multiplied by the span).  A unit of neither kind builds its warning box
// and does not show it; the MUA index stays.
double resolve_bias(int16_t kind, const VREL_CFG *record);
double resolve_bias_text(const QByteArray &text, const VREL_CFG *record);

// The process-wide tolerance and bias texts of a kind, as Latin-1 bytes.
QByteArray tolerance_text_of(int16_t kind);
QByteArray bias_text_of(int16_t kind);

// True unless |eng_mean - ref_value| of cfg->point_stats[point_index]
// exceeds tolerance; a NaN difference counts as within.  An index outside
// 0..63 is not a point and gives false.
bool within_tolerance(int point_index, double tolerance);

// Copies the long table's points into the 64 pairs of a curve, repeating
// the last point to the end, and sets the curve's count to 64.  A table
// without points gives 64 pairs (0, 0).
void pad_long_table(const LongTable *long_table, CurvePoints *plot_points);

// Rounds an axis to a tick step of 2, 4, 5, 6, 8 or 10 times a power of ten,
// widening a zero-height axis by 1.0 each side and pulling to zero an axis
// whose ends lie far from it on one side.  Sets the step factor to 1.0.
void nice_axis_range(axis_scale *scale);

// Widens the axis to take in values (at least values[0] is read, whatever
// count says) and rescales it when an end moved by more than 1e-6.  Returns
// 1 and sets the changed flag when the record differs in any byte, else 0.
int extend_axis_range(axis_scale *scale, const double *values, int count);
