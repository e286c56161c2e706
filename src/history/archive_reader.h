// Reads a channel's whole archive, oldest record to newest, one record at a
// time: memory stays that of one record whatever the archive's length.  A
// damaged or cut record is skipped and reported with its first line.
#pragma once

#include "history_record.h"

#include <QString>

#include <memory>
#include <vector>

struct ArchiveDamage {
    int line = 0;   // the damaged record's first line, from 1
    QString reason; // what was wrong, in a technician's words
};

class ArchiveReader {
public:
    explicit ArchiveReader(const QString &path);
    ~ArchiveReader();
    ArchiveReader(const ArchiveReader &) = delete;
    ArchiveReader &operator=(const ArchiveReader &) = delete;

    // False when the archive is missing or unreadable; error() says why.
    bool open();
    QString error() const { return error_; }
    // The next whole record; false at the end.  A record of type
    // POLYNOMIAL_RANGE also carries its sibling's ranges when the sibling
    // can be read (its path as written, else the same name beside the
    // archive); one that cannot is reported and still returned.
    bool next(HistoryRecord &record);
    const std::vector<ArchiveDamage> &damage() const { return damage_; }

private:
    struct Source;
    QString path_;
    QString error_;
    std::unique_ptr<Source> source_;
    std::vector<ArchiveDamage> damage_;
};

// A channel's archive by table name, under the host's tables folder
// ("/cell/tables/<name>.save" beneath ORVANE_ROOT), or a path as given when
// the argument names a file ending in ".save".
QString archive_path_for(const QString &table_or_path);
