// A channel opened for its history: the archive read through once, the
// table in force, and the reports of its calibrations.
#pragma once

#include "archive_reader.h"
#include "calibration_report.h"
#include "certificate.h"
#include "channel_facts.h"
#include "drift.h"

#include <optional>

struct HistorySession {
    QString archive; // the .save read
    ChannelHistory history;
    std::vector<ArchiveDamage> damage;
    std::optional<ChannelFacts> channel; // from the .tbl beside the archive
    std::vector<CalibrationReport> reports;
};

// `table_or_path`: a table name under the host's tables folder, or the path
// of a .save.  nullopt with `error` set for a missing or unreadable archive.
std::optional<HistorySession> open_history(const QString &table_or_path, QString *error);

// The newest calibration of the session, ready for its certificate.
std::optional<CertificateInput> newest_certificate(const HistorySession &session, const QDate &issued,
                                                   QString *error);
