// The steps of start-up that need no window: the command line, the
// station's marker file, SIGTERM, the host link, the data folders.
#pragma once

#include <cstdint>

class QWidget;
struct CellInfo;

// Right after the QApplication is made: the C library back in the C
// locale for numbers and times (Qt has just set it from the environment,
// and the files the host reads are in the C locale), and the form's 11
// points as the application's font (widgets that carry a style sheet take
// their font from the application, not from the form).
void prepare_application();

// "-d" counts only as the first argument.
bool parse_debug_flag(int argc, char **argv);

// 1 when the touch-screen marker file "/cell/orvane_ts.ini" exists.
int16_t touch_screen_marker_present();

// From now on SIGTERM ends the running event loop with status 0.  The
// handler only writes to a pipe; the event loop makes the call.
void install_sigterm_exit();

// Links the segments and the units.  On a failure shows what failed,
// then the start-up failure text, logs it and returns false.
bool connect_to_host();

// The two data folders under /cell/tables/; each failure shows its
// "FATAL ERROR" box.  Both are tried; false if either failed.
bool make_data_directories(QWidget *parent);

// The host's cell and site names into info; false, silently, when the host
// gives none.
bool read_cell_names(CellInfo *info);

// Samples in one average: (1000 / tick, integer division) * seconds.  A
// tick of 0 or less gives 0 instead of a division by zero.
int32_t averaging_count_for(int tick_ms, long seconds);
