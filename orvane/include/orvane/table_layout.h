/* Orvane table blocks: the memory layout that the host's table library
 * reads and writes, and that its guests share.  Offsets are the host's;
 * every listed one is checked here.  Fields named reserved* belong to the
 * host and are not touched by guests.
 */
#ifndef ORVANE_TABLE_LAYOUT_H
#define ORVANE_TABLE_LAYOUT_H

#include "common.h"

#define ORV_MAX_POINTS 64
#define ORV_MAX_RANGES 8
#define ORV_MAX_COEFFS 8

/* Table-type codes. */
enum orv_table_type {
    ORV_INTERPOLATION = 0, /* also LONG_INTERPOLATION */
    ORV_POLYNOMIAL = 1,
    ORV_SCALED = 2,
    ORV_2D_INTERPOLATION = 4,
    ORV_LOCAL_2D_INTERPOLATION = 5,
    ORV_HYPERBOLIC = 6,
    ORV_POLYNOMIAL_RANGE = 7
};

typedef struct RawData {
    double x[ORV_MAX_POINTS]; /* raw (millivolt) value of each point */
    double y[ORV_MAX_POINTS]; /* engineering value of each point */
    int16_t count;            /* points in use */
    uint8_t reserved[6];
} RawData;
ORV_CHECK_SIZE(RawData, 1032);

typedef struct TablePoly {
    int16_t num_coeff; /* coefficients in use: polynomial order + 1 */
    int16_t range;     /* index of this range */
    uint8_t reserved0[4];
    double coeff[ORV_MAX_COEFFS]; /* C0 .. C7, constant first */
    double bias;
    double gain;
    double vz_x;
    double vz_y;
    double vs_x;
    double vs_y;
    double calz_x; /* millivolts at hardware zero; not used by guests */
    double cals_x; /* millivolts at hardware span; not used by guests */
    double min;
    double max;
    RawData raw_data;
} TablePoly;
ORV_CHECK_SIZE(TablePoly, 1184);
ORV_CHECK_OFFSET(TablePoly, num_coeff, 0);
ORV_CHECK_OFFSET(TablePoly, range, 2);
ORV_CHECK_OFFSET(TablePoly, coeff, 8);
ORV_CHECK_OFFSET(TablePoly, bias, 72);
ORV_CHECK_OFFSET(TablePoly, gain, 80);
ORV_CHECK_OFFSET(TablePoly, vz_x, 88);
ORV_CHECK_OFFSET(TablePoly, vz_y, 96);
ORV_CHECK_OFFSET(TablePoly, vs_x, 104);
ORV_CHECK_OFFSET(TablePoly, vs_y, 112);
ORV_CHECK_OFFSET(TablePoly, min, 136);
ORV_CHECK_OFFSET(TablePoly, max, 144);
ORV_CHECK_OFFSET(TablePoly, raw_data.x, 152);
ORV_CHECK_OFFSET(TablePoly, raw_data.y, 664);
ORV_CHECK_OFFSET(TablePoly, raw_data.count, 1176);

typedef struct LongTable {
    double x[ORV_MAX_POINTS]; /* raw value of each point, ascending */
    double y[ORV_MAX_POINTS]; /* engineering value */
    double slope[ORV_MAX_POINTS];       /* of the segment from point i to i + 1 */
    double x_intercept[ORV_MAX_POINTS]; /* where that segment crosses y = 0 */
    double y_intercept[ORV_MAX_POINTS]; /* that segment's y at x = 0 */
    int16_t count;
    uint8_t reserved0[4620];
    int16_t host_count; /* the host's own count */
    uint8_t reserved1[288];
} LongTable;
ORV_CHECK_SIZE(LongTable, 7472);
ORV_CHECK_OFFSET(LongTable, x, 0);
ORV_CHECK_OFFSET(LongTable, y, 512);
ORV_CHECK_OFFSET(LongTable, slope, 1024);
ORV_CHECK_OFFSET(LongTable, x_intercept, 1536);
ORV_CHECK_OFFSET(LongTable, y_intercept, 2048);
ORV_CHECK_OFFSET(LongTable, count, 2560);
ORV_CHECK_OFFSET(LongTable, host_count, 7182);

/* The first bytes of a LongTable that hold its points, segments and count. */
#define ORV_LONG_TABLE_POINTS_BYTES 2568

typedef struct DynoCal {
    double x[ORV_MAX_POINTS];
    double y[ORV_MAX_POINTS];
    uint8_t reserved0[1536];
    int16_t count;
    uint8_t reserved1[6];
    int16_t dyno_cal_type;
    uint8_t reserved2[6];
} DynoCal;
ORV_CHECK_SIZE(DynoCal, 2576);
ORV_CHECK_OFFSET(DynoCal, y, 512);
ORV_CHECK_OFFSET(DynoCal, count, 2560);
ORV_CHECK_OFFSET(DynoCal, dyno_cal_type, 2568);

