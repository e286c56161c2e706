#include "demo_history.h"

#include "archivetext.h"
#include "demo_tables.h"

#include <orvane/tables.h>

#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

namespace orvsim {

namespace {

constexpr std::time_t kDay = 86400;
constexpr int kCalibrations = 8;
constexpr int kSetPoints = 5;

struct Point {
    double x, y;
};

template <typename... Args> std::string format(const char *fmt, Args... args)
{
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, fmt, args...);
    return buffer;
}

// The words a record carries for the worst error in % of span, and the
// table tolerance each fixes.
struct TolState {
    const char *word;
    double tolerance;
};

TolState tol_state_for(double worst_pct)
{
    if (worst_pct <= 0.25)
        return {"NOADJ", 0.25};
    if (worst_pct <= 1.0)
        return {"OOA", 0.25};
    if (worst_pct <= 2.0)
        return {"OOT", 1.0};
    return {"SOOT", 2.0};
}

class DemoArchive {
public:
    explicit DemoArchive(const ChannelSpec &channel) : c_(channel), exact_(channel)
    {
        exact_.drift_pct = exact_.zero_pct = 0.0; // the table's own inverse
        lower_ = std::fmin(c_.eng_lower(), c_.eng_upper());
        span_ = c_.span();
        seed_ = 0x9E3779B9u * static_cast<unsigned>(c_.number + 1);
    }

    // A sensor that drifted `pct` of span at the top and a fifth of that at
    // the bottom reads its set points so.
    std::vector<Point> as_found(double pct) const
    {
        std::vector<Point> points;
        for (double y : set_points()) {
            const double error = span_ * pct / 100.0 * (0.2 + 0.8 * (y - lower_) / span_);
            points.push_back({exact_.mv_for(y + error), y});
        }
        return points;
    }

    // The points an adjustment or verification records: on the table.
    std::vector<Point> on_table() const
    {
        std::vector<Point> points;
        const int count = c_.type == "INTERPOLATION" ? c_.points : kSetPoints;
        for (int i = 0; i < count; ++i) {
            const double mv = c_.mv_lower + (c_.mv_upper - c_.mv_lower) * i / (count - 1);
            points.push_back({std::atof(format("%8.5f", mv).c_str()),
                              std::atof(format("%8.5f", c_.eng_of_mv(mv)).c_str())});
        }
        return points;
    }

    double worst_pct(const std::vector<Point> &points) const
    {
        double worst = 0.0;
        for (const Point &p : points)
            worst = std::fmax(worst, std::fabs(c_.eng_of_mv(p.x) - p.y) / span_ * 100.0);
        return worst;
    }

    // Deterministic from the channel: from 0.85 to 1.15.
    double jitter()
    {
        seed_ = seed_ * 1103515245u + 12345u;
        return 0.85 + 0.3 * static_cast<double>((seed_ >> 8) % 1000) / 999.0;
    }

    std::string record(std::time_t when, const char *mode, const std::vector<Point> &points, const char *state,
                       double table_tolerance, const char *technician) const;

private:
    std::vector<double> set_points() const
    {
        std::vector<double> values;
        for (int i = 0; i < kSetPoints; ++i)
            values.push_back(lower_ + span_ * i / (kSetPoints - 1));
        return values;
    }

