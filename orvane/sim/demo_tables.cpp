#include "demo_tables.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace orvsim {

namespace {

template <typename... Args> std::string format(const char *fmt, Args... args)
{
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, fmt, args...);
    return buffer;
}

const long kInterval = 15724800; // 26 weeks

std::string header_sections(const ChannelSpec &c, std::time_t last_cal, bool limits)
{
    std::string text;
    std::tm local {};
    localtime_r(&last_cal, &local);
    char when[64];
    asctime_r(&local, when);
    std::time_t due = last_cal + kInterval;
    std::tm due_local {};
    localtime_r(&due, &due_local);
    char due_text[40];
    std::strftime(due_text, sizeof due_text, "%x", &due_local);

    text += "# user comment\nsimulated cell demo table\n\n";
    text += format("#     last calibrated on: %s", when);
    text += format("#next calibration due on: %s\n\n#last_cal(time_t)        cal_interval\n %ld               %ld[week]\n\n",
                   due_text, static_cast<long>(last_cal), kInterval / 604800);
    text += "#Working Standard\nnone\n\n#Technician\nnone\n\n";
    text += "#Description\n" + c.name + "\n\n";
    text += format("#calibration units\n#eng_units          raw_units\n  %s                 %s\n\n", c.units.c_str(), "MV");
    double lower = c.eng_lower(), upper = c.eng_upper();
    if (limits)
        text += format("# calibration limits\n#  min_cal_range        max_cal_range      tolerance   tolerance_units\n"
                       "%8.2f[%s]    %8.2f[%s]    %8.2f       %s\n\n",
                       lower, c.units.c_str(), upper, c.units.c_str(), 0.25, "PCT");
    text += "#MUA Instance Name\nnone\n\n";
    text += "#Sensor Model\n" + c.sensor_model + "\n\n";
    text += "#Sensor Serial Number\n" + c.sensor_sn + "\n\n";
    text += "#Sensor Range Units\n" + c.units + "\n\n";
    text += format("#Sensor range limits\n#  lower_limit         upper_limit\n%8.2f[%s]     %8.2f[%s]\n\n", lower,
                   c.units.c_str(), upper, c.units.c_str());
    text += format("#type_code\n%-24s\n\n", c.type.c_str());
    return text;
}

} // namespace

std::string demo_table_text(const ChannelSpec &c, std::time_t last_cal)
{
    const bool range_table = c.type == "POLYNOMIAL_RANGE";
    std::string text = range_table ? "#revision code\n@POLY3\n\n" : "#revision code\n@AUG07\n\n";
    text += header_sections(c, last_cal, !range_table);
    if (c.type == "INTERPOLATION") {
        text += format("#number of points\n%d\n\n#%12.12s %12.12s\n", c.points, "MV", c.units.c_str());
        for (int i = 0; i < c.points; ++i) {
            double mv = c.mv_lower + (c.mv_upper - c.mv_lower) * i / (c.points - 1);
            text += format("     %8.5f     %8.5f\n", mv, c.eng_of_mv(mv));
        }
    } else if (c.type == "POLYNOMIAL") {
        text += format("#number of points\n%d\n\n#coefficients\n", static_cast<int>(c.coefficients.size()));
        for (double coeff : c.coefficients)
            text += format(" %10g\n", coeff);
    } else if (c.type == "SCALED") {
        text += format("#conversion factor\n %g\n", c.coefficients.size() > 1 ? c.coefficients[1] : 0.0);
    } else if (range_table) {
        text += "# defaults:\n#   gain - 1.0\n#   range_max - 1.0e6\n#\n"
                "# NOTE: RANGE= must be the first entry on a line\n\n\n";
        // Range 0 is the channel's sensor; range 1, a low range at ten
        // times the gain, is written on continued lines.
        text += "RANGE=0 ";
        for (size_t i = 0; i < c.coefficients.size(); ++i)
            text += format("C%d=%g ", static_cast<int>(i), c.coefficients[i]);
        text += format("MIN=%g MAX=%g BIAS=0 GAIN=1.0 \n", c.eng_lower(), c.eng_upper());
        text += "RANGE=1 \\\n";
        for (size_t i = 0; i < c.coefficients.size(); ++i)
            text += format("   C%d=%g \\\n", static_cast<int>(i), c.coefficients[i] / 10.0);
        text += format("   MIN=%g MAX=%g BIAS=0 GAIN=1.0 \n", c.eng_lower() / 10.0, c.eng_upper() / 10.0);
    }
    return text;
}

std::time_t demo_last_calibration(std::time_t now)
{
    return now - 45 * 86400;
}

int write_demo_tables(const CellSpec &cell, const std::string &tables_dir, std::time_t now)
{
    std::string partial;
    for (size_t slash = tables_dir.find('/', 1); ; slash = tables_dir.find('/', slash + 1)) {
        partial = tables_dir.substr(0, slash);
        mkdir(partial.c_str(), 0755);
        if (slash == std::string::npos)
            break;
    }
    struct stat st {};
    if (stat(tables_dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return -1;
    int written = 0;
    const std::time_t last_cal = demo_last_calibration(now);
    for (const auto &c : cell.channels) {
        if (c.table.empty() || c.table.find('/') != std::string::npos)
            continue;
        std::string path = tables_dir + "/" + c.table + ".tbl";
        if (stat(path.c_str(), &st) == 0)
            continue;
        std::ofstream out(path);
        out << demo_table_text(c, last_cal);
        if (out)
            ++written;
    }
    return written;
}

} // namespace orvsim
