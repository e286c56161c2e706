#include "history_export.h"

#include <QDateTime>
#include <QJsonArray>
#include <QSaveFile>

#include <cmath>

namespace {

QString date_time(int64_t time)
{
    return QDateTime::fromSecsSinceEpoch(time).toString(Qt::ISODate);
}

QJsonValue number(double value)
{
    return std::isfinite(value) ? QJsonValue(value) : QJsonValue();
}

QString csv_number(double value)
{
    return std::isfinite(value) ? QString::number(value, 'g', 10) : QString();
}

// A text field: quoted, with its quotes doubled, so that commas stay inside.
QString csv_text(const QString &text)
{
    QString quoted = text;
    return QLatin1Char('"') + quoted.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

} // namespace

QJsonObject history_json(const ChannelHistory &history, const std::vector<ArchiveDamage> &damage)
{
    QJsonArray records;
    for (const RecordSummary &r : history.records)
        records.append(QJsonObject{{"line", r.line},
                                   {"time", static_cast<qint64>(r.time)},
                                   {"date", date_time(r.time)},
                                   {"mode", r.mode},
                                   {"tol_state", r.tol_state},
                                   {"technician", r.technician},
                                   {"working_standard", r.working_standard},
                                   {"points", r.points},
                                   {"errors_known", r.known},
                                   {"worst_error_pct_of_span", r.known ? number(r.worst_pct) : QJsonValue()},
                                   {"band", r.known ? QJsonValue(r.band) : QJsonValue()}});
    QJsonArray drifts;
    for (const AsFoundDrift &d : history.drifts)
        drifts.append(QJsonObject{{"as_found", date_time(d.time)},
                                  {"since_as_left", date_time(d.since)},
                                  {"days", number(d.days)},
                                  {"worst_drift", number(d.worst)},
                                  {"worst_drift_pct_of_span", number(d.worst_pct)}});
    QJsonArray set_points;
    for (const SetPointDrift &s : history.set_points) {
        QJsonArray errors;
        for (const auto &e : s.errors)
            errors.append(QJsonObject{{"date", date_time(e.first)}, {"error", number(e.second)}});
        set_points.append(QJsonObject{{"set_point", number(s.set_point)}, {"errors", errors}});
    }
    const IntervalSuggestion &i = history.interval;
    QJsonObject interval{{"known", i.known}, {"limit_pct_of_span", i.limit_pct}};
    if (i.known) {
        interval.insert(QStringLiteral("drift_pct_of_span_per_day"), number(i.slope_pct_per_day));
        interval.insert(QStringLiteral("last_as_left"), i.last_as_left.toString(Qt::ISODate));
        interval.insert(QStringLiteral("suggested_due"), i.suggested.toString(Qt::ISODate));
    }
    QJsonArray damaged;
    for (const ArchiveDamage &d : damage)
        damaged.append(QJsonObject{{"line", d.line}, {"reason", d.reason}});
    return QJsonObject{{"table", history.table},     {"units", history.table_units},
                       {"span", number(history.span)}, {"records", records},
                       {"drifts", drifts},             {"set_points", set_points},
                       {"interval", interval},         {"damaged_records", damaged}};
}

QByteArray history_csv(const ChannelHistory &history, const std::vector<ArchiveDamage> &damage)
{
    QStringList lines;
    lines << QStringLiteral("line,date,mode,tol_state,technician,working_standard,points,worst_error_pct_of_span,band");
    for (const RecordSummary &r : history.records)
        lines << QStringList{QString::number(r.line), date_time(r.time), r.mode, r.tol_state, csv_text(r.technician),
                             csv_text(r.working_standard), QString::number(r.points),
                             r.known ? csv_number(r.worst_pct) : QString(),
                             r.known ? QString::number(r.band) : QString()}
                     .join(QLatin1Char(','));
    lines << QString() << QStringLiteral("as_found,since_as_left,days,worst_drift,worst_drift_pct_of_span");
    for (const AsFoundDrift &d : history.drifts)
        lines << QStringList{date_time(d.time), date_time(d.since), csv_number(d.days), csv_number(d.worst),
                             csv_number(d.worst_pct)}
                     .join(QLatin1Char(','));
    const IntervalSuggestion &i = history.interval;
    lines << QString() << QStringLiteral("drift_pct_of_span_per_day,limit_pct_of_span,last_as_left,suggested_due");
    lines << (i.known ? QStringList{csv_number(i.slope_pct_per_day), csv_number(i.limit_pct),
                                    i.last_as_left.toString(Qt::ISODate), i.suggested.toString(Qt::ISODate)}
                      : QStringList{QString(), csv_number(i.limit_pct), QString(), QString()})
                 .join(QLatin1Char(','));
    if (!damage.empty()) {
        lines << QString() << QStringLiteral("damaged_record_line,reason");
        for (const ArchiveDamage &d : damage)
            lines << QString::number(d.line) + QLatin1Char(',') + csv_text(d.reason);
    }
    return (lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8();
}

bool write_file(const QString &path, const QByteArray &bytes, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        if (error)
            *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
