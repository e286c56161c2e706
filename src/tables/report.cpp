#include "report.h"

#include "clock.h"
#include "functions.h"
#include "replacement_file.h"
#include "uut_ref.h"
#include "vrel_cfg.h"
#include "writer_support.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QSettings>

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

namespace
{

// A host variable's record: its units text.
constexpr size_t kVariableUnitsOffset = 232;
constexpr size_t kVariableUnitsWidth = 16;

const char *report_tag(uint16_t action)
{
    switch (action) {
    case CAL_ADJUSTED:
        return "_AF_";
    case CAL_VERIFICATION:
        return "_AL_";
    default:
        return "_AFAL_";
    }
}

// The host's names, kept within their fields; the report assumes them
// present, and takes an absent record as empty names.
const char *cell_name()
{
    return cell_info ? ended(cell_info->cell_name) : "";
}

const char *site_name()
{
    return cell_info ? ended(cell_info->site_name) : "";
}

// A text of the host's, read no further than its field.
std::string host_text(const char *text, size_t width)
{
    return std::string(text, strnlen(text, width));
}

// The channel's name in AI_REAL; empty when the segment is not there or
// the channel is not one of its entries.
std::string report_channel_name(int channel)
{
    if (!Ai_real || !Sys_attr || channel < 0 || channel >= host_channel_count())
        return std::string();
    return host_text(channel_name(channel), sizeof Ai_real->name);
}

// Ends every text that the report prints within its field.
void end_report_texts(VREL_CFG &record)
{
    TableInfo &table = record.table_info;
    ended(table.technician);
    ended(table.tbl_name);
    ended(table.tbl_units);
    ended(table.working_standard);
    ended(record.lab_manager);
    ended(record.comment);
    for (char *text :
         {record.ref_mfg, record.ref_model, record.ref_ser_num, record.ref_equip_num,
          record.ref_cal_due_date, record.ref_physical_con, record.uut_mfg, record.uut_model,
          record.uut_sn, record.uut_description, record.uut_cal_type, record.uut_mte})
        text[sizeof record.ref_mfg - 1] = '\0';
    ended(record.uut_full_scale_units);
    ended(record.uut_error_limit_units);
    for (PointRecord &point : record.point_stats) {
        ended(point.capture_date);
        ended(point.capture_time);
    }
}

// The site's postal address, which holds commas, from the configuration
// file; the site's group may be missing.
QByteArray site_address()
{
    QSettings settings(host_path("/cell/vrel_util_specs.ini"), QSettings::IniFormat);
    settings.beginGroup(QString::fromLatin1(site_name()));
    const QVariant address = settings.value(QStringLiteral("address"), QStringLiteral("Address Unknown"));
    // An address edited by hand without quotes comes back split at its commas.
    if (address.type() == QVariant::StringList)
        return address.toStringList().join(QStringLiteral(", ")).toLatin1();
    return address.toString().toLatin1();
}

void write_header(FILE *file, const VREL_CFG &record, uint16_t action, const char *channel)
{
    std::fprintf(file, "KEY: HEADER,,,,,,\n");
    std::fprintf(file, "Cell_Num,-,%s,,,,\n", cell_name());
    std::fprintf(file, "UserName,-,%s,,,,\n", record.table_info.technician);
    std::fprintf(file, "Approver,-,%s,,,,\n", record.lab_manager);
    std::fprintf(file, "Site_Loc,-,%s,,,,\n", site_name());
    std::fprintf(file, "Address,-,\"%s\",,,,\n", site_address().constData());
    std::fprintf(file, "Cal_Status,-,%s,,,,\n", record_action_word(action));
    std::fprintf(file, "Comment,-,%s,,,,\n", record.comment);
    std::fprintf(file, "Channel_Num,-,%hd,,,,\n", record.channel);
    std::fprintf(file, "Channel_Name,-,%s,,,,\n", channel);
    std::fprintf(file, "Table_Name,-,%s,,,,\n", record.table_info.tbl_name);
    std::fprintf(file, ",,,,,,\n");
    std::fprintf(file, "KEY: CLinearity.1,,,,,,\n");
}

// One data row: its two leading columns, then one column per point.
class Rows
{
  public:
    Rows(FILE *file, int points) : file_(file), points_(points) {}

    template <typename Value> void reals(const char *name, const char *unit, Value value) const
    {
        std::fprintf(file_, "%s,%s", name, unit);
        for (int i = 0; i < points_; ++i)
            std::fprintf(file_, ",%f", value(i));
        std::fprintf(file_, "\n");
    }

    template <typename Value> void texts(const char *name, const char *unit, Value value) const
    {
        std::fprintf(file_, "%s,%s", name, unit);
        for (int i = 0; i < points_; ++i)
            std::fprintf(file_, ",%s", value(i));
        std::fprintf(file_, "\n");
    }

    // The same text in every column.
    void constant(const char *name, const char *text) const
    {
        texts(name, "-", [text](int) { return text; });
    }

