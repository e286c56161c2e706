// The CSV report of one recorded event, for the laboratory data system:
// a header block of label-value rows and the data block "KEY:
// CLinearity.1", one column per calibration point.
#pragma once

#include <cstdint>

// Writes "<report_file><tag><MMddyyyyhhmmss>.csv" from the one calibration
// record, cfg: tag "_AF_" for action 7, "_AL_" for 6, "_AFAL_" for any
// other.  The caller has set lab_manager, comment and averaging_seconds
// and written the UUT and reference files with the same action.  A file
// that cannot be opened is skipped in silence.
void write_calibration_report(uint16_t action);
