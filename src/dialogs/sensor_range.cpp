#include "sensor_range.h"

#include "vrel_callbacks.h"

#include <orvane/strings.h>
#include <orvane/units.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <locale.h>

namespace
{

const char kModule[] = "sensor_range";

const char kPressOk[] = "\n\nPress OK to update Table Information";
const char kReenterLimits[] = "\n\nPlease reenter the Limit Values.";
const char kReselectUnits[] = "\n\nPlease reselect the Sensor Range Units.";

// Tolerance numbers are written with a '.', whatever the station's locale.
double c_strtod(const char *text)
{
    static const locale_t c_locale =
        newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return strtod_l(text, nullptr, c_locale);
}

template <size_t N> void store_text(char (&field)[N], const QString &text, bool trimmed)
{
    const QByteArray bytes = text.toLatin1();
    copyn(kModule, __LINE__, field, bytes.constData(), N);
    if (trimmed)
        trim_text(field);
}

template <size_t N> bool text_differs(const QString &text, const char (&field)[N])
{
    return text.toLatin1() !=
           QByteArray(field, static_cast<int>(qstrnlen(field, static_cast<uint>(N))));
}

bool limit_differs(const QString &text, double stored)
{
    return std::fabs(text.toDouble() - stored) > 1e-6;
}

} // namespace

int check_sensor_range(const QString &lower_text, const QString &upper_text,
                       const QByteArray &units, const char *tbl_units)
{
    bool lower_ok = false;
    bool upper_ok = false;
    const double lower = lower_text.toDouble(&lower_ok);
    const double upper = upper_text.toDouble(&upper_ok);
    if (lower > upper)
        return RANGE_LOWER_ABOVE_UPPER;
    if (lower == upper)
        return RANGE_LIMITS_EQUAL;
    if (lower_text.contains(QLatin1String("nan")) || upper_text.contains(QLatin1String("nan")))
        return RANGE_LIMIT_NAN;
    if (!lower_ok || !upper_ok)
        return RANGE_LIMIT_NOT_NUMBER;
    if (units.isEmpty())
        return RANGE_UNITS_EMPTY;
    if (units.toLower().contains("none"))
        return RANGE_UNITS_NONE;
    if (units_dimension_check_key(units.constData(), tbl_units) != 0)
        return RANGE_UNITS_INCOMPATIBLE;
    return RANGE_OK;
}

RangeMessage range_message(int status, const QString &units, const char *tbl_units)
{
    const QString limits_title = QStringLiteral("Invalid Sensor Range Limit VALUES");
    const QString units_title = QStringLiteral("Invalid Sensor Range UNITS");
    switch (status) {
    case RANGE_LOWER_ABOVE_UPPER:
        return {limits_title,
                QStringLiteral(
                    "The entered value for the Sensor Range Lower Limit cannot be more than the "
                    "Sensor Range Upper Limit value") +
                    QLatin1String(kReenterLimits),
                RangeGroup::Limits};
    case RANGE_LIMITS_EQUAL:
        return {limits_title,
                QStringLiteral("The Sensor Range Lower and Upper Limit Values cannot be the same") +
                    QLatin1String(kReenterLimits),
                RangeGroup::Limits};
    case RANGE_LIMIT_NAN:
        return {
            limits_title,
            QStringLiteral(
                "NAN is not an acceptable value for the Sensor Range Lower or Upper Limit Values") +
                QLatin1String(kReenterLimits),
            RangeGroup::Limits};
    case RANGE_LIMIT_NOT_NUMBER:
        // This one has always ended without a full stop.
        return {limits_title,
                QStringLiteral(
                    "Invalid data was entered for the Sensor Range Lower or Upper Limit Values\n\n"
                    "Please reenter the Limit Values"),
                RangeGroup::Limits};
    case RANGE_UNITS_EMPTY:
        return {units_title,
                QStringLiteral("The Sensor Range Units must be specified") +
                    QLatin1String(kReselectUnits),
                RangeGroup::Units};
    case RANGE_UNITS_NONE:
        return {units_title,
                QStringLiteral("The Sensor Range Units cannot be NONE") +
                    QLatin1String(kReselectUnits),
                RangeGroup::Units};
    case RANGE_UNITS_INCOMPATIBLE:
        return {units_title,
                QStringLiteral(
                    "The Sensor Range Units (%1) are not compatible with the table units (%2).")
                        .arg(units, QString::fromLatin1(tbl_units)) +
                    QLatin1String(kReselectUnits),
                RangeGroup::Units};
    default:
        return {};
    }
}

