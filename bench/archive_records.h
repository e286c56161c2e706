// One history record as the utility appends it, for the benchmarks'
// archives: the comment block, then the data line of quoted fields with
// five points of a table y = -50 + 20 x.  `offset` moves the applied
// values, as a sensor that drifted would.
#pragma once

#include "archivetext.h"

#include <cstdio>
#include <string>

inline std::string archive_record(long time, const char *mode = "AS_FOUND", double offset = 0.0)
{
    std::string text = std::string(kArchiveRecordStart) + kArchiveFieldNames + kArchiveCoefficientNames;
    char line[256];
    for (int i = 0; i < 5; ++i) {
        std::snprintf(line, sizeof line,
                      "# channel->table_info.dim.table_poly[0].raw_data.x[%d] "
                      "channel->table_info.dim.table_poly[0].raw_data.y[%d]\n",
                      i, i);
        text += line;
    }
    char data[2048];
    std::snprintf(data, sizeof data,
                  "\n%ld \"10:13:20 PM 11/14/23\" '%s' 'NOADJ' \"inlet_air\" \\\n "
                  "\"INTERPOLATION\" \"0.25\" "
                  "\"PCT\" \\\n   \"routine check\" \\\n   \"0[PCT]\"   \".25[PCT]\" \\\n   "
                  "\"0[PCT]\"   \"1[PCT]\" \\\n"
                  "   \"0[PCT]\"   \"2[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   "
                  "\"0[PCT]\" \\\n"
                  "   \"0[PCT]\"   \"0[PCT]\" \\\n   \"PT100\" \"SN-4711\" \"degC\" \\\n   "
                  "\"-50[degC]\" \"150[degC]\" \\\n"
                  "   \"-50[degC]\" \"150[degC]\" \\\n   \"J. Doe\" \"WS-17\" \"mV\" \"degC\" \\\n"
                  " \" 0 -50 20 \"  \\\n \"none\" \"Inlet air\"  ",
                  time, mode);
    text += data;
    for (int i = 0; i < 5; ++i) {
        std::snprintf(line, sizeof line, " \\\n   %10.6g %10.6g", 2.5 * i, -50.0 + 50.0 * i - offset);
        text += line;
    }
    return text + "\n\n";
}