    const ChannelSpec &c_;
    ChannelSpec exact_;
    double lower_ = 0.0, span_ = 1.0;
    unsigned seed_ = 1;
};

std::string DemoArchive::record(std::time_t when, const char *mode, const std::vector<Point> &points,
                                const char *state, double table_tolerance, const char *technician) const
{
    std::string text = std::string(kArchiveRecordStart) + kArchiveFieldNames + kArchiveCoefficientNames;
    for (size_t i = 0; i < points.size(); ++i)
        text += format("# channel->table_info.dim.table_poly[0].raw_data.x[%d] "
                       "channel->table_info.dim.table_poly[0].raw_data.y[%d]\n",
                       static_cast<int>(i), static_cast<int>(i));
    std::tm local {};
    localtime_r(&when, &local);
    char time_text[40];
    std::strftime(time_text, sizeof time_text, "%r %D", &local);
    double min = 999999.0, max = -999999.0;
    for (const Point &p : points) {
        min = std::fmin(min, p.y);
        max = std::fmax(max, p.y);
    }
    const double lower = std::fmin(c_.eng_lower(), c_.eng_upper()), upper = std::fmax(c_.eng_lower(), c_.eng_upper());
    const char *units = c_.units.c_str();
    text += format("\n%ld \"%s\" '%s' '%s' \"%s\" \\\n \"%s\" \"%.6g\" \"%s\" \\\n   \"%s\" \\\n", static_cast<long>(when),
                   time_text, mode, state, c_.table.c_str(), c_.type.c_str(), table_tolerance, "PCT",
                   "demo history");
    text += "   \"0[PCT]\"   \".25[PCT]\" \\\n   \"0[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   \"2[PCT]\" \\\n";
    text += "   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n";
    text += format("   \"%s\" \"%s\" \"%s\" \\\n", c_.sensor_model.c_str(), c_.sensor_sn.c_str(), units);
    text += format("   \"%.6g[%s]\" \"%.6g[%s]\" \\\n", lower, units, upper, units);
    text += format("   \"%.6g[%s]\" \"%.6g[%s]\" \\\n", min, units, max, units);
    text += format("   \"%s\" \"%s\" \"%s\" \"%s\" \\\n", technician, "QIE-17 rev 3", "MV", units);
    std::string coefficients = " 0 ";
    if (c_.type == "POLYNOMIAL")
        for (double k : c_.coefficients)
            coefficients += format("%.10g ", k);
    text += format(" \"%s\"  \\\n \"%s\" \"%s\"  ", coefficients.c_str(), "none", c_.name.substr(0, 31).c_str());
    for (const Point &p : points)
        text += format(" \\\n   %10.6g %10.6g", p.x, p.y);
    return text + "\n\n";
}

bool has_demo_history(const ChannelSpec &c)
{
    return !c.table.empty() && c.table.find('/') == std::string::npos &&
           (c.type == "INTERPOLATION" || c.type == "POLYNOMIAL") && c.span() > 0.0;
}

} // namespace

std::string demo_history_text(const ChannelSpec &channel, std::time_t last_cal)
{
    if (!has_demo_history(channel))
        return {};
    DemoArchive archive(channel);
    static const char *const technicians[] = {"R. Okafor", "L. Brandt", "T. Varga"};
    const double drift = std::fabs(channel.drift_pct) > 0.0 ? std::fabs(channel.drift_pct) : 0.1;
    std::string text;
    for (int k = 0; k < kCalibrations; ++k) {
        const std::time_t when = last_cal - static_cast<std::time_t>(kCalibrations - 1 - k) * 182 * kDay;
        const char *technician = technicians[k % 3];
        const std::vector<Point> table = archive.on_table();
        if (k > 0) {
            // The drift of one interval, growing a little as the sensor ages.
            const std::vector<Point> found = archive.as_found(drift * (0.7 + 0.05 * k) * archive.jitter());
            const TolState state = tol_state_for(archive.worst_pct(found));
            text += archive.record(when, "AS_FOUND", found, state.word, state.tolerance, technician);
            text += archive.record(when + 3600, "ADJUSTED", table, state.word, state.tolerance, technician);
        } else {
            text += archive.record(when, "ADJUSTED", table, "NOADJ", 0.25, technician);
        }
        text += archive.record(when + 7200, "VERIFICATION", table, "NOADJ", 0.25, technician);
    }
    return text;
}

// The last_cal of a table file as the host reads it, or fallback where
// the file does not read.
static std::time_t table_last_cal(const std::string &path, std::time_t fallback)
{
    auto table = std::make_unique<TableInfo>();
    return (read_table(path.c_str(), table.get()) & 0xFFFF) != 0xFFFF && table->last_cal > 0
               ? static_cast<std::time_t>(table->last_cal)
               : fallback;
}

int write_demo_histories(const CellSpec &cell, const std::string &tables_dir, std::time_t now)
{
    int written = 0;
    for (const auto &c : cell.channels) {
        if (!has_demo_history(c))
            continue;
        const std::string path = tables_dir + "/" + c.table + ".save";
        struct stat st {};
        if (stat(path.c_str(), &st) == 0)
            continue;
        // A table written on an earlier day keeps its date: the history
        // ends with that table's calibration, not with one made today.
        const std::time_t last_cal =
            table_last_cal(tables_dir + "/" + c.table + ".tbl", demo_last_calibration(now));
        std::ofstream out(path);
        out << demo_history_text(c, last_cal);
        if (out)
            ++written;
    }
    return written;
}

} // namespace orvsim
