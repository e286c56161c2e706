#include "cell_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace orvsim {

double ChannelSpec::eng_of_mv(double mv) const
{
    double result = 0.0;
    for (auto c = coefficients.rbegin(); c != coefficients.rend(); ++c)
        result = result * mv + *c;
    return result;
}

double ChannelSpec::span() const
{
    return std::fabs(eng_upper() - eng_lower());
}

double ChannelSpec::error_at(double physical) const
{
    double s = span();
    if (s <= 0.0)
        return 0.0;
    double lower = std::min(eng_lower(), eng_upper());
    return s * (zero_pct + drift_pct * (physical - lower) / s) / 100.0;
}

double ChannelSpec::mv_for(double physical) const
{
    const double target = physical + error_at(physical);
    const double lo = mv_lower, hi = mv_upper;
    const double e_lo = eng_of_mv(lo), e_hi = eng_of_mv(hi);
    if (e_lo == e_hi)
        return lo;
    const bool rising = e_hi > e_lo;
    // Outside the table's range the sensor goes on along its end slope.
    if ((rising && target < e_lo) || (!rising && target > e_lo))
        return lo + (target - e_lo) * (hi - lo) / (e_hi - e_lo);
    if ((rising && target > e_hi) || (!rising && target < e_hi))
        return hi + (target - e_hi) * (hi - lo) / (e_hi - e_lo);
    double a = lo, b = hi;
    for (int i = 0; i < 200 && b - a > 1e-13 * (1.0 + std::fabs(a)); ++i) {
        double m = 0.5 * (a + b);
        if ((eng_of_mv(m) < target) == rising)
            a = m;
        else
            b = m;
    }
    return 0.5 * (a + b);
}

double VariableSpec::value_at(double seconds) const
{
    if (period_s <= 0.0)
        return mean;
    return mean + amplitude * std::sin(2.0 * M_PI * seconds / period_s);
}

int CellSpec::channel_count() const
{
    int count = 0;
    for (const auto &c : channels)
        count = std::max(count, c.number + 1);
    return count;
}

const ChannelSpec *CellSpec::channel(int number) const
{
    for (const auto &c : channels)
        if (c.number == number)
            return &c;
    return nullptr;
}

