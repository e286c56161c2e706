// Demo archives for the simulated cell: a few years of earlier
// calibrations of each channel, in the history record format the
// calibration utility appends, so that a channel's history, drift and
// interval mean something in a demo.
#pragma once

#include "cell_model.h"

#include <ctime>
#include <string>

namespace orvsim {

// The .save text of one channel: a commissioning adjustment and its
// verification, then every 26 weeks an As-Found that has drifted, the
// adjustment that followed and its verification.  The newest record, the
// verification two hours after last_cal, holds the points of the channel's
// demo table, so that the table in force is the same whichever is read.
// Empty for a table type that has no demo history (range and scaled tables).
std::string demo_history_text(const ChannelSpec &channel, std::time_t last_cal);

// Writes <tables_dir>/<table>.save for every channel with a demo history
// and no archive yet; an existing archive is never touched.  The history
// ends at the last_cal of the channel's table file where one is there,
// else at the demo tables' date for now.  Returns the number written.
int write_demo_histories(const CellSpec &cell, const std::string &tables_dir, std::time_t now);

} // namespace orvsim
