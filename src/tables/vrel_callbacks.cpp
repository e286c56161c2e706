#include "vrel_callbacks.h"

#include "messageboxes.h"

#include <orvane/strings.h>
#include <orvane/units.h>

#include <QMessageBox>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <locale.h>

namespace
{

const char kModule[] = "vrel_callbacks";
const char kFraction[] = "FRAC";

const char kTableUnitsWarning[] =
    "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
    "The tolerance units are not compatible with the calibration table units.";
const char kSensorUnitsWarning[] =
    "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
    "The tolerance units are not compatible with the sensor units.";
const char kBiasWarning[] = "Defaulting to the NONE MUA Instance Name and Bias values.\n\n"
                            "The found units are not compatible.";

// The number of a limit text is always written with a '.', whatever the
// station's locale.
double c_strtod(const char *text)
{
    static const locale_t c_locale =
        newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return strtod_l(text, nullptr, c_locale);
}

// A limit text split into its number and its unit keyword.
struct ValueUnits {
    double value = 0.0;
    char units[kUnitTextSize] = {};
};

ValueUnits split_limit(const QByteArray &text)
{
    ValueUnits result;
    char number[kValueTextSize] = {};
    split_value_units(text.constData(), number, result.units);
    result.value = c_strtod(number);
    return result;
}

bool same_dimension(const char *a, const char *b)
{
    return units_dimension_check_key(a, b) == 0;
}

// The value converted between keywords; left as it was when the library
// refuses the pair.
double converted(const char *from, const char *to, double value)
{
    double result = value;
    units_dbl_keyword_convrt(from, &result, to, value);
    return result;
}

// The value of a "value[units]" text as a bare fraction; `fallback` when the
// library refuses the text.
double as_fraction(const QByteArray &text, double fallback)
{
    double result = fallback;
    units_token_convert(text.constData(), kFraction, &result);
    return result;
}

void style_warning(QMessageBox &box, const char *text)
{
    style_message_box(box, true);
    box.setWindowTitle(QStringLiteral("Warning"));
    box.setText(QString::fromLatin1(text));
    box.setStandardButtons(QMessageBox::Ok);
}

void show_tolerance_warning(const char *text)
{
    QMessageBox box;
    style_warning(box, text);
    box.exec();
}

// The sensor's span in table units.
double sensor_span(const TableInfo &info)
{
    const double span = std::fabs(info.sensor_range_upper_limit - info.sensor_range_lower_limit);
    return converted(info.sensor_range_units, info.tbl_units, span);
}

const QString &text_of_kind(int16_t kind, const QString &ooa, const QString &oot,
                            const QString &soot)
{
    if (kind == 1)
        return ooa;
    if (kind == 2)
        return oot;
    return soot;
}

} // namespace

void split_value_units(const char *text, char *number, char *units)
{
    char scratch[kValueTextSize];
    copyn(kModule, __LINE__, scratch, text, sizeof scratch);
    char *bracket = std::strchr(scratch, '[');
    if (!bracket) {
        copyn(kModule, __LINE__, number, scratch, kValueTextSize);
        return;
    }
    char unit_scratch[kUnitTextSize];
    copyn(kModule, __LINE__, unit_scratch, bracket + 1, sizeof unit_scratch);
    *bracket = '\0';
    copyn(kModule, __LINE__, number, scratch, kValueTextSize);
    const size_t length = std::strlen(unit_scratch);
    if (length > 0)
        unit_scratch[length - 1] = '\0';
    copyn(kModule, __LINE__, units, unit_scratch, kUnitTextSize);
}

QByteArray tolerance_text_of(int16_t kind)
{
    return text_of_kind(kind, ooa_tol_text, oot_tol_text, soot_tol_text).toLatin1();
}

QByteArray bias_text_of(int16_t kind)
{
    return text_of_kind(kind, ooa_bias_text, oot_bias_text, soot_bias_text).toLatin1();
}

double resolve_tolerance(int16_t kind, const VREL_CFG *record)
{
    const QByteArray text = tolerance_text_of(kind);
    return resolve_tolerance_text({text, text, true}, record);
}

double resolve_tolerance_text(const ToleranceText &tolerance, const VREL_CFG *record)
{
    const TableInfo &info = record->table_info;
    const double span = sensor_span(info);
    const ValueUnits limit = split_limit(tolerance.text);
    QByteArray fraction_text = tolerance.text;

    if (same_dimension(limit.units, info.sensor_range_units)) {
        if (same_dimension(limit.units, info.tbl_units))
            return converted(limit.units, info.tbl_units, limit.value);
        show_tolerance_warning(kTableUnitsWarning);
        if (tolerance.reset_on_table_units)
            selected_mua_index = 0;
    } else if (!same_dimension(limit.units, kFraction)) {
        show_tolerance_warning(kSensorUnitsWarning);
        selected_mua_index = 0;
        fraction_text = tolerance.fraction_text;
    }
    return span * as_fraction(fraction_text, limit.value);
}