    template <typename Value> void integers(const char *name, Value value) const
    {
        std::fprintf(file_, "%s,-", name);
        for (int i = 0; i < points_; ++i)
            std::fprintf(file_, ",%d", value(i));
        std::fprintf(file_, "\n");
    }

  private:
    FILE *file_;
    int points_;
};

void write_statistics(const Rows &rows, const VREL_CFG &record, const char *channel)
{
    const PointRecord *stats = record.point_stats;
    const char *units = record.table_info.tbl_units;
    char name[160];
    rows.reals(channel, units, [stats](int i) { return stats[i].eng_mean; });
    std::snprintf(name, sizeof name, "%s_Stdev", channel);
    rows.reals(name, units, [stats](int i) { return stats[i].eng_stdev; });
    std::snprintf(name, sizeof name, "%s_Min", channel);
    rows.reals(name, units, [stats](int i) { return stats[i].eng_min; });
    std::snprintf(name, sizeof name, "%s_Max", channel);
    rows.reals(name, units, [stats](int i) { return stats[i].eng_max; });
    rows.texts("DATE", "mmddyyyy", [stats](int i) { return stats[i].capture_date; });
    rows.texts("TIME", "hhmmss", [stats](int i) { return stats[i].capture_time; });
    rows.reals("Ref_SetPoint", units, [stats](int i) { return stats[i].ref_value; });
}

void write_reference_and_uut(const Rows &rows, const VREL_CFG &record, const char *channel)
{
    rows.constant("Ref_Manufacturer", record.ref_mfg);
    rows.constant("Ref_Model", record.ref_model);
    rows.constant("Ref_SerNum", record.ref_ser_num);
    rows.constant("Ref_Equipment_Number", record.ref_equip_num);
    rows.constant("Ref_Cal_Due_Date", record.ref_cal_due_date);
    rows.constant("Ref_Physical_Con", record.ref_physical_con);
    rows.constant("UUT_Cal_Type", record.uut_cal_type);
    rows.integers("Num_of_Points", [](int) { return static_cast<int>(num_points); });
    rows.integers("Cal_Step", [](int i) { return i + 1; });
    rows.constant("Ref_Last_Channel", channel);
    rows.reals("UUT_FullScale", record.uut_full_scale_units,
               [&record](int) { return record.uut_full_scale; });
    rows.reals("UUT_ErrorLimit", record.uut_error_limit_units,
               [&record](int) { return record.uut_error_limit; });
    rows.constant("UUT_MTE", record.uut_mte);
    rows.constant("UUT_Manufacturer", record.uut_mfg);
    rows.constant("UUT_Model", record.uut_model);
    rows.constant("UUT_Cal_Procedure", record.table_info.working_standard);
    // The row's label says points; it has always carried the averaging time.
    rows.integers("UUT_Num_of_Points",
                  [&record](int) { return static_cast<int>(record.averaging_seconds); });
    rows.constant("UUT_SN", record.uut_sn);
}

// The units text of a host variable's record, or empty when it was never
// resolved.
std::string variable_units(const void *variable)
{
    if (!variable)
        return std::string();
    return host_text(static_cast<const char *>(variable) + kVariableUnitsOffset,
                     kVariableUnitsWidth);
}

void write_environment(const Rows &rows, const VREL_CFG &record)
{
    const EnvSample *env = record.env;
    if (env_settings && env_settings->env_vars_used) {
        rows.reals("Ws1_Hum_Rel", variable_units(humidity_var).c_str(),
                   [env](int i) { return env[i].humidity; });
        rows.reals("Ws1_P", variable_units(barometer_var).c_str(),
                   [env](int i) { return env[i].pressure; });
        rows.reals("CellEnv_T", variable_units(room_temp_var).c_str(),
                   [env](int i) { return env[i].temperature; });
        return;
    }
    const auto unmeasured = [](int) { return "-999999"; };
    rows.texts("Ws1_Hum_Rel", "%", unmeasured);
    rows.texts("Ws1_P", "kpa", unmeasured);
    rows.texts("CellEnv_T", "C", unmeasured);
}

QString latin1(const char *text)
{
    return QString::fromLatin1(text);
}

// The report again, for programs rather than a laboratory data system:
// the same header, statistics, reference, UUT and environment, and what
// the CSV has no place for, the samples of each point's average and the
// scheduler's tick, so that the uncertainty of a mean can be stated.
// {
//   "cal_status", "cell", "user", "approver", "site", "address", "comment",
//   "channel", "channel_name", "table", "units", "number_of_points",
//   "averaging_seconds", "scheduler_tick_ms",
//   "reference": {"manufacturer", "model", "serial_number",
//                 "equipment_number", "cal_due_date", "physical_connection"},
//   "uut": {"cal_type", "full_scale", "full_scale_units", "error_limit",
//           "error_limit_units", "mte", "manufacturer", "model",
//           "procedure", "serial_number"},
//   "environment_units": {"humidity", "pressure", "temperature"},
//   "points": [{"step", "mean", "stdev", "min", "max", "date", "time",
//               "set_point", "samples", "humidity", "pressure",
//               "temperature"}, ...]
// }
// Without the environment variables the three means are -999999, as in
// the CSV.
QJsonObject report_object(const VREL_CFG &record, uint16_t action, const char *channel, int points)
{
    const bool environment = env_settings && env_settings->env_vars_used;
    QJsonArray rows;
    for (int i = 0; i < points; ++i) {
        const PointRecord &stats = record.point_stats[i];
        const EnvSample &env = record.env[i];
        rows.append(QJsonObject{
            {"step", i + 1}, {"mean", stats.eng_mean}, {"stdev", stats.eng_stdev}, {"min", stats.eng_min},
            {"max", stats.eng_max}, {"date", latin1(stats.capture_date)}, {"time", latin1(stats.capture_time)},
            {"set_point", stats.ref_value}, {"samples", point_samples[i]},
            {"humidity", environment ? env.humidity : -999999.0},
            {"pressure", environment ? env.pressure : -999999.0},
            {"temperature", environment ? env.temperature : -999999.0}});
    }
    const TableInfo &table = record.table_info;
    return QJsonObject{
        {"cal_status", latin1(record_action_word(action))},
        {"cell", latin1(cell_name())},
        {"user", latin1(table.technician)},
        {"approver", latin1(record.lab_manager)},
        {"site", latin1(site_name())},
        {"address", QString::fromLatin1(site_address())},
        {"comment", latin1(record.comment)},
        {"channel", record.channel},
        {"channel_name", latin1(channel)},
        {"table", latin1(table.tbl_name)},
        {"units", latin1(table.tbl_units)},
        {"number_of_points", num_points},
        {"averaging_seconds", static_cast<int>(record.averaging_seconds)},
        {"scheduler_tick_ms", Sched_attr ? static_cast<int>(Sched_attr->tick) : 0},
        {"reference", QJsonObject{{"manufacturer", latin1(record.ref_mfg)},
                                  {"model", latin1(record.ref_model)},
                                  {"serial_number", latin1(record.ref_ser_num)},
                                  {"equipment_number", latin1(record.ref_equip_num)},
                                  {"cal_due_date", latin1(record.ref_cal_due_date)},
                                  {"physical_connection", latin1(record.ref_physical_con)}}},
        {"uut", QJsonObject{{"cal_type", latin1(record.uut_cal_type)},
                            {"full_scale", record.uut_full_scale},
                            {"full_scale_units", latin1(record.uut_full_scale_units)},
                            {"error_limit", record.uut_error_limit},
                            {"error_limit_units", latin1(record.uut_error_limit_units)},
                            {"mte", latin1(record.uut_mte)},
                            {"manufacturer", latin1(record.uut_mfg)},
                            {"model", latin1(record.uut_model)},
                            {"procedure", latin1(table.working_standard)},
                            {"serial_number", latin1(record.uut_sn)}}},
        {"environment_units",
         QJsonObject{{"humidity", environment ? QString::fromStdString(variable_units(humidity_var)) : "%"},
                     {"pressure", environment ? QString::fromStdString(variable_units(barometer_var)) : "kpa"},
                     {"temperature", environment ? QString::fromStdString(variable_units(room_temp_var)) : "C"}}},
        {"points", rows}};
}

// Beside the CSV, under its name with ".json"; whole or not at all.
void write_report_twin(const char *csv_path, const QJsonObject &report)
{
    std::string path(csv_path);
    const std::string csv(".csv");
    if (path.size() < csv.size() || path.compare(path.size() - csv.size(), csv.size(), csv) != 0)
        return; // a name cut by its buffer has no ending to replace
    path.replace(path.size() - csv.size(), csv.size(), ".json");
    ReplacementFile replacement(path.c_str());
    FILE *file = replacement.stream();
    if (!file)
        return;
    const QByteArray text = QJsonDocument(report).toJson(QJsonDocument::Indented);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), file);
    replacement.commit();
}

} // namespace

void write_calibration_report(uint16_t action)
{
    const CLocaleScope c_locale;
    VREL_CFG &record = *cfg;
    char path[304];
    std::snprintf(path, sizeof path, "%s%s%s.csv", ended(record.report_file), report_tag(action),
                  QLocale::c()
                      .toString(vrel_now_qt(), QStringLiteral("MMddyyyyhhmmss"))
                      .toLatin1()
                      .constData());
    ReplacementFile replacement(path);
    FILE *file = replacement.stream();
    if (!file)
        return;
    end_report_texts(record);
    const std::string name = report_channel_name(record.channel);
    const char *channel = name.c_str();
    write_header(file, record, action, channel);
    const Rows rows(file, bounded_count(num_points, kMaxPoints));
    write_statistics(rows, record, channel);
    write_reference_and_uut(rows, record, channel);
    write_environment(rows, record);
    if (replacement.commit())
        write_report_twin(path, report_object(record, action, channel, bounded_count(num_points, kMaxPoints)));
}
