// The two keyword files that remember, between runs, what was calibrated
// and with what: uut_file (the unit under test) and ref_file (the
// reference standard).  Each is a sequence of keyword lines, each followed
// by its value line and a blank line, rewritten whole by every recording
// flow.  A file that is missing or cannot be opened is no error.
#pragma once

#include "vrel_cfg.h"

// The word of a record action: 7 "AS_FOUND", 6 "AS_LEFT", any other
// (Re-use passes 8) "AS_FOUND/AS_LEFT".
const char *record_action_word(uint16_t action);

// Clears the UUT block of the record, reads the calibration type, model
// and MTE from uut_file (each cut to 31 characters), then derives the
// serial number, description, manufacturer and full scale from the table
// and the error limit from the OOT tolerance text, file or no file.
void read_uut_data(VREL_CFG *record);

// The three UUT texts that only uut_file keeps (calibration type, model,
// MTE), as the technician accepted them on the table information form.
struct UutEntry {
    char cal_type[32], model[32], mte[32];
};
UutEntry uut_entry_of(const VREL_CFG *record);
void restore_uut_entry(VREL_CFG *record, const UutEntry &entry);

// Fills the six hist_ref_* texts from ref_file; they stay empty when it
// cannot be read.
void read_ref_data(VREL_CFG *record);

// Rewrite uut_file and ref_file from the record's fields as they stand,
// stamped with the current time and the action's word.
void write_uut_data(VREL_CFG *record, uint16_t action);
void write_ref_data(VREL_CFG *record, uint16_t action);
