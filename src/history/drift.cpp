#include "drift.h"

#include "archive_reader.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kBandLimitsPct[3] = {0.25, 1.0, 2.0};
constexpr double kSetPointMatchPct = 0.5; // set points within this much of span are the same

double polynomial(const std::vector<double> &coefficients, double x)
{
    double value = 0.0;
    for (auto c = coefficients.rbegin(); c != coefficients.rend(); ++c)
        value = value * x + *c;
    return value;
}

double interpolate(const std::vector<HistoryPoint> &points, double x)
{
    if (points.empty())
        return NAN;
    if (points.size() == 1)
        return points.front().y;
    // The segment that holds x; beyond the ends, the end segments go on.
    size_t i = 1;
    while (i + 1 < points.size() && x > points[i].x)
        ++i;
    const HistoryPoint &a = points[i - 1], &b = points[i];
    if (b.x == a.x)
        return a.y;
    return a.y + (x - a.x) * (b.y - a.y) / (b.x - a.x);
}

double span_of(const HistoryRecord &record)
{
    const double span = record.span();
    if (std::isfinite(span) && span > 0.0)
        return span;
    const double range = record.max_range - record.min_range;
    return std::isfinite(range) && range > 0.0 ? range : NAN;
}

bool is_interpolation(const QString &type)
{
    return type == QLatin1String("INTERPOLATION") || type == QLatin1String("LONG_INTERPOLATION");
}

} // namespace

void TableInForce::adopt(const HistoryRecord &adjusting)
{
    type_ = adjusting.type;
    coefficients_.clear();
    points_.clear();
    if (is_interpolation(type_)) {
        points_ = adjusting.points;
        std::stable_sort(points_.begin(), points_.end(),
                         [](const HistoryPoint &a, const HistoryPoint &b) { return a.x < b.x; });
        known_ = !points_.empty();
    } else if (type_ == QLatin1String("POLYNOMIAL_RANGE")) {
        const size_t index = static_cast<size_t>(std::clamp(adjusting.range_index, 0, 7));
        if (index < adjusting.ranges.size() && !adjusting.ranges[index].coefficients.empty())
            coefficients_ = adjusting.ranges[index].coefficients;
        else
            for (const HistoryRange &range : adjusting.ranges)
                if (!range.coefficients.empty()) {
                    coefficients_ = range.coefficients;
                    break;
                }
        known_ = !coefficients_.empty();
    } else {
        coefficients_ = adjusting.coefficients;
        known_ = !coefficients_.empty();
    }
}

double TableInForce::convert(double x) const
{
    if (!known_)
        return NAN;
    return is_interpolation(type_) ? interpolate(points_, x) : polynomial(coefficients_, x);
}

int band_of(double error_pct)
{
    for (int band = 0; band < 3; ++band)
        if (!(error_pct > kBandLimitsPct[band])) // the limit is inside; a NaN too
            return band;
    return 3;
}

RecordErrors record_errors(const HistoryRecord &record, const TableInForce &before)
{
    RecordErrors result;
    TableInForce own;
    const TableInForce *table = &before;
    if (record.adjusting()) {
        own.adopt(record);
        table = &own;
    }
    const double span = span_of(record);
    if (!table->known() || !std::isfinite(span))
        return result;
    result.known = true;
    for (const HistoryPoint &point : record.points) {
        PointError e;
        e.applied = point.y;
        e.reading = table->convert(point.x);
        e.error = e.reading - e.applied;
        e.error_pct = std::fabs(e.error) / span * 100.0;
        e.band = band_of(e.error_pct);
        if (std::isfinite(e.error_pct))
            result.worst_pct = std::max(result.worst_pct, e.error_pct);
        result.band = std::max(result.band, e.band);
        result.points.push_back(e);
    }
    return result;
}

