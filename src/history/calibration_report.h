// The JSON twins of the utility's calibration reports, read back: one per
// recorded As-Found, As-Left or Re-use, in the channel's verifications
// folder under the report's own name with ".json".
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

struct ReportPoint {
    int step = 0;
    double set_point = 0.0, mean = 0.0, stdev = 0.0, min = 0.0, max = 0.0;
    int samples = 0; // 0: not known
    QString date, time;
    double temperature = -999999.0, pressure = -999999.0, humidity = -999999.0;
};

struct CalibrationReport {
    QString path;
    QDateTime written; // from the name's MMddyyyyhhmmss
    QString status;    // AS_FOUND, AS_LEFT or AS_FOUND/AS_LEFT
    QString cell, user, approver, site, address, comment;
    int channel = 0;
    QString channel_name, table, units;
    int averaging_seconds = 0, scheduler_tick_ms = 0;
    QString ref_manufacturer, ref_model, ref_serial, ref_equipment, ref_due, ref_connection;
    QString uut_cal_type, uut_mte, uut_manufacturer, uut_model, uut_procedure, uut_serial;
    double uut_full_scale = 0.0, uut_error_limit = 0.0;
    QString uut_full_scale_units, uut_error_limit_units;
    QString temperature_units, pressure_units, humidity_units;
    std::vector<ReportPoint> points;

    bool as_found() const { return status == QLatin1String("AS_FOUND"); }
    bool as_left() const { return !as_found(); }
};

// Reads one twin; std::nullopt with `error` set for a file that is missing,
// not JSON, or not a report.
std::optional<CalibrationReport> read_report(const QString &path, QString *error = nullptr);

// Every readable twin of a table (file stem as the utility names it) in
// `folder`, oldest first.
std::vector<CalibrationReport> channel_reports(const QString &folder, const QString &stem);

// One calibration: the As-Found before an As-Left (when there is one since
// the As-Left before), and the As-Left; or a Re-use's report alone.
struct Calibration {
    std::optional<CalibrationReport> as_found;
    CalibrationReport as_left;
};

// The newest calibration among `reports` (oldest first); nullopt when no
// report closes one.
std::optional<Calibration> newest_calibration(const std::vector<CalibrationReport> &reports);
