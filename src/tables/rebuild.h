// Rebuilding the host's calibration tables after a table file changed: the
// host's builder compiles the .tbl files into shared memory, which may then
// be a new segment, so the utility attaches again and reloads its channel.
#pragma once

#include "vrel_cfg.h"

#include <vector>

class QProcess;

// Starts the builder and does not wait for it: a fixed 2-second block of
// the calling (GUI) thread is the only synchronisation.  Then links the
// segments and the units again and reloads the channel.  A failure there
// is logged only; the record keeps the previous table.
void rebuildTables(VREL_CFG *record);

// load_channel; a load that did not fail clears unrecorded_changes.
void reload_after_rebuild(VREL_CFG *record);

// Every builder process started in this run, oldest first.  The objects are
// never deleted: the builder is not waited for, and outlives the call.
const std::vector<QProcess *> &table_builders();
