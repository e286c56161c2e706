#include "calibration_report.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

QString text(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString();
}

double number(const QJsonObject &object, const char *key, double otherwise = 0.0)
{
    return object.value(QLatin1String(key)).toDouble(otherwise);
}

// "<stem>_AF_11242026193512.json": the stamp the utility puts in the name.
QDateTime stamp_of(const QString &path)
{
    static const QRegularExpression stamp(QStringLiteral("_(\\d{14})\\.json$"));
    const QRegularExpressionMatch match = stamp.match(path);
    return match.hasMatch() ? QDateTime::fromString(match.captured(1), QStringLiteral("MMddyyyyhhmmss"))
                            : QDateTime();
}

ReportPoint point_of(const QJsonObject &row)
{
    ReportPoint point;
    point.step = row.value(QLatin1String("step")).toInt();
    point.set_point = number(row, "set_point");
    point.mean = number(row, "mean");
    point.stdev = number(row, "stdev");
    point.min = number(row, "min");
    point.max = number(row, "max");
    point.samples = row.value(QLatin1String("samples")).toInt();
    point.date = text(row, "date");
    point.time = text(row, "time");
    point.temperature = number(row, "temperature", -999999.0);
    point.pressure = number(row, "pressure", -999999.0);
    point.humidity = number(row, "humidity", -999999.0);
    return point;
}

} // namespace

std::optional<CalibrationReport> read_report(const QString &path, QString *error)
{
    auto fail = [error](const QString &why) -> std::optional<CalibrationReport> {
        if (error)
            *error = why;
        return std::nullopt;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    if (file.size() > 16 * 1024 * 1024)
        return fail(QStringLiteral("%1 is too large for a report").arg(path));
    QJsonParseError parse_error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parse_error);
    if (!document.isObject())
        return fail(QStringLiteral("%1 is not a report: %2").arg(path, parse_error.errorString()));
    const QJsonObject object = document.object();
    if (!object.contains(QLatin1String("cal_status")) || !object.value(QLatin1String("points")).isArray())
        return fail(QStringLiteral("%1 is not a report: no status or points").arg(path));

    CalibrationReport report;
    report.path = path;
    report.written = stamp_of(path);
    report.status = text(object, "cal_status");
    report.cell = text(object, "cell");
    report.user = text(object, "user");
    report.approver = text(object, "approver");
    report.site = text(object, "site");
    report.address = text(object, "address");
    report.comment = text(object, "comment");
    report.channel = object.value(QLatin1String("channel")).toInt();
    report.channel_name = text(object, "channel_name");
    report.table = text(object, "table");
    report.units = text(object, "units");
    report.averaging_seconds = object.value(QLatin1String("averaging_seconds")).toInt();
    report.scheduler_tick_ms = object.value(QLatin1String("scheduler_tick_ms")).toInt();
    const QJsonObject reference = object.value(QLatin1String("reference")).toObject();
    report.ref_manufacturer = text(reference, "manufacturer");
    report.ref_model = text(reference, "model");
    report.ref_serial = text(reference, "serial_number");
    report.ref_equipment = text(reference, "equipment_number");
    report.ref_due = text(reference, "cal_due_date");
    report.ref_connection = text(reference, "physical_connection");
    const QJsonObject uut = object.value(QLatin1String("uut")).toObject();
    report.uut_cal_type = text(uut, "cal_type");
    report.uut_mte = text(uut, "mte");
    report.uut_manufacturer = text(uut, "manufacturer");
    report.uut_model = text(uut, "model");
    report.uut_procedure = text(uut, "procedure");
    report.uut_serial = text(uut, "serial_number");
    report.uut_full_scale = number(uut, "full_scale");
    report.uut_full_scale_units = text(uut, "full_scale_units");
    report.uut_error_limit = number(uut, "error_limit");
    report.uut_error_limit_units = text(uut, "error_limit_units");
    const QJsonObject units = object.value(QLatin1String("environment_units")).toObject();
    report.temperature_units = text(units, "temperature");
    report.pressure_units = text(units, "pressure");
    report.humidity_units = text(units, "humidity");
    for (const QJsonValue &row : object.value(QLatin1String("points")).toArray())
        report.points.push_back(point_of(row.toObject()));
    return report;
}

std::vector<CalibrationReport> channel_reports(const QString &folder, const QString &stem)
{
    std::vector<CalibrationReport> reports;
    const QStringList names = QDir(folder).entryList({stem + QStringLiteral("_*.json")}, QDir::Files);
    for (const QString &name : names) {
        // "<stem>_AF_<stamp>": another table whose name begins with this
        // stem and an underscore is not this table's.
        static const QRegularExpression own(QStringLiteral("^_(AF|AL|AFAL)_\\d{14}\\.json$"));
        if (!own.match(name.mid(stem.size())).hasMatch())
            continue;
        if (auto report = read_report(QDir(folder).filePath(name)))
            reports.push_back(std::move(*report));
    }
    std::stable_sort(reports.begin(), reports.end(),
                     [](const CalibrationReport &a, const CalibrationReport &b) { return a.written < b.written; });
    return reports;
}

std::optional<Calibration> newest_calibration(const std::vector<CalibrationReport> &reports)
{
    for (size_t i = reports.size(); i-- > 0;) {
        if (!reports[i].as_left())
            continue;
        Calibration calibration{std::nullopt, reports[i]};
        if (reports[i].status == QLatin1String("AS_LEFT")) {
            for (size_t j = i; j-- > 0;) {
                if (reports[j].as_found()) {
                    calibration.as_found = reports[j];
                    break;
                }
                if (reports[j].as_left())
                    break; // the As-Found belongs to an earlier calibration, if any
            }
        }
        return calibration;
    }
    return std::nullopt;
}
