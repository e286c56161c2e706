// The checks and the bookkeeping behind the table information dialog, kept
// free of widgets: what the technician typed arrives as texts, the record is
// the calibration record.
//
// Range statuses are shared with the channel guard of the main window, which
// opens the dialog with the status it found as the reason:
//   0 all fine            1 lower above upper      2 limits the same
//   3 a limit is NaN      4 a limit is no number   5 units missing
//   6 units are "none"    7 units unfit for the table's units
//   8 UUT information missing (only the guard finds this one)
#pragma once

#include "vrel_cfg.h"

#include <QString>

enum SensorRangeStatus {
    RANGE_OK = 0,
    RANGE_LOWER_ABOVE_UPPER = 1,
    RANGE_LIMITS_EQUAL = 2,
    RANGE_LIMIT_NAN = 3,
    RANGE_LIMIT_NOT_NUMBER = 4,
    RANGE_UNITS_EMPTY = 5,
    RANGE_UNITS_NONE = 6,
    RANGE_UNITS_INCOMPATIBLE = 7,
    RANGE_UUT_MISSING = 8
};

// The status of an entry of the sensor range, first failing test first.
// The limits are read by QString::toDouble, so a text that is no number
// counts as 0 in the comparisons: "abc" and "def" are "the same" (2) and
// "5" with "abc" is "lower above upper" (1).  Only a lowercase "nan" is
// caught as 3; "NaN" slips through every comparison to the units tests.
// units is the sensor units text (Latin-1), tbl_units the table's.
int check_sensor_range(const QString &lower_text, const QString &upper_text,
                       const QByteArray &units, const char *tbl_units);

// Which fields a refused entry puts back from the record.
enum class RangeGroup { None, Limits, Units };

// The box that answers a refused entry of the sensor range.
struct RangeMessage {
    QString title;
    QString text;
    RangeGroup group = RangeGroup::None;
};

// The message for a status of check_sensor_range; units is the text of the
// units button.  Status 0 and anything unknown give an empty message.
RangeMessage range_message(int status, const QString &units, const char *tbl_units);

// The reason shown before the form when the channel guard forces it open.
// Empty for 0, for 4 (which the guard never produces) and for unknown
// values: no box is shown then.
QString opening_reason_text(int reason, const char *sensor_range_units, const char *tbl_units);

// What the form holds, as the technician left it.
struct TableInfoEntry {
    QString manufacturer;  // txtUUTMfg
    QString model;         // txtUUTModel
    QString serial_number; // txtUUTSerialNumber
    QString description;   // txtDescription
    QString cal_type;      // current text of cboUUTCalType
    QString mte;           // txtUUT_MTE
    QString lower_limit;   // txtLowerRangeLimit
    QString upper_limit;   // txtUpperRangeLimit
    QString sensor_units;  // text of btnSensorUnits
};

// Differences of the entry from the record.  Group A (model, cal type,
// M&TE) only informs; group B (manufacturer, serial number, description,
// units and the two limits) also makes the record's captured points stale.
// Texts are compared as Latin-1 bytes, limits within 1e-6.
enum TableInfoDifference { TABLE_INFO_GROUP_A = 1, TABLE_INFO_GROUP_B = 2 };
int table_info_differences(const TableInfoEntry &entry, const VREL_CFG *record);

// Writes an accepted entry to the record: the identity texts (the record's
// own copies trimmed, the UUT copies as typed), the upper limit with the
// full scale, the units with the full-scale units, and last the lower limit.
void store_table_info(const TableInfoEntry &entry, VREL_CFG *record);

// The UUT error limit: the number of the process-wide OOT tolerance text and
// the unit of the dialog's OOT tolerance label.  A label without "[" leaves
// uut_error_limit_units as it was.
void store_error_limit(const QString &oot_tolerance_label, VREL_CFG *record);

// min_range and max_range converted in place from raw_units to tbl_units;
// left as they are when the library refuses the pair.
void rescale_table_range(VREL_CFG *record);

// Fills the UUT copies from the record's own fields, as the dialog does when
// it opens: uut_mfg from sensor_model, uut_sn from sensor_sn,
// uut_description from tbl_desc.
void copy_sensor_identity(VREL_CFG *record);

// A limit as the dialogs show it: "%8.2f".
QString format_limit(double value);

// A value of the record converted between two unit keywords; the value as
// it was when the library refuses them.
double convert_units(const char *from, const char *to, double value);

// A record text as a QString: Latin-1, up to the first NUL or the width of
// the field, whichever comes first.
QString record_text(const char *field, size_t width);
template <size_t N> QString record_text(const char (&field)[N])
{
    return record_text(field, N);
}
