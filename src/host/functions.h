// The utility's side of the host: the links to the host's shared-memory
// segments, the notice box, host variables, and where the host's files lie.
//
// The segment pointers are exported in the executable's dynamic symbol
// table under these names, for the host's libraries to bind.
#pragma once

#include <orvane/shm.h>

#include <QString>

extern "C" {
extern orv_ai_real *Ai_real;        // static record of each analogue input channel
extern orv_millivolts *Mv;          // live raw value of each channel
extern orv_sys_attr *Sys_attr;      // the number of channels
extern orv_scheduler *Sched_attr;   // the scheduler's tick
extern int16_t Override_enable;      // the host's; never touched here
extern int16_t Spec_file_line_count; // the host's; never touched here
extern char *ORVANE_VER;             // weak: the host's own definition wins
}
extern orv_ai_transfer *ai_transfer;  // the table name of each channel
extern void *display_strings;         // linked to prove the segment is there
extern void *cal_tables_base;         // linked only to prove the table service is up
extern void *cal_tables;

// Links the seven segments in the host's order.  0 on success; on the
// first failure shows that segment's text and returns -1, leaving the
// failed pointer and those not yet reached as they were.
int link_shared_memory();

// After a failed link (the host was down during a rebuild) the pointers
// still lead to the host's previous memory.  This links again, silently,
// and is true when the pointers are current.
bool relink_if_lost();

// The modal notice: title "Information", font size 13, one OK button.
void show_information(const QString &text);
void show_information(const char *text);

// Resolves a host variable to the address of its record (value at byte 64,
// units at byte 232).  Logs "Can't find variable <name>" and returns false
// when the host has none.
bool find_host_variable(const char *name, void **address);

// A host path ("/cell/tables/...") under the root named by ORVANE_ROOT.
QString host_path(const char *absolute);
// The same, as bytes, cut safely at size (always ended).
void host_path(const char *absolute, char *out, size_t size);

// The channel's live millivolts: one aligned 64-bit load of a value the
// host updates all the time.
double live_millivolts(int channel);

// Reads of a channel's static record; the caller has checked the index.
int16_t channel_active_word(int channel);
int16_t host_channel_count();
const char *channel_name(int channel);
