// Demo table files for the simulated cell's channels, in the host's .tbl
// text format, so that a fresh cell has something to calibrate.
#pragma once

#include "cell_model.h"

#include <ctime>
#include <string>

namespace orvsim {

// The .tbl text of one channel's table, dated last_cal.
std::string demo_table_text(const ChannelSpec &channel, std::time_t last_cal);

// The date the demo tables were last calibrated: 45 days before `now`.
std::time_t demo_last_calibration(std::time_t now);

// Writes <tables_dir>/<table>.tbl for every channel that has a table and no
// file yet; existing files are left alone.  Returns the number written, or
// -1 when the folder cannot be made.
int write_demo_tables(const CellSpec &cell, const std::string &tables_dir, std::time_t now);

} // namespace orvsim