IntervalSuggestion suggest_interval(const std::vector<AsFoundDrift> &drifts, int64_t last_as_left, double limit_pct)
{
    IntervalSuggestion suggestion;
    suggestion.limit_pct = limit_pct;
    double dd = 0.0, dw = 0.0;
    for (const AsFoundDrift &d : drifts)
        if (d.days > 0.0 && std::isfinite(d.worst_pct)) {
            dd += d.days * d.days;
            dw += d.days * d.worst_pct;
        }
    if (dd <= 0.0 || last_as_left <= 0)
        return suggestion;
    suggestion.slope_pct_per_day = dw / dd;
    if (!(suggestion.slope_pct_per_day > 0.0))
        return suggestion;
    suggestion.known = true;
    suggestion.last_as_left = QDateTime::fromSecsSinceEpoch(last_as_left).date();
    const double days = limit_pct / suggestion.slope_pct_per_day;
    suggestion.suggested = suggestion.last_as_left.addDays(static_cast<qint64>(std::min(std::floor(days), 36500.0)));
    return suggestion;
}

namespace {

// The last As-Left's errors by set point, to take each As-Found's drift from.
struct AsLeftState {
    int64_t time = 0;
    std::vector<PointError> points;
};

const PointError *matching(const std::vector<PointError> &points, double applied, double span)
{
    const PointError *best = nullptr;
    for (const PointError &p : points)
        if (std::fabs(p.applied - applied) <= span * kSetPointMatchPct / 100.0 &&
            (!best || std::fabs(p.applied - applied) < std::fabs(best->applied - applied)))
            best = &p;
    return best;
}

void add_to_series(std::vector<SetPointDrift> &series, const RecordErrors &errors, int64_t time, double span)
{
    for (const PointError &p : errors.points) {
        auto found = std::find_if(series.begin(), series.end(), [&](const SetPointDrift &s) {
            return std::fabs(s.set_point - p.applied) <= span * kSetPointMatchPct / 100.0;
        });
        if (found == series.end()) {
            series.push_back({p.applied, {}});
            found = series.end() - 1;
        }
        found->errors.emplace_back(time, p.error);
    }
}

} // namespace

ChannelHistory analyse_archive(ArchiveReader &reader)
{
    ChannelHistory history;
    TableInForce table;
    AsLeftState as_left;
    bool have_as_left = false;
    HistoryRecord record;
    while (reader.next(record)) {
        const RecordErrors errors = record_errors(record, table);
        const double span = span_of(record);
        history.table = record.table;
        history.table_units = record.table_units;
        history.span = std::isfinite(span) ? span : 0.0;

        RecordSummary row;
        row.line = record.line;
        row.time = record.time;
        row.mode = record.mode;
        row.tol_state = record.tol_state;
        row.technician = record.technician;
        row.working_standard = record.working_standard;
        row.points = static_cast<int>(record.points.size());
        row.known = errors.known;
        row.worst_pct = errors.worst_pct;
        row.band = errors.band;
        history.records.push_back(row);

        if (errors.known && std::isfinite(span)) {
            add_to_series(history.set_points, errors, record.time, span);
            if (record.as_found() && have_as_left) {
                AsFoundDrift drift;
                drift.time = record.time;
                drift.since = as_left.time;
                drift.days = static_cast<double>(record.time - as_left.time) / 86400.0;
                bool any = false;
                for (const PointError &p : errors.points) {
                    const PointError *left = matching(as_left.points, p.applied, span);
                    if (!left || !std::isfinite(p.error) || !std::isfinite(left->error))
                        continue;
                    const double d = std::fabs(p.error - left->error);
                    drift.worst = std::max(drift.worst, d);
                    any = true;
                }
                drift.worst_pct = drift.worst / span * 100.0;
                if (any)
                    history.drifts.push_back(drift);
            }
            if (record.as_left()) {
                as_left.time = record.time;
                as_left.points = errors.points;
                have_as_left = true;
            }
        }
        if (record.adjusting())
            table.adopt(record);
    }
    std::sort(history.set_points.begin(), history.set_points.end(),
              [](const SetPointDrift &a, const SetPointDrift &b) { return a.set_point < b.set_point; });
    history.interval = suggest_interval(history.drifts, have_as_left ? as_left.time : 0);
    return history;
}
