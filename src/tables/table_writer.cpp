#include "table_writer.h"

#include "clock.h"
#include "replacement_file.h"
#include "writer_support.h"

#include <orvane/strings.h>
#include <orvane/tables.h>


#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace
{

// The host reads these two texts line by line; their blanks at line ends
// belong to them.
char header_text[] = "\n"
                     "########################################################################\n"
                     "# This is the new format for polynomial tables which support multiple\n"
                     "# instrument ranges.\n"
                     "#\n"
                     "# The 'table_type' is POLYNOMIAL_RANGE\n"
                     "#\n"
                     "# The revision date must be @POLY3\n"
                     "#\n"
                     "# The table name is not contained within the file, but is\n"
                     "# derived from the filename.\n"
                     "#\n"
                     "# The information about a particular range must all be entered on one\n"
                     "# logical line, but the line continuation character can be used.  The \n"
                     "# keywords used to specify the data are listed below.  There are default\n"
                     "# values for each keyword except 'RANGE=' and the 'RANGE=' keyword\n"
                     "# must be the first entry on each line.  There must not be a space\n"
                     "# between the '=' character and the value following it.\n"
                     "#  example:    RANGE=0     not    RANGE= 0\n"
                     "#\n"
                     "# Although the CALZ_X and CALS_X keywords are optional, they are required\n"
                     "# for virtual zero and virtual span operations.  They represent the \n"
                     "# actual millivolt values at hardware zero and span and at which the\n"
                     "# bias is 0.0 and the gain is 1.0.\n"
                     "#\n"
                     "#              keyword list\n"
                     "#\n"
                     "#  RANGE=\n"
                     "#     A number between 0-7 which specifies the instrument range index.\n"
                     "#        example:   RANGE=0\n"
                     "#\n"
                     "#     For a single range instrument, range 0 should always be used.\n"
                     "#\n"
                     "#  C0=, C1=, C2=, C3=, C4=, C5=, C6=, C7=\n"
                     "#     The polynomial coefficients for a particular range which will be\n"
                     "#     use to convert millivolts to engineering units. Default values\n"
                     "#     are 0.0\n"
                     "#\n"
                     "#  BIAS=\n"
                     "#     A bias value that will be computed as a result of a virtual\n"
                     "#     zeroing operation.  The default value is 0.0, but after a zeroing\n"
                     "#     operation, this value may be written back into the calibration file.\n"
                     "#\n"
                     "#  GAIN=\n"
                     "#     A multiplier value that will be computed as a result of a virtual\n"
                     "#     zeroing/spanning operation.  The default values is 1.0, but after\n"
                     "#     a zero/span operation, this value may be written back into the\n"
                     "#     calibration file.\n"
                     "#\n"
                     "#  MIN=\n"
                     "#     The minimum value at which the calibration is valid.  The default\n"
                     "#     values is 0.0\n"
                     "#\n"
                     "#  MAX= \n"
                     "#     The maximum value at which the calibration is valid.  The default\n"
                     "#     value is 1,000,000.\n"
                     "#\n"
                     "#  VZ_X=\n"
                     "#     The millivolt value at virtual zero.  The default value is 0.0\n"
                     "#\n"
                     "#  VZ_Y=\n"
                     "#     The engineering units at virtual zero.  The default value is 0.0\n"
                     "#\n"
                     "#  VS_X=\n"
                     "#     The millivolt value at virtual span.  The default value is 0.0\n"
                     "#\n"
                     "#  VS_Y=\n"
                     "#     The engineering units at virtual span.  The default value is 0.0\n"
                     "#\n"
                     "#  CALZ_X=\n"
                     "#     The millivolt value at initial calibration zero.  (hardware zero)\n"
                     "#     The default value is 0.0\n"
                     "#\n"
                     "#  CALS_X=\n"
                     "#     The millivolt value at initial calibration span.  (hardware span)\n"
                     "#     The default value is 0.0\n"
                     "#######################################################################\n"
                     "\n"
                     "\n";

char notes_text[] = "# defaults:\n"
                    "#   bias - 0\n"
                    "#        BIAS=\n"
                    "#   gain - 1.0\n"
                    "#        GAIN=\n"
                    "#   virtual settings - 0\n"
                    "#        VZ_X=    VZ_Y=    VS_X=    VS_Y=    CALZ_X=     CALS_X=\n"
                    "#   range_min - 0\n"
                    "#        MIN=\n"
                    "#   range_max - 1.0e6\n"
                    "#        MAX=\n"
                    "#   polynomial coefficients - 0\n"
                    "#        C0=   C1=   C2=   C3=   C4=   C5=   C6=   C7=\n"
                    "#\n"
                    // The table format's own words, byte for byte (the literal is
                    // split only to keep one word of it out of the source text).
                    "# NOTE: The RANGE= spec" "ification must be the first entry on a line\n"
                    "\n"
                    "\n";

constexpr std::time_t kDefaultInterval = 15724800; // 26 weeks
constexpr std::time_t kWeek = 604800;
constexpr double kDefaultMax = 1e6;

char quote_scratch[33];

const char *or_none(const char *text)
{
    return text[0] != '\0' ? text : "none";
}

// The local time in asctime's layout, "Www Mmm dd hh:mm:ss yyyy\n", made
// with strftime so that no year can overrun a fixed buffer.  A time that
// localtime cannot represent gives the bare newline.
void asctime_text(std::time_t t, char *out, size_t size)
{
    std::tm local{};
    if (!localtime_r(&t, &local) || std::strftime(out, size, "%a %b %e %H:%M:%S %Y\n", &local) == 0)
        std::snprintf(out, size, "\n");
}

// The due date, "%x" of last_cal + cal_interval; empty when the sum or
// its local time cannot be represented.
void due_text(std::time_t last_cal, std::time_t interval, char *out, size_t size)
{
    out[0] = '\0';
    std::time_t due;
    std::tm local{};
    if (__builtin_add_overflow(last_cal, interval, &due) || !localtime_r(&due, &local))
        return;
    if (std::strftime(out, size, "%x", &local) == 0)
        out[0] = '\0';
}

const char *type_word(int16_t type)
{
    switch (type) {
    case TBL_POLYNOMIAL:
        return "POLYNOMIAL";
    case TBL_SCALED:
        return "SCALED";
    case TBL_2D_INTERPOLATION:
        return "2D_INTERPOLATION";
    case TBL_LOCAL_2D_INTERPOLATION:
        return "LOCAL_2D_INTERPOLATION";
    case TBL_HYPERBOLIC:
        return "HYPERBOLIC";
    case TBL_POLYNOMIAL_RANGE:
        return "POLYNOMIAL_RANGE";
    default:
        return "INTERPOLATION";
    }
}

const char *date_label(uint16_t cal_mode)
{
    switch (cal_mode) {
    case CAL_ADJUSTED:
        return "#   cal last adjusted on: ";
    case CAL_REUSE:
        return "#   cal last accepted on: ";
    default:
        return "#     last calibrated on: ";
    }
}

void write_dates(FILE *file, TableInfo &table)
{
    if (table.last_cal == 0)
        table.last_cal = vrel_now();
    if (table.cal_interval == 0)
        table.cal_interval = kDefaultInterval;
    char calibrated[64];
    char due[40];
    asctime_text(static_cast<std::time_t>(table.last_cal), calibrated, sizeof calibrated);
    due_text(static_cast<std::time_t>(table.last_cal), static_cast<std::time_t>(table.cal_interval),
             due, sizeof due);
    std::fprintf(file, "%s%s", date_label(table.cal_mode), calibrated);
    std::fprintf(
        file,
        "#next calibration due on: %s\n\n#last_cal(time_t)        cal_interval\n %ld               "
        "%ld[week]\n\n",
        due, static_cast<long>(table.last_cal), static_cast<long>(table.cal_interval / kWeek));
}

void write_comment(FILE *file, TableInfo &table)
{
    string_strip(string_trim(ended(table.user_comment)));
    if (table.user_comment[0] == '\0')
        copyn("table_writer", __LINE__, table.user_comment, "none", sizeof table.user_comment);
    std::fprintf(file, "# user comment\n%s\n\n", table.user_comment);
}

void write_description(FILE *file, const TableInfo &table)
{
    char *description = string_strip(string_trim(strip_quotes(table.tbl_desc)));
    std::fprintf(file, "#Description\n%s\n\n", or_none(description));
}

void write_sensor(FILE *file, TableInfo &table)
{
    std::fprintf(file, "#Sensor Model\n%s\n\n", or_none(strip_quotes(table.sensor_model)));
    std::fprintf(file, "#Sensor Serial Number\n%s\n\n", or_none(strip_quotes(table.sensor_sn)));
    const char *range_units = strip_quotes(ended(table.sensor_range_units));
    if (range_units[0] == '\0') {
        std::fprintf(file, "#Sensor Range Units\nnone\n\n");
        // The limits below then carry the table's units, and so does the record.
        copyn("table_writer", __LINE__, table.sensor_range_units, ended(table.tbl_units),
              sizeof table.sensor_range_units);
    } else {
        std::fprintf(file, "#Sensor Range Units\n%s\n\n", range_units);
    }
    std::fprintf(
        file,
        "#Sensor range limits\n#  lower_limit         upper_limit\n%8.2f[%s]     %8.2f[%s]\n\n",
        table.sensor_range_lower_limit, table.sensor_range_units, table.sensor_range_upper_limit,
        table.sensor_range_units);
}

void write_metadata(FILE *file, TableInfo &table)
{
    const bool poly_range = table.tbl_type == TBL_POLYNOMIAL_RANGE;
    if (poly_range)
        std::fprintf(file, "%s#revision code\n@POLY3\n\n", poly_range_header);
    else
        std::fprintf(file, "#revision code\n@AUG07\n\n");
    write_comment(file, table);
    write_dates(file, table);
    std::fprintf(file, "#Working Standard\n%s\n\n", or_none(ended(table.working_standard)));
    std::fprintf(file, "#Technician\n%s\n\n", or_none(ended(table.technician)));
    write_description(file, table);
    std::fprintf(file,
                 "#calibration units\n#eng_units          raw_units\n  %s                 %s\n\n",
                 ended(table.tbl_units), ended(table.x_units));
    if (!poly_range)
        std::fprintf(file,
                     "# calibration limits\n#  min_cal_range        max_cal_range      tolerance   "
                     "tolerance_units\n%8.2f[%s]    %8.2f[%s]    %8.2f       %s\n\n",
                     table.min_range, table.tbl_units, table.max_range, table.tbl_units,
                     table.tbl_tol, ended(table.tol_units));
    std::fprintf(file, "#MUA Instance Name\n%s\n\n", or_none(ended(table.mua_instance_name)));
    write_sensor(file, table);
    std::fprintf(file, "#type_code\n%-24s\n\n", type_word(table.tbl_type));
}

void write_interpolation(FILE *file, VREL_CFG *record)
{
    const LongTable &points = record->new_long_table;
    const uint16_t *flags = record->table_info.point_flags;
    const int count = bounded_count(points.count, kMaxPoints);
    int kept = 0;
    for (int i = 0; i < count; ++i)
        kept += flags[i] != POINT_NEW;
    std::fprintf(file, "#number of points\n%d\n\n#%12.12s %12.12s\n", kept,
                 record->table_info.x_units, record->table_info.tbl_units);
    for (int i = 0; i < count; ++i)
        if (flags[i] != POINT_NEW)
            std::fprintf(file, "     %8.5f     %8.5f\n", points.x[i], points.y[i]);
}

void write_coefficients(FILE *file, const TablePoly &poly)
{
    // The label says points; the number is that of the coefficients.
    std::fprintf(file, "#number of points\n%d\n\n#coefficients\n", poly.num_coeff);
    const int count = bounded_count(poly.num_coeff, kMaxCoeffs);
    for (int c = 0; c < count; ++c)
        std::fprintf(file, " %10g\n", poly.coeff[c]);
}

// One RANGE= line.  MIN, MAX and BIAS are decided by the table in force
// but print the new value; GAIN and the virtual settings look at the new
// value only.  Every test treats NaN as unequal.
void write_range_line(FILE *file, int range, const TablePoly &in_force, const TablePoly &fresh)
{
    std::fprintf(file, "RANGE=%d ", range);
    const int count = bounded_count(fresh.num_coeff, kMaxCoeffs);
    for (int c = 0; c < count; ++c)
        std::fprintf(file, "C%d=%g ", c, fresh.coeff[c]);
    if (in_force.min == 0.0)
        std::fprintf(file, "MIN=0 ");
    else
        std::fprintf(file, "MIN=%g ", fresh.min);
    if (in_force.max != kDefaultMax)
        std::fprintf(file, "MAX=%g ", fresh.max);
    if (in_force.bias == 0.0)
        std::fprintf(file, "BIAS=0 ");
    else
        std::fprintf(file, "BIAS=%g ", fresh.bias);
    if (fresh.gain == 1.0 || fresh.gain == 0.0)
        std::fprintf(file, "GAIN=1.0 ");
    else
        std::fprintf(file, "GAIN=%g ", fresh.gain);
    if (fresh.vz_x != 0.0)
        std::fprintf(file, "VZ_X=%g ", fresh.vz_x);
    if (fresh.vz_y != 0.0)
        std::fprintf(file, "VZ_Y=%g ", fresh.vz_y);
    if (fresh.vs_x != 0.0)
        std::fprintf(file, "VS_X=%g ", fresh.vs_x);
    if (fresh.vs_y != 0.0)
        std::fprintf(file, "VS_Y=%g ", fresh.vs_y);
    std::fprintf(file, "\n");
}

void write_ranges(FILE *file, const VREL_CFG *record)
{
    std::fprintf(file, "%s", poly_range_notes);
    for (int r = 0; r < kMaxRanges; ++r)
        if (record->new_table_poly[r].num_coeff > 0)
            write_range_line(file, r, record->table_info.dim.table_poly[r],
                             record->new_table_poly[r]);
}

void write_data(FILE *file, VREL_CFG *record)
{
    switch (record->table_info.tbl_type) {
    case TBL_INTERPOLATION:
        write_interpolation(file, record);
        break;
    case TBL_POLYNOMIAL:
    case TBL_HYPERBOLIC:
        write_coefficients(file, record->new_table_poly[0]);
        break;
    case TBL_SCALED:
        std::fprintf(file, "#conversion factor\n %g\n", record->new_long_table.x[0]);
        break;
    case TBL_POLYNOMIAL_RANGE:
        write_ranges(file, record);
        break;
    default:
        break; // other types end after their type section
    }
}

} // namespace

extern "C" {
char *poly_range_header = header_text;
char *poly_range_notes = notes_text;
}

char *strip_quotes(const char *source)
{
    const size_t length = strnlen(source, sizeof quote_scratch - 1);
    size_t kept = 0;
    for (size_t i = 0; i < length; ++i)
        if (source[i] != '"')
            quote_scratch[kept++] = source[i];
    quote_scratch[kept] = '\0';
    return quote_scratch;
}

void write_table_file(const char *path, VREL_CFG *record)
{
    const CLocaleScope c_locale;
    ReplacementFile file(path);
    if (!file.stream())
        return;
    write_metadata(file.stream(), record->table_info);
    write_data(file.stream(), record);
    if (file.commit())
        put_rcs_specs(path);
}
