// What the archive says about a sensor over time: each record's errors at
// its set points, the drift of each As-Found since the As-Left before it,
// and the calibration interval a linear trend of that drift suggests.
#pragma once

#include "history_record.h"

#include <QDate>

#include <optional>
#include <vector>

// The table a record's points were read through: the newest adjusting
// record before it.  A record with no such record before it in the archive
// has no known errors.
class TableInForce {
public:
    void adopt(const HistoryRecord &adjusting);
    bool known() const { return known_; }
    // The reading the channel gave for an input of `x`.
    double convert(double x) const;

private:
    bool known_ = false;
    QString type_;
    std::vector<double> coefficients_;
    std::vector<HistoryPoint> points_; // sorted by x
};

struct PointError {
    double applied = 0.0; // set point, table units
    double reading = 0.0; // what the channel read, table units
    double error = 0.0;   // reading - applied
    double error_pct = 0.0; // |error| in % of span
    int band = 0;         // 0 no adjustment .. 3 significantly out of tolerance
};

struct RecordErrors {
    bool known = false;
    std::vector<PointError> points;
    double worst_pct = 0.0;
    int band = 0;
};

// The band an error in % of span falls in: 0.25, 1 and 2 % close the
// first three.
int band_of(double error_pct);
// Errors of a record through the table in force when it was taken; an
// adjusting record's As-Left errors are its points through its own table.
RecordErrors record_errors(const HistoryRecord &record, const TableInForce &before);

struct SetPointDrift {
    double set_point = 0.0;
    std::vector<std::pair<int64_t, double>> errors; // (time, error in table units), oldest first
};

struct AsFoundDrift {
    int64_t time = 0;          // the As-Found
    int64_t since = 0;         // the As-Left before it
    double days = 0.0;
    double worst = 0.0;        // largest |drift| of a set point, table units
    double worst_pct = 0.0;    // the same in % of span
};

struct IntervalSuggestion {
    bool known = false;
    double slope_pct_per_day = 0.0; // least squares through the origin
    double limit_pct = 0.25;        // the adjustment limit
    QDate last_as_left;
    QDate suggested;                // last_as_left + limit / slope
};

// One row of the history table: what is kept of a record once it is read.
struct RecordSummary {
    int line = 0;
    int64_t time = 0;
    QString mode, tol_state, technician, working_standard;
    int points = 0;
    bool known = false; // errors known: a table was in force before it
    double worst_pct = 0.0;
    int band = 0;
};

struct ChannelHistory {
    QString table, table_units;
    double span = 0.0; // the newest record's sensor span
    std::vector<RecordSummary> records; // oldest first
    std::vector<SetPointDrift> set_points;
    std::vector<AsFoundDrift> drifts;
    IntervalSuggestion interval;
};

class ArchiveReader;
// Reads the whole archive through `reader` (opened) and keeps only the
// summaries and drift: memory grows with the records' count, not their text.
ChannelHistory analyse_archive(ArchiveReader &reader);
// The suggestion from the As-Found drifts: a line through the origin of
// worst drift (% of span) against days since the As-Left before.
IntervalSuggestion suggest_interval(const std::vector<AsFoundDrift> &drifts, int64_t last_as_left,
                                    double limit_pct = 0.25);
