/* Orvane units: the built-in unit table and the conversions on it.
 *
 * Every dimension has one base unit; a record holds the linear map from its
 * own unit to that base (base = value * factor + offset), so a conversion
 * is always "to base, then out of base".  The host publishes this same
 * table in its unit segment, so conversions never read the segment: the
 * segment only proves that the host's unit service is up.
 */
#include "orvane/units.h"

#include <cstdlib>
#include <cstring>
#include <locale.h>

namespace
{

/* Dimension numbers of the table.  Only their equality matters to guests. */
enum Dimension : int32_t {
    DIM_TEMPERATURE = 1, /* base K      */
    DIM_PRESSURE,        /* base kPa    */
    DIM_VOLTAGE,         /* base V      */
    DIM_FRACTION,        /* base FRAC   */
    DIM_TIME,            /* base s      */
    DIM_SPEED,           /* base rpm    */
    DIM_FORCE,           /* base N      */
    DIM_TORQUE,          /* base N.m    */
    DIM_MASS_FLOW,       /* base kg/h   */
    DIM_VOLUME_FLOW,     /* base L/min  */
    DIM_MASS,            /* base kg     */
    DIM_LENGTH,          /* base m      */
    DIM_CURRENT,         /* base A      */
    DIM_POWER            /* base kW     */
};

/* Published factors: exact by definition unless noted. */
constexpr double kLb = 0.45359237;          /* kg */
constexpr double kLbf = 4.4482216152605;    /* N */
constexpr double kLbfFt = 1.3558179483314;  /* N.m, lbf x 0.3048 m */
constexpr double kPsi = 6.894757293168;     /* kPa, lbf / in^2 */
constexpr double kInHg = 3.386389;          /* kPa, mercury at 0 C */
constexpr double kInH2O = 0.24908891;       /* kPa, conventional (1000 kg/m3, g0) */
constexpr double kMmHg = 0.133322387415;    /* kPa, conventional */
constexpr double kUsGallon = 3.785411784;   /* L */
constexpr double kHp = 0.74569987158227022; /* kW, mechanical horsepower */
constexpr double kRankine = 5.0 / 9.0;      /* K per degree F or R */

/* Codes: temperature below 100, pressure 100..199, time 700..799, the rest
 * from 200 (never inside the time range).  Pickers sort units by code. */
const orv_unit_record kTable[] = {
    {1.0, 273.15, 1, DIM_TEMPERATURE, "C"},
    {kRankine, 459.67 * kRankine, 2, DIM_TEMPERATURE, "F"},
    {1.0, 0.0, 3, DIM_TEMPERATURE, "K"},
    {kRankine, 0.0, 4, DIM_TEMPERATURE, "R"},

    {1.0, 0.0, 100, DIM_PRESSURE, "KPA"},
    {0.001, 0.0, 101, DIM_PRESSURE, "PA"},
    {100.0, 0.0, 102, DIM_PRESSURE, "BAR"},
    {0.1, 0.0, 103, DIM_PRESSURE, "MBAR"},
    {kPsi, 0.0, 104, DIM_PRESSURE, "PSI"},
    {kInHg, 0.0, 105, DIM_PRESSURE, "INHG"},
    {kInH2O, 0.0, 106, DIM_PRESSURE, "INH2O"},
    {kMmHg, 0.0, 107, DIM_PRESSURE, "MMHG"},
    {101.325, 0.0, 108, DIM_PRESSURE, "ATM"},

    {0.001, 0.0, 200, DIM_VOLTAGE, "MV"},
    {1.0, 0.0, 201, DIM_VOLTAGE, "V"},

    {1.0, 0.0, 210, DIM_FRACTION, "FRAC"},
    {0.01, 0.0, 211, DIM_FRACTION, "PCT"},
    {1e-6, 0.0, 212, DIM_FRACTION, "PPM"},

    {1.0, 0.0, 220, DIM_SPEED, "RPM"},

    {1.0, 0.0, 230, DIM_FORCE, "N"},
    {1000.0, 0.0, 231, DIM_FORCE, "KN"},
    {kLbf, 0.0, 232, DIM_FORCE, "LBF"},

    {1.0, 0.0, 240, DIM_TORQUE, "NM"},
    {kLbfFt, 0.0, 241, DIM_TORQUE, "LBFT"},

    {1.0, 0.0, 250, DIM_MASS_FLOW, "KG/HR"},
    {kLb, 0.0, 251, DIM_MASS_FLOW, "LB/HR"},
    {3.6, 0.0, 252, DIM_MASS_FLOW, "G/S"},

    {1.0, 0.0, 260, DIM_VOLUME_FLOW, "L/MIN"},
    {1.0 / 60.0, 0.0, 261, DIM_VOLUME_FLOW, "L/HR"},
    {kUsGallon / 60.0, 0.0, 262, DIM_VOLUME_FLOW, "GAL/HR"},

    {1.0, 0.0, 270, DIM_MASS, "KG"},
    {0.001, 0.0, 271, DIM_MASS, "G"},
    {kLb, 0.0, 272, DIM_MASS, "LB"},

    {1.0, 0.0, 280, DIM_LENGTH, "M"},
    {0.001, 0.0, 281, DIM_LENGTH, "MM"},
    {0.0254, 0.0, 282, DIM_LENGTH, "IN"},
    {0.3048, 0.0, 283, DIM_LENGTH, "FT"},

    {1.0, 0.0, 290, DIM_CURRENT, "A"},
    {0.001, 0.0, 291, DIM_CURRENT, "MA"},

    {1.0, 0.0, 300, DIM_POWER, "KW"},
    {0.001, 0.0, 301, DIM_POWER, "W"},
    {kHp, 0.0, 302, DIM_POWER, "HP"},

    {0.001, 0.0, 700, DIM_TIME, "MS"},
    {1.0, 0.0, 701, DIM_TIME, "SEC"},
    {60.0, 0.0, 702, DIM_TIME, "MIN"},
    {3600.0, 0.0, 703, DIM_TIME, "HR"},
};
constexpr int kTableCount = sizeof kTable / sizeof kTable[0];
static_assert(kTableCount <= ORV_MAX_UNITS, "the host's unit segment holds 700 records");

bool is_blank_char(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

char ascii_upper(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

/* Looks up the keyword in [begin, end), blanks at its ends ignored, case
 * folded in ASCII only so that the process locale plays no part.  NULL for
 * an empty, over-long or unknown keyword. */
const orv_unit_record *find_unit_range(const char *begin, const char *end)
{
    while (begin < end && is_blank_char(*begin))
        ++begin;
    while (end > begin && is_blank_char(end[-1]))
        --end;
    const size_t length = static_cast<size_t>(end - begin);
    if (length == 0 || length >= sizeof kTable[0].name)
        return nullptr;
    for (const orv_unit_record &unit : kTable) {
        if (std::strlen(unit.name) != length)
            continue;
        size_t i = 0;
        while (i < length && ascii_upper(begin[i]) == unit.name[i])
            ++i;
        if (i == length)
            return &unit;
    }
    return nullptr;
}

const orv_unit_record *find_unit(const char *keyword)
{
    if (!keyword)
        return nullptr;
    return find_unit_range(keyword, keyword + std::strlen(keyword));
}

/* 0, 1 (dimensions differ) or 2 (a keyword unknown), as the header says. */
short check_pair(const orv_unit_record *a, const orv_unit_record *b)
{
    if (!a || !b)
        return 2;
    return a->dimension == b->dimension ? 0 : 1;
}

double convert(const orv_unit_record &from, const orv_unit_record &to, double value)
{
    const double base = value * from.factor + from.offset;
    return (base - to.offset) / to.factor;
}

/* The "C" numeric locale, made once: strtod must not follow the process
 * locale, where the decimal separator may be a comma. */
locale_t c_numeric_locale()
{
    static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

} // namespace

extern "C" {

short units_init_access(int mode)
{
    (void)mode; /* the host accepts only 1 and does the same for it */
    return get_shrd_mem(ORV_SEG_UNITS, 0) ? 0 : ORV_FAILURE;
}

short units_dimension_check_key(const char *unit_a, const char *unit_b)
{
    return check_pair(find_unit(unit_a), find_unit(unit_b));
}

short units_dbl_keyword_convrt(const char *from, double *result, const char *to, double value)
{
    const orv_unit_record *source = find_unit(from);
    const orv_unit_record *target = find_unit(to);
    const short status = check_pair(source, target);
    if (status == 0 && result)
        *result = convert(*source, *target, value);
    return status;
}

short units_token_convert(const char *token, const char *to, double *result)
{
    if (!token)
        return 3;
    const char *open = std::strchr(token, '[');
    const char *close = open ? std::strchr(open + 1, ']') : nullptr;
    if (!open || !close)
        return 3;
    for (const char *tail = close + 1; *tail; ++tail)
        if (!is_blank_char(*tail))
            return 3;

    const locale_t locale = c_numeric_locale();
    if (locale == static_cast<locale_t>(nullptr))
        return 3;
    const char *number = token;
    while (number < open && is_blank_char(*number))
        ++number;
    if (number == open)
        return 3;
    /* strtod could read past the bracket only through characters that are
     * themselves part of a number, and '[' never is. */
    char *number_end = nullptr;
    const double value = strtod_l(number, &number_end, locale);
    if (number_end == number || number_end > open)
        return 3;
    for (const char *rest = number_end; rest < open; ++rest)
        if (!is_blank_char(*rest))
            return 3;

    const orv_unit_record *source = find_unit_range(open + 1, close);
    const orv_unit_record *target = find_unit(to);
    const short status = check_pair(source, target);
    if (status == 0 && result)
        *result = convert(*source, *target, value);
    return status;
}

const orv_unit_record *orvane_unit_table(int *count)
{
    if (count)
        *count = kTableCount;
    return kTable;
}

} // extern "C"
