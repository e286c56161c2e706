// One calibration event as the channel's archive (<table>.save) holds it:
// the fields of a history record's data line, its points, and the ranges of
// its .poly_range sibling where it has one.
#pragma once

#include <QString>

#include <cstdint>
#include <vector>

struct HistoryPoint {
    double x = 0.0; // the averaged input, in x_units (mV)
    double y = 0.0; // the value applied, in table units
};

struct HistoryRange {
    std::vector<double> coefficients; // lowest order first; empty: unused range
    std::vector<HistoryPoint> points;
};

struct HistoryRecord {
    int line = 0;         // the record's first line in the archive, from 1
    int64_t time = 0;     // current_time_t
    QString time_text;    // "%r %D" as written
    QString mode;         // cal_mode word: AS_FOUND, ADJUSTED, VERIFICATION, REUSE, ...
    QString tol_state;    // NOADJ, OOA, OOT or SOOT
    QString table;        // tbl_name
    QString type;         // table-type word: POLYNOMIAL, INTERPOLATION, POLYNOMIAL_RANGE, ...
    double table_tolerance = 0.0;
    QString comment;
    double y_intercept_bias = 0.0, y_intercept_tol = 0.0;
    double linearity_bias = 0.0, linearity_tol = 0.0;
    double hysteresis_bias = 0.0, hysteresis_tol = 0.0;
    QString sensor_model, sensor_serial, sensor_range_units;
    double sensor_lower = 0.0, sensor_upper = 0.0;
    double min_range = 0.0, max_range = 0.0;
    QString technician, working_standard, x_units, table_units;
    QString mua_instance, description;
    // The table the record carries: the coefficients of range_index for
    // every type but POLYNOMIAL_RANGE, whose ranges come from range_file.
    int range_index = 0;
    std::vector<double> coefficients;
    QString range_file;
    std::vector<HistoryRange> ranges; // the sibling's eight ranges, when it was read
    std::vector<HistoryPoint> points;

    double span() const { return sensor_upper - sensor_lower; }
    // As-Left: the state the channel was left in (an adjustment or a verification).
    bool as_left() const;
    bool as_found() const { return mode == QLatin1String("AS_FOUND"); }
    // A record that put a new table in force.
    bool adjusting() const;
};

// The words a technician reads for a mode: "As-Found", "Adjusted", ...
QString mode_title(const QString &mode);
