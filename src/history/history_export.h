// The history of a channel for laboratories that script: every record with
// its errors, the drift of each As-Found and the interval suggestion, as
// CSV or JSON.
#pragma once

#include "archive_reader.h"
#include "drift.h"

#include <QByteArray>
#include <QJsonObject>

QJsonObject history_json(const ChannelHistory &history, const std::vector<ArchiveDamage> &damage);
QByteArray history_csv(const ChannelHistory &history, const std::vector<ArchiveDamage> &damage);
// Whole or not at all; false with `error` set when the file cannot be written.
bool write_file(const QString &path, const QByteArray &bytes, QString *error);