namespace {

ChannelSpec make_channel(int number, const char *name, const char *units, const char *table, const char *type,
                         std::vector<double> coefficients, double mv_lower, double mv_upper, double drift_pct,
                         double zero_pct, double applied, int active = 1)
{
    ChannelSpec c;
    c.number = number;
    c.name = name;
    c.units = units;
    c.table = table;
    c.type = type;
    c.coefficients = std::move(coefficients);
    c.mv_lower = mv_lower;
    c.mv_upper = mv_upper;
    c.drift_pct = drift_pct;
    c.zero_pct = zero_pct;
    c.applied = applied;
    c.active = active;
    char serial[32];
    std::snprintf(serial, sizeof serial, "SN-%05d", 41000 + number * 37);
    c.sensor_sn = serial;
    return c;
}

std::vector<VariableSpec> room_variables()
{
    return {
        {"instr_t", "C", 22.0, 0.6, 900.0},
        {"barometer", "KPA", 98.7, 0.15, 1800.0},
        {"instr_rel_hum", "PCT", 45.0, 3.0, 1200.0},
    };
}

bool parse_number(const std::string &text, double &value)
{
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    in >> value;
    return !in.fail() && (in >> std::ws).eof();
}

bool parse_list(const std::string &text, std::vector<double> &values)
{
    values.clear();
    std::string item;
    std::istringstream in(text);
    while (std::getline(in, item, ',')) {
        double v = 0.0;
        if (!parse_number(item, v))
            return false;
        values.push_back(v);
    }
    return !values.empty();
}

bool parse_int(const std::string &text, int &value)
{
    double v = 0.0;
    if (!parse_number(text, v) || v != std::floor(v) || std::fabs(v) > 1e9)
        return false;
    value = static_cast<int>(v);
    return true;
}

bool read_channel(const IniSection &section, ChannelSpec &c, IniError &error)
{
    auto fail = [&](const std::string &reason) {
        error = {section.line, "[" + section.name + "]: " + reason};
        return false;
    };
    for (const auto &[key, value] : section.entries) {
        if (key == "name")
            c.name = value;
        else if (key == "units")
            c.units = value;
        else if (key == "table")
            c.table = value;
        else if (key == "type") {
            if (value != "INTERPOLATION" && value != "POLYNOMIAL" && value != "POLYNOMIAL_RANGE" &&
                value != "SCALED")
                return fail("unknown table type '" + value + "'");
            c.type = value;
        } else if (key == "active") {
            if (!parse_int(value, c.active))
                return fail("active must be a whole number");
        } else if (key == "coefficients") {
            if (!parse_list(value, c.coefficients) || c.coefficients.size() > 8)
                return fail("coefficients must be 1 to 8 numbers");
        } else if (key == "mv_range") {
            std::vector<double> range;
            if (!parse_list(value, range) || range.size() != 2 || range[0] >= range[1])
                return fail("mv_range must be two ascending numbers");
            c.mv_lower = range[0];
            c.mv_upper = range[1];
        } else if (key == "points") {
            if (!parse_int(value, c.points) || c.points < 2 || c.points > 64)
                return fail("points must be 2 to 64");
        } else if (key == "drift_pct" || key == "zero_pct" || key == "applied") {
            double v = 0.0;
            if (!parse_number(value, v))
                return fail(key + " must be a number");
            (key == "drift_pct" ? c.drift_pct : key == "zero_pct" ? c.zero_pct : c.applied) = v;
        } else if (key == "sensor_model")
            c.sensor_model = value;
        else if (key == "sensor_sn")
            c.sensor_sn = value;
        else
            return fail("unknown key '" + key + "'");
    }
    if (c.type == "SCALED" && (c.coefficients.size() != 2 || c.coefficients[0] != 0.0))
        return fail("a SCALED channel needs coefficients 0, factor");
    return true;
}

} // namespace

CellSpec default_cell()
{
    CellSpec cell;
    cell.channels = {
        make_channel(0, "OIL TEMP IN", "C", "oil_temp_in", "INTERPOLATION", {-10, 16}, 0, 10, 0.10, 0.02, 20),
        make_channel(1, "OIL TEMP OUT", "C", "oil_temp_out", "INTERPOLATION", {-10, 16}, 0, 10, 0.05, -0.03, 20),
        make_channel(2, "COOLANT TEMP", "C", "coolant_temp", "INTERPOLATION", {-20, 14}, 0, 10, 0.60, 0.10, 20),
        make_channel(3, "FUEL TEMP", "C", "fuel_temp", "INTERPOLATION", {-20, 14}, 0, 10, 0.05, 0.0, 20, 0),
        make_channel(4, "OIL PRESS", "KPA", "oil_press", "POLYNOMIAL", {0, 9.5, 0.005}, 0, 100, 0.12, 0.0, 0),
        make_channel(5, "FUEL PRESS", "KPA", "fuel_press", "INTERPOLATION", {0, 60}, 0, 10, 1.50, 0.20, 0),
        make_channel(6, "INTAKE MANIFOLD PRESS", "KPA", "intake_press", "POLYNOMIAL_RANGE", {0, 3.0, 0.0001}, 0,
                     100, 0.08, 0.0, 100),
        make_channel(7, "EXHAUST BACK PRESS", "KPA", "exh_back_press", "SCALED", {0, 0.5}, 0, 100, 0.10, 0.0, 0),
        make_channel(8, "THROTTLE POSITION", "PCT", "throttle_pos", "INTERPOLATION", {-12.5, 0.025}, 500, 4500,
                     0.40, 0.0, 0),
        make_channel(9, "DYNO TORQUE", "NM", "dyno_torque", "INTERPOLATION", {0, 100}, 0, 20, 0.15, 0.0, 0),
        make_channel(10, "FUEL FLOW", "KG/HR", "fuel_flow", "POLYNOMIAL", {0, 0.05, 2e-6}, 0, 5000, 0.20, 0.0, 0),
        make_channel(11, "AIR FLOW", "KG/HR", "air_flow", "INTERPOLATION", {0, 150}, 0, 10, 0.10, 0.0, 0, 2),
        make_channel(12, "ENGINE SPEED", "RPM", "engine_speed", "INTERPOLATION", {0, 0.8}, 0, 10000, 0.02, 0.0, 0),
        make_channel(13, "SPARE 13", "", "", "INTERPOLATION", {0, 1}, 0, 10, 0, 0, 0, 0),
        make_channel(14, "INTAKE AIR TEMP", "C", "intake_air_temp", "INTERPOLATION", {-40, 12}, 0, 10, 0.18, 0.0,
                     20),
        make_channel(15, "BLOWBY FLOW", "L/MIN", "blowby_flow", "INTERPOLATION", {0, 20}, 0, 10, -0.20, 0.0, 0),
    };
    cell.channels[4].sensor_model = "SIM-PT500";
    cell.channels[10].sensor_model = "SIM-CORIOLIS";
    cell.variables = room_variables();
    return cell;
}

