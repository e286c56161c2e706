// The calibration record and the process-wide values around it.
//
// The whole state of a calibration lives in one plain record, VREL_CFG, of
// which the process holds exactly one instance, `cfg`, allocated zeroed at
// start-up and never freed.  The record is a flat value: a channel change
// works on a full copy of it and assigns the result back in one step, so it
// holds no owning pointers (the unit names point into the host's segment).
// Its table blocks are the host table library's own layout
// (orvane/table_layout.h, whose offsets are checked there).
//
// Subsystems, and where they live:
//   core/      start-up, the main window, channel selection, controls
//   host/      shared memory, host variables and the notice box
//   tables/    table files, history, UUT/reference files, report, tolerances
//   capture/   averaging worker, live monitor, point rows
//   dialogs/   the modal forms;  touch/  the on-screen panels
#pragma once

#include <orvane/table_layout.h>

#include <QString>

#include <cstdint>
#include <type_traits>

class MainWindow;
class InputDevice;

// Limits of the whole program.
constexpr int kMaxPoints = ORV_MAX_POINTS;  // points in a table, indices 0..63
constexpr int kMaxRanges = ORV_MAX_RANGES;  // polynomial ranges
constexpr int kMaxCoeffs = ORV_MAX_COEFFS;  // coefficients per range
constexpr int kMinCalPoints = 2;
constexpr double kUnusedPoint = -999999.0;  // an unused raw-data slot
constexpr double kNotMeasured = -999.0;     // a statistic not yet measured

// Table types (tbl_type).
enum TableType : int16_t {
    TBL_INTERPOLATION = ORV_INTERPOLATION,
    TBL_POLYNOMIAL = ORV_POLYNOMIAL,
    TBL_SCALED = ORV_SCALED,
    TBL_2D_INTERPOLATION = ORV_2D_INTERPOLATION,
    TBL_LOCAL_2D_INTERPOLATION = ORV_LOCAL_2D_INTERPOLATION,
    TBL_HYPERBOLIC = ORV_HYPERBOLIC,
    TBL_POLYNOMIAL_RANGE = ORV_POLYNOMIAL_RANGE
};

// Calibration modes (cal_mode, and the argument of the record writers).
enum CalMode : uint16_t {
    CAL_AUTO_CAL = 1,
    CAL_AUTO_CAL_COMPLETE = 2,
    CAL_AS_FOUND = 3,
    CAL_NOADJ = 4,
    CAL_AFTER_SERVICE = 5,
    CAL_VERIFICATION = 6,
    CAL_ADJUSTED = 7,
    CAL_REUSE = 8,
    CAL_CORRELATION_CHANGE = 9
};

// Tolerance states (tol_state), also a row's band and its colour's index.
enum TolState : uint16_t { TOL_NOADJ = 0, TOL_OOA = 1, TOL_OOT = 2, TOL_SOOT = 3 };

// Point flags (point_flags[i]).
enum PointFlag : uint16_t {
    POINT_TABLE = 0,    // a point of the loaded table, not yet captured: "Capture"
    POINT_NEW = 1,      // added by raising the number of points: "Capture New"
    POINT_CAPTURED = 2  // captured in this pass: "Undo"
};

// Results of one point's average.
struct PointRecord {
    double marker;  // reset only
    double raw_mean, raw_stdev, raw_min, raw_max;  // millivolts
    double ref_value;                              // the value applied, as in the row's field
    double eng_mean, eng_stdev, eng_min, eng_max;  // table units
    char capture_date[20];                         // "MM/dd/yyyy"
    char capture_time[20];                         // "hh:mm:ss"
};
static_assert(sizeof(PointRecord) == 120, "PointRecord is 10 doubles and two 20-byte texts");

// The points of one plot curve: 64 (x, y) pairs, short tables padded by
// repeating their last pair.
struct CurvePoints {
    int16_t unused;
    int16_t count;
    uint8_t reserved[4];
    struct Pair {
        double x, y;
    } points[kMaxPoints];
};
static_assert(sizeof(CurvePoints) == 8 + 16 * kMaxPoints, "CurvePoints layout");
static_assert(offsetof(CurvePoints, count) == 2, "CurvePoints.count");

// Autoscale state of one plot axis.
struct axis_scale {
    int16_t unused;
    int16_t changed;  // the scale changed since the last draw
    uint8_t reserved[4];
    double min;
    double max;
    double step;  // step factor
    int16_t ticks;  // default 5
    uint8_t reserved_tail[6];
};
static_assert(offsetof(axis_scale, changed) == 2 && offsetof(axis_scale, min) == 8, "axis_scale layout");

// The environment averaged over one capture.
struct EnvSample {
    double temperature, pressure, humidity;
};

