// What the certificate and the interval need from the table in force: the
// unit under test's sensor, its span, and the due date the table carries.
#pragma once

#include <QDate>
#include <QString>

#include <optional>

struct ChannelFacts {
    QString table, description, sensor_model, sensor_serial, units, sensor_units;
    double sensor_lower = 0.0, sensor_upper = 0.0;
    QDate last_calibrated, due; // invalid when the table does not say
    double span() const { return sensor_upper - sensor_lower; }
};

// The table "<folder>/<stem>.tbl" read through the host's table library;
// nullopt with `error` set when it cannot be read.
std::optional<ChannelFacts> read_channel_facts(const QString &tbl_path, QString *error = nullptr);

// The file stem the utility gives a table's files ("COOLANT_TEMP" ->
// "coolant_temp"), and the channel's folders under the host's root.
QString table_stem(const QString &table);
QString tables_folder();        // "/cell/tables" under ORVANE_ROOT
QString verifications_folder(); // "/cell/tables/verifications" under ORVANE_ROOT