QString opening_reason_text(int reason, const char *sensor_range_units, const char *tbl_units)
{
    QString text;
    switch (reason) {
    case RANGE_LOWER_ABOVE_UPPER:
        text =
            QStringLiteral("The Sensor Lower Range Value is greater than the Upper Range Value.");
        break;
    case RANGE_LIMITS_EQUAL:
        text = QStringLiteral("The Sensor Lower and Upper Range Values are the same.");
        break;
    case RANGE_LIMIT_NAN:
        text = QStringLiteral(
            "The Sensor Lower and Upper Range Values are INVALID and need to be updated.");
        break;
    case RANGE_UNITS_EMPTY:
        text = QStringLiteral("The Sensor Range Units must be specified.");
        break;
    case RANGE_UNITS_NONE:
        text = QStringLiteral("The Sensor Range Units = NONE and need to be updated.");
        break;
    case RANGE_UNITS_INCOMPATIBLE:
        text = QStringLiteral(
                   "The Sensor Range Units (%1) are not compatible with the table units (%2).")
                   .arg(QString::fromLatin1(sensor_range_units), QString::fromLatin1(tbl_units));
        break;
    case RANGE_UUT_MISSING:
        text = QStringLiteral("UUT Information is missing");
        break;
    default:
        return {};
    }
    return text + QLatin1String(kPressOk);
}

int table_info_differences(const TableInfoEntry &entry, const VREL_CFG *record)
{
    const TableInfo &info = record->table_info;
    int differences = 0;
    if (text_differs(entry.model, record->uut_model) ||
        text_differs(entry.cal_type, record->uut_cal_type) ||
        text_differs(entry.mte, record->uut_mte))
        differences |= TABLE_INFO_GROUP_A;
    if (text_differs(entry.manufacturer, info.sensor_model) ||
        text_differs(entry.serial_number, info.sensor_sn) ||
        text_differs(entry.description, info.tbl_desc) ||
        text_differs(entry.sensor_units, info.sensor_range_units) ||
        limit_differs(entry.lower_limit, info.sensor_range_lower_limit) ||
        limit_differs(entry.upper_limit, info.sensor_range_upper_limit))
        differences |= TABLE_INFO_GROUP_B;
    return differences;
}

void store_table_info(const TableInfoEntry &entry, VREL_CFG *record)
{
    TableInfo &info = record->table_info;
    store_text(info.sensor_model, entry.manufacturer, true);
    store_text(record->uut_mfg, entry.manufacturer, false);
    store_text(record->uut_model, entry.model, false);
    store_text(info.sensor_sn, entry.serial_number, true);
    store_text(record->uut_sn, entry.serial_number, false);
    store_text(info.tbl_desc, entry.description, true);
    store_text(record->uut_description, entry.description, false);
    store_text(record->uut_cal_type, entry.cal_type, false);
    store_text(record->uut_mte, entry.mte, false);
    const double upper = entry.upper_limit.toDouble();
    info.sensor_range_upper_limit = upper;
    record->uut_full_scale = upper;
    store_text(info.sensor_range_units, entry.sensor_units, true);
    store_text(record->uut_full_scale_units, entry.sensor_units, false);
    info.sensor_range_lower_limit = entry.lower_limit.toDouble();
}

void store_error_limit(const QString &oot_tolerance_label, VREL_CFG *record)
{
    char number[kValueTextSize] = {};
    char units[kUnitTextSize] = {};
    split_value_units(oot_tol_text.toLatin1().constData(), number, units);
    record->uut_error_limit = c_strtod(number);
    split_value_units(oot_tolerance_label.toLatin1().constData(), number,
                      record->uut_error_limit_units);
}

void rescale_table_range(VREL_CFG *record)
{
    TableInfo &info = record->table_info;
    info.min_range = convert_units(record->raw_units, info.tbl_units, info.min_range);
    info.max_range = convert_units(record->raw_units, info.tbl_units, info.max_range);
}

void copy_sensor_identity(VREL_CFG *record)
{
    const TableInfo &info = record->table_info;
    copyn(kModule, __LINE__, record->uut_mfg, info.sensor_model, sizeof record->uut_mfg);
    copyn(kModule, __LINE__, record->uut_sn, info.sensor_sn, sizeof record->uut_sn);
    copyn(kModule, __LINE__, record->uut_description, info.tbl_desc,
          sizeof record->uut_description);
}

QString format_limit(double value)
{
    return QString::asprintf("%8.2f", value);
}

double convert_units(const char *from, const char *to, double value)
{
    double result = value;
    units_dbl_keyword_convrt(from, &result, to, value);
    return result;
}

QString record_text(const char *field, size_t width)
{
    return QString::fromLatin1(field, static_cast<int>(qstrnlen(field, static_cast<uint>(width))));
}