double resolve_bias(int16_t kind, const VREL_CFG *record)
{
    return resolve_bias_text(bias_text_of(kind), record);
}

double resolve_bias_text(const QByteArray &text, const VREL_CFG *record)
{
    const TableInfo &info = record->table_info;
    const ValueUnits limit = split_limit(text);
    if (same_dimension(limit.units, info.sensor_range_units))
        return converted(limit.units, info.sensor_range_units, limit.value);
    if (!same_dimension(limit.units, kFraction)) {
        // Built and dropped unseen: this path has always been silent, and
        // the MUA index is left as it is.
        QMessageBox box;
        style_warning(box, kBiasWarning);
    }
    return as_fraction(text, limit.value);
}

bool within_tolerance(int point_index, double tolerance)
{
    if (point_index < 0 || point_index >= kMaxPoints)
        return false;
    const PointRecord &point = cfg->point_stats[point_index];
    return !(std::fabs(point.eng_mean - point.ref_value) > tolerance);
}

void pad_long_table(const LongTable *long_table, CurvePoints *plot_points)
{
    int count = long_table->count;
    if (count > kMaxPoints)
        count = kMaxPoints;
    CurvePoints::Pair last{0.0, 0.0};
    for (int i = 0; i < kMaxPoints; ++i) {
        if (i < count)
            last = {long_table->x[i], long_table->y[i]};
        plot_points->points[i] = last;
    }
    plot_points->count = kMaxPoints;
}

namespace
{

// Step 2 of the autoscale: an axis whose ends lie on one side of zero, one
// of them more than five times the other, is dragged to zero.
void pull_to_zero(axis_scale *scale, double &a)
{
    const double b = std::fabs(scale->max);
    const bool same_side =
        (scale->min > 0.0 && scale->max > 0.0) || (scale->min < 0.0 && scale->max < 0.0);
    if (!same_side)
        return;
    if (b / a > 5.0) {
        scale->min = 0.0;
        a = 0.0;
    } else if (a / b > 5.0) {
        scale->max = 0.0;
    }
}

// The tick unit: g normalised into 1..10 by a decade exponent, then rounded
// up to 2, 4, 5, 6, 8 or 10 of that decade.  A g that is not a positive
// finite number is left as it is rather than looped on for ever.
double tick_unit(double g)
{
    static const double steps[] = {1.0, 2.0, 4.0, 5.0, 6.0, 8.0, 10.0};
    int exponent = 0;
    if (std::isfinite(g) && g > 0.0) {
        while (g < 1.0) {
            g *= 10.0;
            --exponent;
        }
        while (g > 10.0) {
            g /= 10.0;
            ++exponent;
        }
    }
    double chosen = steps[6];
    for (int i = 1; i < 7; ++i) {
        if (!(steps[i] < g)) {
            chosen = steps[i];
            break;
        }
    }
    return chosen * std::pow(10.0, exponent);
}

} // namespace

void nice_axis_range(axis_scale *scale)
{
    if (equal_within_1e6(scale->min, scale->max)) {
        scale->min -= 1.0;
        scale->max += 1.0;
    }
    double a = std::fabs(scale->min);
    pull_to_zero(scale, a);

    if (scale->ticks == 0)
        scale->ticks = 2;
    // One tick or fewer would divide by zero or go backwards: one interval.
    const int intervals = scale->ticks > 1 ? scale->ticks - 1 : 1;
    const double u = tick_unit((scale->max - scale->min) * 1.1 / intervals);

    if (scale->min == 0.0) {
        scale->max = scale->max < 0.0 ? -(u * intervals) : u * intervals;
    } else if (scale->max == 0.0) {
        scale->min = scale->min < 0.0 ? -(u * intervals) : u * intervals;
    } else {
        const double h = u * 0.5;
        const double q = std::trunc(a / h);
        scale->min = scale->min < 0.0 ? -(q + 1.0) * h : q * h;
        scale->max = scale->min + u * intervals;
    }
    scale->step = 1.0;
}

int extend_axis_range(axis_scale *scale, const double *values, int count)
{
    const axis_scale before = *scale;
    double lowest = values[0];
    double highest = values[0];
    for (int i = 1; i < count; ++i) {
        if (values[i] < lowest)
            lowest = values[i];
        if (values[i] > highest)
            highest = values[i];
    }
    if (scale->min == 0.0 && scale->max == 0.0) {
        scale->min = lowest;
        scale->max = highest;
    } else {
        if (lowest < scale->min)
            scale->min = lowest;
        if (highest > scale->max)
            scale->max = highest;
    }
    if (!(equal_within_1e6(scale->min, before.min) && equal_within_1e6(scale->max, before.max)))
        nice_axis_range(scale);
    if (std::memcmp(&before, scale, sizeof before) == 0)
        return 0;
    scale->changed = 1;
    return 1;
}
