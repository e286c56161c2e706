// The items of a history record's data line, or of a range file: quoted
// texts and bare words, over physical lines continued by a backslash.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

struct RecordToken {
    bool quoted = false;
    QByteArray text;
    int line = 0;
};

// Splits `text`, whose first line is `first_line`; nullopt with `error`
// set for a quote that is not closed on its line.
std::optional<std::vector<RecordToken>> record_tokens(const QByteArray &text, int first_line, QString *error);

// A number as the records write it ("%.6g", "%10.6g", "nan", "-inf"),
// optionally followed by "[units]" when `units` is given.
bool parse_number(const QByteArray &text, double &value, QString *units = nullptr);