struct VREL_CFG {
    int16_t channel;  // the selected analogue input channel
    TableInfo table_info;  // the channel's calibration as read from its files
    LongTable new_long_table;  // points captured in this pass, sorted; a SCALED factor in x[0]
    LongTable prev_long_table;  // copy of long_table at every load and range reset
    LongTable long_table;  // the table in force: rows, live conversion, plot
    TablePoly new_table_poly[kMaxRanges];  // fitted from the captures; slots start at kUnusedPoint
    axis_scale x_scale;
    axis_scale y_scale;
    uint16_t monitor_mark;  // written by the monitor on every pass
    CurvePoints prev_curve;
    CurvePoints captured_curve;
    char raw_units[16];  // tbl_units as the file left it, or as last picked
    char tbl_file[100], save_file[100], old_file[100], ref_file[100], uut_file[100], report_file[100];
    double last_x, last_y;  // raw_mean and eng_mean of the latest capture
    uint16_t pending_changes;
    uint16_t units_lists_loaded;
    const char *unit_category_names[4];
    const char *unit_names[4][700];  // into the host's unit segment
    int16_t unit_counts[4];
    uint16_t units_for_table;  // the units picker was opened from btnUnits
    uint16_t table_changed;  // the plot must redraw and rescale
    uint16_t unrecorded_changes;  // something changed that no record holds yet
    char units_text[16];  // units chosen in the picker
    PointRecord point_stats[kMaxPoints];
    char ref_mfg[32], ref_model[32], ref_ser_num[32], ref_equip_num[32], ref_cal_due_date[32],
        ref_physical_con[32];
    char uut_mfg[32], uut_model[32], uut_sn[32], uut_description[32], uut_cal_type[32], uut_mte[32];
    double uut_full_scale;
    char uut_full_scale_units[16];
    double uut_error_limit;
    char uut_error_limit_units[16];
    int32_t averaging_seconds;
    char lab_manager[32];
    char comment[1024];
    EnvSample env[kMaxPoints];
};
static_assert(std::is_standard_layout<VREL_CFG>::value && std::is_trivially_copyable<VREL_CFG>::value,
              "the calibration record is copied and zeroed as bytes");
static_assert(std::is_standard_layout<TableInfo>::value, "the host reads table_info as bytes");

// Names for the report: the cell name at the start, the site name 96 bytes in.
struct CellInfo {
    char cell_name[32];
    uint8_t reserved[64];
    char site_name[16];
};
static_assert(offsetof(CellInfo, site_name) == 96, "CellInfo.site_name");

// The environment configuration; env_vars_used is its last byte.
struct EnvSettings {
    char room_temp_variable[80];
    char humidity_variable[80];
    char barometer_variable[80];
    uint8_t env_vars_used;
};
static_assert(offsetof(EnvSettings, env_vars_used) == 240 && sizeof(EnvSettings) == 241, "EnvSettings");

// Process-wide state, owned by the main window's code.
extern VREL_CFG *cfg;
extern int16_t num_points;          // points in use, rows shown
extern int32_t captured_count;      // points captured and not yet consumed by a record
extern bool blank_selection_allowed;
extern uint16_t saved_tol_state;
extern bool environment_confirmed;
extern int16_t touch_screen;        // 1 on a station with the touch-screen marker file
extern bool debug_mode;             // "-d" was given
extern int32_t averaging_count;     // scheduler ticks in one average
// The samples each point's last average held, kept beside the record
// (whose layout is the host's); 0 for a point not averaged in this run.
extern int32_t point_samples[kMaxPoints];
extern MainWindow *the_main_window;
extern CellInfo *cell_info;
extern EnvSettings *env_settings;
extern InputDevice *input_device;   // only on a touch-screen station

// The records of the three environment host variables (value at byte 64,
// units at byte 232), resolved by the environment dialog's OK; null until
// then.  The Worker averages them and the report prints their units.
extern void *room_temp_var;
extern void *barometer_var;
extern void *humidity_var;

// Change detection of the live display, kept between draws: the points of
// long_table as last drawn, and the live pair in thousandths.
extern unsigned char long_table_snapshot[ORV_LONG_TABLE_POINTS_BYTES];
extern int64_t last_mv_key;
extern int64_t last_eng_key;

// The tolerance texts, set at start-up and never changed afterwards.
extern QString mua_instance_text;
extern QString ooa_bias_text, ooa_tol_text;
extern QString oot_bias_text, oot_tol_text;
extern QString soot_bias_text, soot_tol_text;

// The selected measurement-uncertainty instance; 0 means NONE.  The
// tolerance resolution resets it when the limits' units do not fit; nothing
// reads it.
extern int16_t selected_mua_index;

// The reference data of the channel's .ref file: what was used last.
extern char hist_ref_mfg[32], hist_ref_model[32], hist_ref_ser_num[32], hist_ref_equip_num[32],
    hist_ref_cal_due_date[32], hist_ref_physical_con[32];

// Sets the tolerance texts to their start-up values.
void init_tolerance_texts();

// The same process-wide record pointer, for code that has no other way to it.
void set_cfg(VREL_CFG *record);
VREL_CFG *get_cfg();

// The whole record, but for the live monitor's mark, which the monitor
// thread writes unguarded.
void copy_record(VREL_CFG *to, const VREL_CFG *from);

// Every byte of the record zero; the mark is cleared as the monitor writes
// it, atomically, so that a heartbeat still running meets defined stores.
void clear_record(VREL_CFG *record);

// True when the absolute difference is at most 1e-6.
bool equal_within_1e6(double a, double b);

// False when nothing is unrecorded; otherwise marks pending_changes and
// returns true.  The guards on leaving a channel and on exit ask it.
bool has_unrecorded_changes(VREL_CFG *record);

// The range in use as an index: range_index, or 0 where the host left a
// value outside 0..7 (it may leave -1).
int range_in_use(const VREL_CFG *record);

// In place: removes trailing blanks and newlines, then leading blanks only
// (a leading newline stays).
void trim_text(char *text);
