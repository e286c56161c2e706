#include "rebuild.h"

#include "functions.h"
#include "vrel_util.h"

#include <orvane/log.h>
#include <orvane/units.h>

#include <QProcess>
#include <QThread>

namespace
{

const char kModule[] = "rebuild";

// Held here so that the builders stay reachable for the life of the
// process.  The list itself is never destroyed either: at exit a freed list
// would leave the running builders' objects unreachable.
std::vector<QProcess *> &builders()
{
    static auto *started = new std::vector<QProcess *>;
    return *started;
}

} // namespace

const std::vector<QProcess *> &table_builders()
{
    return builders();
}

void rebuildTables(VREL_CFG *record)
{
    auto *builder = new QProcess;
    builders().push_back(builder);
    builder->start(host_path("/orvane/bin/bld_tables"), QStringList(), QIODevice::ReadWrite);
    QThread::sleep(2);

    const int linked = link_shared_memory();
    if ((linked & 0xFFFF) == 0xFFFF) {
        log_error(kModule, __LINE__, 1, linked,
                  "Failure Initializing Shared Memory after Table Rebuild");
        return;
    }
    const short units = units_init_access(1);
    if (units == -1) {
        log_error(kModule, __LINE__, 1, units, "Failure Re-initializing Units after Table Rebuild");
        return;
    }
    reload_after_rebuild(record);
}

void reload_after_rebuild(VREL_CFG *record)
{
    if ((load_channel(record) & 0xFFFF) != 0xFFFF)
        record->unrecorded_changes = 0;
}