typedef struct TableDim {
    TablePoly table_poly[ORV_MAX_RANGES]; /* range 0 serves every type but POLYNOMIAL_RANGE */
    uint8_t reserved[8176];               /* the host's other table variants */
} TableDim;
ORV_CHECK_SIZE(TableDim, 17648);

/* The table_info block: one channel's calibration as the host reads it. */
typedef struct TableInfo {
    TableDim dim;
    DynoCal dyno_cal;
    double min_range;
    double max_range;
    double tbl_tol;
    char tol_units[16];
    int64_t last_cal;     /* time_t of the last calibration */
    int64_t cal_interval; /* seconds */
    int16_t range_index;
    int16_t tbl_type;
    uint8_t reserved0[4];
    char tbl_desc[32];
    char working_standard[32];
    char technician[32];
    char user_comment[80];
    char sensor_model[32];
    char sensor_sn[32];
    double sensor_range_lower_limit;
    double sensor_range_upper_limit;
    char sensor_range_units[16];
    char tbl_name[80];
    char tbl_units[16];
    char x_units[96];
    char mua_instance_name[80];
    double no_adjust_bias, no_adjust_tol;
    uint8_t reserved_no_adjust[112];
    double oot_bias, oot_tol;
    uint8_t reserved_oot[112];
    double soot_bias, soot_tol;
    uint8_t reserved_soot[112];
    double y_intercept_bias, y_intercept_tol;
    uint8_t reserved_y_intercept[112];
    double linearity_bias, linearity_tol;
    uint8_t reserved_linearity[112];
    double hysteresis_bias, hysteresis_tolerance;
    uint8_t reserved_hysteresis[112];
    uint8_t reserved_group[128];
    uint16_t cal_mode;
    uint16_t tol_state;
    uint8_t reserved1[4];
    uint16_t point_flags[ORV_MAX_POINTS];
} TableInfo;
ORV_CHECK_SIZE(TableInfo, 21864);
ORV_CHECK_OFFSET(TableInfo, dim.table_poly, 0);
ORV_CHECK_OFFSET(TableInfo, dim.reserved, 9472);
ORV_CHECK_OFFSET(TableInfo, dyno_cal, 17648);
ORV_CHECK_OFFSET(TableInfo, dyno_cal.count, 17648 + 2560);
ORV_CHECK_OFFSET(TableInfo, min_range, 20224);
ORV_CHECK_OFFSET(TableInfo, max_range, 20232);
ORV_CHECK_OFFSET(TableInfo, tbl_tol, 20240);
ORV_CHECK_OFFSET(TableInfo, tol_units, 20248);
ORV_CHECK_OFFSET(TableInfo, last_cal, 20264);
ORV_CHECK_OFFSET(TableInfo, cal_interval, 20272);
ORV_CHECK_OFFSET(TableInfo, range_index, 20280);
ORV_CHECK_OFFSET(TableInfo, tbl_type, 20282);
ORV_CHECK_OFFSET(TableInfo, tbl_desc, 20288);
ORV_CHECK_OFFSET(TableInfo, working_standard, 20320);
ORV_CHECK_OFFSET(TableInfo, technician, 20352);
ORV_CHECK_OFFSET(TableInfo, user_comment, 20384);
ORV_CHECK_OFFSET(TableInfo, sensor_model, 20464);
ORV_CHECK_OFFSET(TableInfo, sensor_sn, 20496);
ORV_CHECK_OFFSET(TableInfo, sensor_range_lower_limit, 20528);
ORV_CHECK_OFFSET(TableInfo, sensor_range_upper_limit, 20536);
ORV_CHECK_OFFSET(TableInfo, sensor_range_units, 20544);
ORV_CHECK_OFFSET(TableInfo, tbl_name, 20560);
ORV_CHECK_OFFSET(TableInfo, tbl_units, 20640);
ORV_CHECK_OFFSET(TableInfo, x_units, 20656);
ORV_CHECK_OFFSET(TableInfo, mua_instance_name, 20752);
ORV_CHECK_OFFSET(TableInfo, no_adjust_bias, 20832);
ORV_CHECK_OFFSET(TableInfo, no_adjust_tol, 20840);
ORV_CHECK_OFFSET(TableInfo, oot_bias, 20960);
ORV_CHECK_OFFSET(TableInfo, oot_tol, 20968);
ORV_CHECK_OFFSET(TableInfo, soot_bias, 21088);
ORV_CHECK_OFFSET(TableInfo, soot_tol, 21096);
ORV_CHECK_OFFSET(TableInfo, y_intercept_bias, 21216);
ORV_CHECK_OFFSET(TableInfo, linearity_bias, 21344);
ORV_CHECK_OFFSET(TableInfo, hysteresis_bias, 21472);
ORV_CHECK_OFFSET(TableInfo, hysteresis_tolerance, 21480);
ORV_CHECK_OFFSET(TableInfo, reserved_group, 21600);
ORV_CHECK_OFFSET(TableInfo, cal_mode, 21728);
ORV_CHECK_OFFSET(TableInfo, tol_state, 21730);
ORV_CHECK_OFFSET(TableInfo, point_flags, 21736);

#endif
