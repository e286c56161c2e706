// The history program's command line: a channel, and what to write
// without a window.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

struct HistoryOptions {
    QString channel;               // a table name or a .save path
    QString pdf, csv, json, plot;  // files to write; none: open the window
    bool headless() const { return !pdf.isEmpty() || !csv.isEmpty() || !json.isEmpty() || !plot.isEmpty(); }
};

// nullopt with `error` set for a command line that does not parse.
std::optional<HistoryOptions> parse_history_options(const QStringList &arguments, QString *error);
extern const char kHistoryUsage[];

// Writes what the options ask for; messages go to `log` (one line each).
// Returns the process's exit status: 0 done, 1 an archive that cannot be
// read, 3 a file that cannot be written or a certificate with no calibration.
int run_headless(const HistoryOptions &options, QStringList &log);
