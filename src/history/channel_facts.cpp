#include "channel_facts.h"

#include <orvane/common.h>
#include <orvane/tables.h>

#include <QDateTime>
#include <QFileInfo>

#include <cstring>
#include <memory>

namespace {

QString latin1(const char *field, size_t width)
{
    return QString::fromLatin1(field, static_cast<int>(strnlen(field, width))).trimmed();
}

QString rooted(const char *absolute)
{
    char path[4096];
    orvane_root_path(absolute, path, sizeof path);
    return QString::fromLocal8Bit(path);
}

} // namespace

std::optional<ChannelFacts> read_channel_facts(const QString &tbl_path, QString *error)
{
    auto table = std::make_unique<TableInfo>();
    std::memset(table.get(), 0, sizeof *table);
    const QByteArray path = QFile::encodeName(tbl_path);
    if (static_cast<uint16_t>(read_table(path.constData(), table.get())) == 0xFFFF) {
        if (error)
            *error = QStringLiteral("cannot read the table %1").arg(tbl_path);
        return std::nullopt;
    }
    ChannelFacts facts;
    facts.table = latin1(table->tbl_name, sizeof table->tbl_name);
    facts.description = latin1(table->tbl_desc, sizeof table->tbl_desc);
    facts.sensor_model = latin1(table->sensor_model, sizeof table->sensor_model);
    facts.sensor_serial = latin1(table->sensor_sn, sizeof table->sensor_sn);
    facts.units = latin1(table->tbl_units, sizeof table->tbl_units);
    facts.sensor_units = latin1(table->sensor_range_units, sizeof table->sensor_range_units);
    facts.sensor_lower = table->sensor_range_lower_limit;
    facts.sensor_upper = table->sensor_range_upper_limit;
    if (table->last_cal > 0) {
        facts.last_calibrated = QDateTime::fromSecsSinceEpoch(table->last_cal).date();
        if (table->cal_interval > 0)
            facts.due = QDateTime::fromSecsSinceEpoch(table->last_cal + table->cal_interval).date();
    }
    return facts;
}

QString table_stem(const QString &table)
{
    QString stem = table;
    return stem.replace(QLatin1Char('/'), QLatin1Char('_'));
}

QString tables_folder()
{
    return rooted("/cell/tables");
}

QString verifications_folder()
{
    return rooted("/cell/tables/verifications");
}
