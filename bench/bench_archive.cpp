// Time to load the newest record of a history archive of 10, 1,000 and
// 100,000 records.  The reader finds that record by reading backwards from
// the archive's end, so the three figures should be about the same.
//
// Usage: bench_archive [folder]   (default: a new folder under /tmp, removed
// afterwards)
#include "archivetext.h"
#include <orvane/tables.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

constexpr int kRuns = 31;

// One record as the utility appends it: the comment block, then the data
// line of quoted fields with five points.
std::string record(long time)
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
                  "\n%ld \"10:13:20 PM 11/14/23\" 'AS_FOUND' 'NOADJ' \"inlet_air\" \\\n "
                  "\"INTERPOLATION\" \"0.25\" "
                  "\"PCT\" \\\n   \"routine check\" \\\n   \"0[PCT]\"   \".25[PCT]\" \\\n   "
                  "\"0[PCT]\"   \"1[PCT]\" \\\n"
                  "   \"0[PCT]\"   \"2[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   "
                  "\"0[PCT]\" \\\n"
                  "   \"0[PCT]\"   \"0[PCT]\" \\\n   \"PT100\" \"SN-4711\" \"degC\" \\\n   "
                  "\"-50[degC]\" \"150[degC]\" \\\n"
                  "   \"-50[degC]\" \"150[degC]\" \\\n   \"J. Doe\" \"WS-17\" \"mV\" \"degC\" \\\n"
                  " \" 0 -50 20 \"  \\\n \"none\" \"Inlet air\"  ",
                  time);
    text += data;
    for (int i = 0; i < 5; ++i) {
        std::snprintf(line, sizeof line, " \\\n   %10.6g %10.6g", 2.5 * i, -50.0 + 50.0 * i);
        text += line;
    }
    return text + "\n\n";
}

bool write_archive(const std::string &path, int records, long first_time)
{
    FILE *file = std::fopen(path.c_str(), "w");
    if (!file)
        return false;
    for (int i = 0; i < records; ++i) {
        const std::string text = record(first_time + i);
        std::fwrite(text.data(), 1, text.size(), file);
    }
    return std::fclose(file) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    std::string folder;
    bool own_folder = argc < 2;
    if (own_folder) {
        char pattern[] = "/tmp/bench_archive-XXXXXX";
        if (!mkdtemp(pattern)) {
            std::perror("bench_archive: mkdtemp");
            return 1;
        }
        folder = pattern;
    } else {
        folder = argv[1];
    }

    const long first_time = 1600000000;
    std::printf("%10s %10s %14s %14s\n", "records", "MB", "median (us)", "fastest (us)");
    int status = 0;
    for (int records : {10, 1000, 100000}) {
        const std::string path = folder + "/bench_" + std::to_string(records) + ".save";
        if (!write_archive(path, records, first_time)) {
            std::fprintf(stderr, "bench_archive: cannot write %s\n", path.c_str());
            status = 1;
            break;
        }
        std::vector<double> micros;
        for (int run = 0; run <= kRuns; ++run) { // run 0 warms the page cache
            void *found[500] = {};
            int64_t scratch[500] = {};
            const auto start = std::chrono::steady_clock::now();
            const short result = read_archive_file_poly(1, path.c_str(), found, scratch);
            const auto end = std::chrono::steady_clock::now();
            const auto *newest = static_cast<const TableInfo *>(found[0]);
            if (result != 1 || !newest || newest->last_cal != first_time + records - 1) {
                std::fprintf(stderr, "bench_archive: %s: the newest record was not read\n",
                             path.c_str());
                status = 1;
                break;
            }
            if (run > 0)
                micros.push_back(std::chrono::duration<double, std::micro>(end - start).count());
        }
        if (status != 0)
            break;
        std::sort(micros.begin(), micros.end());
        const long bytes = static_cast<long>(record(first_time).size()) * records;
        std::printf("%10d %10.1f %14.1f %14.1f\n", records, bytes / 1e6, micros[micros.size() / 2],
                    micros.front());
        std::remove(path.c_str());
    }
    if (own_folder)
        rmdir(folder.c_str());
    return status;
}
