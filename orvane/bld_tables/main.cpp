// bld_tables: the host's table builder.  Takes no arguments: reads every
// .tbl file under /cell/tables/, logs the ones it cannot accept, and stamps
// the build into the CAL_TABLES segment.  Always exits 0, as the utility
// does not look at its result.
#include <orvane/cell.h>
#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/strings.h>

#include <dirent.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace {

const char *const kTypeWords[] = {"INTERPOLATION",    "LONG_INTERPOLATION", "POLYNOMIAL", "SCALED",
                                  "2D_INTERPOLATION", "LOCAL_2D_INTERPOLATION", "HYPERBOLIC",
                                  "POLYNOMIAL_RANGE"};

// A table is accepted when it names a known table type under "#type_code".
bool table_is_readable(const std::string &path)
{
    FILE *file = std::fopen(path.c_str(), "r");
    if (!file)
        return false;
    char word[1024];
    bool ok = get_1st_line(file, word, sizeof word, "#type_code") == 0;
    std::fclose(file);
    if (!ok)
        return false;
    string_trim(string_strip(word));
    for (const char *known : kTypeWords)
        if (std::strcmp(word, known) == 0)
            return true;
    return false;
}

} // namespace

int main()
{
    char dir_path[PATH_MAX];
    orvane_root_path("/cell/tables", dir_path, sizeof dir_path);
    int read_ok = 0, bad = 0;
    if (DIR *dir = opendir(dir_path)) {
        while (dirent *entry = readdir(dir)) {
            std::string name = entry->d_name;
            if (name.size() <= 4 || name.compare(name.size() - 4, 4, ".tbl") != 0)
                continue;
            std::string path = std::string(dir_path) + "/" + name;
            if (table_is_readable(path)) {
                ++read_ok;
            } else {
                ++bad;
                log_error("bld_tables", __LINE__, 1, 0xFFFF, "table %s cannot be read; not built", path.c_str());
            }
        }
        closedir(dir);
    } else {
        log_error("bld_tables", __LINE__, 1, 0xFFFF, "no table folder %s", dir_path);
    }
    if (auto *stamp = static_cast<orv_cal_tables *>(orvane_segment_attach_rw(ORV_SEG_CAL_TABLES, nullptr))) {
        stamp->tables_read = read_ok;
        stamp->tables_bad = bad;
        stamp->build_time = static_cast<int64_t>(std::time(nullptr));
        __atomic_add_fetch(&stamp->build_count, 1, __ATOMIC_RELEASE);
    } else {
        log_error("bld_tables", __LINE__, 1, 0xFFFF, "the host is not running; nothing built");
    }
    log_error("bld_tables", __LINE__, 1, 0, "tables built: %d read, %d refused", read_ok, bad);
    return 0;
}
