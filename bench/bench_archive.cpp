// Time to load the newest record of a history archive of 10, 1,000 and
// 100,000 records.  The reader finds that record by reading backwards from
// the archive's end, so the three figures should be about the same.
//
// Usage: bench_archive [folder]   (default: a new folder under /tmp, removed
// afterwards)
#include "archive_records.h"
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

bool write_archive(const std::string &path, int records, long first_time)
{
    FILE *file = std::fopen(path.c_str(), "w");
    if (!file)
        return false;
    for (int i = 0; i < records; ++i) {
        const std::string text = archive_record(first_time + i);
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
        const long bytes = static_cast<long>(archive_record(first_time).size()) * records;
        std::printf("%10d %10.1f %14.1f %14.1f\n", records, bytes / 1e6, micros[micros.size() / 2],
                    micros.front());
        std::remove(path.c_str());
    }
    if (own_folder)
        rmdir(folder.c_str());
    return status;
}