bool cell_from_ini(const IniDocument &doc, CellSpec &cell, IniError &error)
{
    cell = CellSpec{};
    error = IniError{};
    for (const auto &section : doc.sections) {
        if (section.name == "cell") {
            for (const auto &[key, value] : section.entries) {
                double v = 0.0;
                if (key == "name")
                    cell.cell_name = value;
                else if (key == "site")
                    cell.site_name = value;
                else if (key == "tick_ms") {
                    if (!parse_int(value, cell.tick_ms) || cell.tick_ms < 1 || cell.tick_ms > 10000) {
                        error = {section.line, "[cell]: tick_ms must be 1 to 10000"};
                        return false;
                    }
                } else if (key == "noise_pct" && parse_number(value, v) && v >= 0.0)
                    cell.noise_pct = v;
                else if (key == "seed" && parse_number(value, v) && v >= 0.0)
                    cell.seed = static_cast<uint64_t>(v);
                else {
                    error = {section.line, "[cell]: bad or unknown key '" + key + "'"};
                    return false;
                }
            }
        } else if (section.name.rfind("channel ", 0) == 0) {
            ChannelSpec c;
            if (!parse_int(section.name.substr(8), c.number) || c.number < 0 || c.number >= 512) {
                error = {section.line, "channel number must be 0 to 511"};
                return false;
            }
            if (cell.channel(c.number)) {
                error = {section.line, "channel described twice"};
                return false;
            }
            if (!read_channel(section, c, error))
                return false;
            cell.channels.push_back(c);
        } else if (section.name.rfind("variable ", 0) == 0) {
            VariableSpec v;
            v.name = section.name.substr(9);
            for (const auto &[key, value] : section.entries) {
                bool ok = true;
                if (key == "units")
                    v.units = value;
                else if (key == "mean")
                    ok = parse_number(value, v.mean);
                else if (key == "amplitude")
                    ok = parse_number(value, v.amplitude);
                else if (key == "period_s")
                    ok = parse_number(value, v.period_s);
                else
                    ok = false;
                if (!ok) {
                    error = {section.line, "[" + section.name + "]: bad or unknown key '" + key + "'"};
                    return false;
                }
            }
            cell.variables.push_back(v);
        } else {
            error = {section.line, "unknown section [" + section.name + "]"};
            return false;
        }
    }
    std::sort(cell.channels.begin(), cell.channels.end(),
              [](const ChannelSpec &a, const ChannelSpec &b) { return a.number < b.number; });
    if (cell.variables.empty())
        cell.variables = room_variables();
    return true;
}

} // namespace orvsim
