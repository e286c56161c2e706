#include "fuzz_entries.h"

#include "archive_reader.h"
#include "archivetext.h"
#include "drift.h"
#include "uut_ref.h"
#include "vrel_callbacks.h"
#include "vrel_cfg.h"

#include <orvane/strings.h>
#include <orvane/tables.h>

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace
{

// ---------------------------------------------------------------- the root

class ScratchRoot
{
  public:
    ScratchRoot()
    {
        // Memory-backed when the machine has it: every execution writes
        // and reads its input files here.
        struct stat shm {};
        std::string pattern = stat("/dev/shm", &shm) == 0 && S_ISDIR(shm.st_mode) ? "/dev/shm/vrel_fuzz-XXXXXX"
                                                                                    : "/tmp/vrel_fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) {
            std::perror("fuzz: mkdtemp");
            std::abort();
        }
        root_ = pattern;
        for (const char *folder : {"/cell", "/cell/tables", "/cell/tables/uut_ref_data", "/orvane",
                                   "/orvane/log"})
            mkdir((root_ + folder).c_str(), 0755);
        if (symlink("/dev/null", (root_ + "/orvane/log/orvane.log").c_str()) != 0)
            std::perror("fuzz: the host log stays a file");
        setenv("ORVANE_ROOT", root_.c_str(), 1);
        // A cell that never runs: nothing here may reach a live segment.
        setenv("ORVANE_CELL", ("fuzz" + std::to_string(getpid())).c_str(), 1);
        init_tolerance_texts();
    }
    ~ScratchRoot()
    {
        nftw(root_.c_str(), remove_entry, 8, FTW_DEPTH | FTW_PHYS);
    }
    ScratchRoot(const ScratchRoot &) = delete;
    ScratchRoot &operator=(const ScratchRoot &) = delete;

    std::string path(const char *absolute) const { return root_ + absolute; }

    // Replaces the file at the host path with exactly these bytes.
    std::string put(const char *absolute, std::string_view bytes) const
    {
        const std::string file = path(absolute);
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) {
            std::perror("fuzz: cannot write an input file");
            std::abort();
        }
        size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t wrote = write(fd, bytes.data() + done, bytes.size() - done);
            if (wrote <= 0) {
                std::perror("fuzz: cannot write an input file");
                std::abort();
            }
            done += static_cast<size_t>(wrote);
        }
        close(fd);
        return file;
    }

    void remove(const char *absolute) const { unlink(path(absolute).c_str()); }

  private:
    static int remove_entry(const char *path, const struct stat *, int, struct FTW *)
    {
        std::remove(path);
        return 0;
    }

    std::string root_;
};

const ScratchRoot &scratch()
{
    static const ScratchRoot root;
    return root;
}

std::string_view bytes_of(const uint8_t *data, size_t size)
{
    return size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char *>(data), size);
}

// The two files of an input, split at the first marker.
struct TwoFiles {
    std::string_view first;
    std::string_view second;
    bool has_second = false;
};

TwoFiles split_files(std::string_view input)
{
    const std::string_view marker(kFuzzSplitMarker);
    const size_t at = input.find(marker);
    if (at == std::string_view::npos)
        return {input, {}, false};
    return {input.substr(0, at), input.substr(at + marker.size()), true};
}

// ---------------------------------------------------------------- promises

template <size_t N> bool is_ended(const char (&field)[N])
{
    return std::memchr(field, '\0', N) != nullptr;
}

bool is_table_type(int type)
{
    return type == 0 || type == 1 || type == 2 || (type >= 4 && type <= 7);
}

// What every table block that a reader hands out keeps to: texts ended in
// their fields, counts that index inside their arrays.
std::string block_promises(const TableInfo &t, bool unknown_type_allowed)
{
    const struct {
        const char *name;
        bool ended;
    } texts[] = {
        {"tol_units", is_ended(t.tol_units)},
        {"tbl_desc", is_ended(t.tbl_desc)},
        {"working_standard", is_ended(t.working_standard)},
        {"technician", is_ended(t.technician)},
        {"user_comment", is_ended(t.user_comment)},
        {"sensor_model", is_ended(t.sensor_model)},
        {"sensor_sn", is_ended(t.sensor_sn)},
        {"sensor_range_units", is_ended(t.sensor_range_units)},
        {"tbl_name", is_ended(t.tbl_name)},
        {"tbl_units", is_ended(t.tbl_units)},
        {"x_units", is_ended(t.x_units)},
        {"mua_instance_name", is_ended(t.mua_instance_name)},
    };
    for (const auto &text : texts)
        if (!text.ended)
            return std::string(text.name) + " is not ended within its field";
    if (!is_table_type(t.tbl_type) && !(unknown_type_allowed && t.tbl_type == -1))
        return "tbl_type " + std::to_string(t.tbl_type) + " is no table type";
    for (int r = 0; r < ORV_MAX_RANGES; ++r) {
        const TablePoly &poly = t.dim.table_poly[r];
        if (poly.raw_data.count < 0 || poly.raw_data.count > ORV_MAX_POINTS)
            return "range " + std::to_string(r) + " has a point count of " + std::to_string(poly.raw_data.count);
        if (poly.num_coeff < 0 || poly.num_coeff > ORV_MAX_COEFFS)
            return "range " + std::to_string(r) + " has a coefficient count of " + std::to_string(poly.num_coeff);
    }
    if (t.range_index < 0 || t.range_index >= ORV_MAX_RANGES)
        return "range_index " + std::to_string(t.range_index) + " is not 0..7";
    if (t.dyno_cal.count < 0 || t.dyno_cal.count > ORV_MAX_POINTS)
        return "dyno_cal count " + std::to_string(t.dyno_cal.count) + " is not 0..64";
    return {};
}

// Run after every refused table over the whole block: left out of the
// coverage tracing, which would otherwise cost more than the reader.  The
// regression suite builds this file with GCC, which traces nothing here.
#if defined(__clang__)
#define FUZZ_UNTRACED __attribute__((no_sanitize("coverage")))
#else
#define FUZZ_UNTRACED
#endif
FUZZ_UNTRACED bool all_zero(const void *bytes, size_t size)
{
    const auto *p = static_cast<const unsigned char *>(bytes);
    for (size_t i = 0; i < size; ++i)
        if (p[i] != 0)
            return false;
    return true;
}

// A whole interpolation record as the writer appends it, for the check
// that no damaged tail of an archive hides the record appended after it.
constexpr long kWholeRecordTime = 1712345678;

std::string whole_record()
{
    std::string text = std::string(kArchiveRecordStart) + kArchiveFieldNames + kArchiveCoefficientNames;
    text += "# channel->table_info.dim.table_poly[0].raw_data.x[0] "
            "channel->table_info.dim.table_poly[0].raw_data.y[0]\n"
            "# channel->table_info.dim.table_poly[0].raw_data.x[1] "
            "channel->table_info.dim.table_poly[0].raw_data.y[1]\n";
    text += "\n" + std::to_string(kWholeRecordTime) +
            " \"10:14:38 PM 04/05/24\" 'AS_FOUND' 'NOADJ' \"fuzz\" \\\n"
            " \"INTERPOLATION\" \"0.25\" \"PCT\" \\\n   \"none\" \\\n"
            "   \"0[PCT]\"   \".25[PCT]\" \\\n   \"0[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   \"2[PCT]\" \\\n"
            "   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n"
            "   \"SIM-100\" \"SN-1\" \"KPA\" \\\n   \"0[KPA]\" \"100[KPA]\" \\\n"
            "   \"0[KPA]\" \"100[KPA]\" \\\n   \"none\" \"none\" \"MV\" \"KPA\" \\\n"
            " \" 0 0 10 \"  \\\n \"none\" \"whole\"   \\\n"
            "            0          0 \\\n           10        100\n\n";
    return text;
}

// The archive with a whole record appended on a line of its own.
std::string with_whole_record(std::string_view archive)
{
    std::string grown(archive);
    if (!grown.empty() && grown.back() != '\n')
        grown += '\n';
    return grown + whole_record();
}

// ---------------------------------------------------------------- get_1st_line

bool is_white(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view white_trimmed(std::string_view text)
{
    while (!text.empty() && is_white(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_white(text.back()))
        text.remove_suffix(1);
    return text;
}

// The keyword lookup told plainly: the first line that is the keyword,
// white space at both ends aside, and the line after it, which must exist.
// Returns false when it is not found; value is then empty.
bool plain_lookup(std::string_view stream, std::string_view keyword, size_t size, std::string &value)
{
    value.clear();
    keyword = white_trimmed(keyword);
    size_t start = 0;
    while (start < stream.size()) {
        const size_t end = stream.find('\n', start);
        if (end == std::string_view::npos)
            return false; // a last line without its end: nothing can follow it
        if (white_trimmed(stream.substr(start, end - start)) == keyword) {
            if (end + 1 >= stream.size())
                return false;
            const size_t value_end = stream.find('\n', end + 1);
            std::string_view line = stream.substr(
                end + 1, value_end == std::string_view::npos ? std::string_view::npos : value_end - end - 1);
            if (size == 0)
                return true;
            if (line.size() <= size - 1 && !line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            value.assign(line.substr(0, size - 1));
            return true;
        }
        start = end + 1;
    }
    return false;
}

} // namespace

std::string fuzz_read_table(const uint8_t *data, size_t size)
{
    const std::string path = scratch().put("/cell/tables/fuzz.tbl", bytes_of(data, size));
    auto table = std::make_unique<TableInfo>();
    const int result = read_table(path.c_str(), table.get());
    if ((result & 0xFFFF) == 0xFFFF)
        return all_zero(table.get(), sizeof(TableInfo)) ? std::string()
                                                        : "a refused table changed the caller's block";
    if (result != 0)
        return "read_table returned " + std::to_string(result);
    if (std::strcmp(table->tbl_name, "fuzz") != 0)
        return std::string("tbl_name is \"") + table->tbl_name + "\", not the file's base name";
    return block_promises(*table, false);
}

std::string fuzz_read_archive(const uint8_t *data, size_t size)
{
    const TwoFiles files = split_files(bytes_of(data, size));
    const std::string archive = scratch().put("/cell/tables/fuzz.save", files.first);
    if (files.has_second)
        scratch().put("/cell/tables/fuzz.poly_range", files.second);
    else
        scratch().remove("/cell/tables/fuzz.poly_range");

    void *records[500] = {};
    int64_t slots[500] = {};
    records[0] = &slots; // must be cleared on any failure
    const short result = read_archive_file_poly(1, archive.c_str(), records, slots);
    if (result != 1 && result != 0 && result != -1)
        return "read_archive_file_poly returned " + std::to_string(result);
    if (result != 1 && records[0] != nullptr)
        return "a failed read left a record pointer";
    if (result == 1) {
        if (!records[0])
            return "a read of one record gave no record";
        const auto *newest = static_cast<const TableInfo *>(records[0]);
        if (newest->cal_interval != 0)
            return "a record gave a cal_interval";
        std::string broken = block_promises(*newest, true);
        if (!broken.empty())
            return broken;
    }

    // Whatever the archive's tail holds, a whole record appended after it
    // (on a line of its own) is the one read.
    scratch().put("/cell/tables/fuzz.save", with_whole_record(files.first));
    records[0] = nullptr;
    if (read_archive_file_poly(1, archive.c_str(), records, slots) != 1 || !records[0])
        return "a whole record appended after this archive does not read";
    const auto *appended = static_cast<const TableInfo *>(records[0]);
    if (appended->last_cal != kWholeRecordTime || appended->dim.table_poly[0].raw_data.count != 2 ||
        appended->dim.table_poly[0].raw_data.y[1] != 100.0)
        return "a whole record appended after this archive reads wrong";
    return {};
}

std::string fuzz_get_1st_line(const uint8_t *data, size_t size)
{
    if (size == 0)
        return {};
    const size_t buffer_size = data[0];
    const std::string_view rest = bytes_of(data + 1, size - 1);
    const size_t line_end = rest.find('\n');
    // The keyword is a C text: it ends at its first NUL.
    std::string_view key_line = rest.substr(0, line_end);
    key_line = key_line.substr(0, key_line.find('\0'));
    const std::string keyword(key_line);
    const std::string content(line_end == std::string_view::npos ? std::string_view() : rest.substr(line_end + 1));

    FILE *stream = content.empty() ? std::fopen("/dev/null", "r")
                                   : fmemopen(const_cast<char *>(content.data()), content.size(), "r");
    if (!stream)
        return {};
    // Exactly the size given, so that a store past it is caught.
    std::unique_ptr<char[]> buffer(buffer_size > 0 ? new char[buffer_size] : nullptr);
    if (buffer)
        std::memset(buffer.get(), 'x', buffer_size);
    const short result = get_1st_line(stream, buffer.get(), buffer_size, keyword.c_str());
    std::fclose(stream);

    if (result != 0 && result != ORV_KEYWORD_NOT_FOUND)
        return "get_1st_line returned " + std::to_string(result);
    if (buffer && !std::memchr(buffer.get(), '\0', buffer_size))
        return "the value is not ended within the buffer";
    std::string expected;
    const bool found = plain_lookup(content, std::string_view(keyword), buffer_size, expected);
    if (found != (result == 0))
        return found ? "a keyword that is there was not found" : "a keyword that is not there was found";
    if (buffer && std::string(buffer.get()) != expected.substr(0, expected.find('\0')))
        return "the value is \"" + std::string(buffer.get()) + "\", not \"" + expected + "\"";
    return {};
}

std::string fuzz_split_value_units(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), strnlen(reinterpret_cast<const char *>(data), size));
    // Exactly the documented widths, so that a store past them is caught.
    std::unique_ptr<char[]> number(new char[kValueTextSize]);
    std::unique_ptr<char[]> units(new char[kUnitTextSize]);
    std::memset(number.get(), 'x', kValueTextSize);
    std::memcpy(units.get(), "kept", 5);
    split_value_units(text.c_str(), number.get(), units.get());

    if (!std::memchr(number.get(), '\0', kValueTextSize))
        return "number is not ended within its field";
    if (!std::memchr(units.get(), '\0', kUnitTextSize))
        return "units is not ended within its field";
    // The text is taken to the width of the number, its first '[' splits it.
    const std::string cut = text.substr(0, kValueTextSize - 1);
    const size_t bracket = cut.find('[');
    if (bracket == std::string::npos) {
        if (std::string(number.get()) != cut)
            return "without a bracket the number is not the whole text";
        if (std::string(units.get()) != "kept")
            return "without a bracket the units changed";
        return {};
    }
    if (std::string(number.get()) != cut.substr(0, bracket))
        return "the number is not the text before the bracket";
    std::string unit = cut.substr(bracket + 1, kUnitTextSize - 1);
    if (!unit.empty())
        unit.pop_back();
    if (std::string(units.get()) != unit)
        return "the units are not the bracket's text less its last character";
    return {};
}

std::string fuzz_uut_ref(const uint8_t *data, size_t size)
{
    const TwoFiles files = split_files(bytes_of(data, size));
    scratch().put("/cell/tables/uut_ref_data/fuzz.uut", files.first);
    scratch().put("/cell/tables/uut_ref_data/fuzz.ref", files.has_second ? files.second : files.first);

    auto record = std::make_unique<VREL_CFG>();
    std::memset(record.get(), 0, sizeof(VREL_CFG));
    std::snprintf(record->uut_file, sizeof record->uut_file, "%s",
                  scratch().path("/cell/tables/uut_ref_data/fuzz.uut").c_str());
    std::snprintf(record->ref_file, sizeof record->ref_file, "%s",
                  scratch().path("/cell/tables/uut_ref_data/fuzz.ref").c_str());
    read_uut_data(record.get());
    read_ref_data(record.get());

    const struct {
        const char *name;
        bool ended;
    } texts[] = {
        {"uut_cal_type", is_ended(record->uut_cal_type)},
        {"uut_model", is_ended(record->uut_model)},
        {"uut_mte", is_ended(record->uut_mte)},
        {"uut_error_limit_units", is_ended(record->uut_error_limit_units)},
        {"hist_ref_mfg", is_ended(hist_ref_mfg)},
        {"hist_ref_model", is_ended(hist_ref_model)},
        {"hist_ref_ser_num", is_ended(hist_ref_ser_num)},
        {"hist_ref_equip_num", is_ended(hist_ref_equip_num)},
        {"hist_ref_cal_due_date", is_ended(hist_ref_cal_due_date)},
        {"hist_ref_physical_con", is_ended(hist_ref_physical_con)},
    };
    for (const auto &text : texts)
        if (!text.ended)
            return std::string(text.name) + " is not ended within its field";
    // The keyword's value line, cut to the field.
    std::string model;
    plain_lookup(files.first, "@UUT_MODEL_KEYWORD", 1024, model);
    model = model.substr(0, model.find('\0')).substr(0, sizeof record->uut_model - 1);
    if (model != record->uut_model)
        return "uut_model is \"" + std::string(record->uut_model) + "\", not \"" + model + "\"";
    return {};
}

// ---------------------------------------------------------------- history_archive

namespace
{

std::string history_promises(const std::vector<HistoryRecord> &records, const std::vector<ArchiveDamage> &damage)
{
    int previous = 0;
    for (const HistoryRecord &r : records) {
        if (r.line <= previous)
            return "records out of order: line " + std::to_string(r.line) + " after " + std::to_string(previous);
        previous = r.line;
        if (r.coefficients.size() > 8)
            return "more than eight coefficients";
        if (!r.ranges.empty() && r.ranges.size() != 8)
            return "a range file gave " + std::to_string(r.ranges.size()) + " ranges";
    }
    for (const ArchiveDamage &d : damage)
        if (d.line < 1 || d.reason.isEmpty())
            return "a damaged record without its line or reason";
    return {};
}

} // namespace

std::string fuzz_history_archive(const uint8_t *data, size_t size)
{
    const TwoFiles files = split_files(bytes_of(data, size));
    const std::string archive = scratch().put("/cell/tables/fuzz.save", files.first);
    if (files.has_second)
        scratch().put("/cell/tables/fuzz.poly_range", files.second);
    else
        scratch().remove("/cell/tables/fuzz.poly_range");
    const QString path = QString::fromStdString(archive);

    std::vector<HistoryRecord> records;
    {
        ArchiveReader reader(path);
        if (!reader.open())
            return "an archive that exists does not open: " + reader.error().toStdString();
        HistoryRecord record;
        while (reader.next(record))
            records.push_back(record);
        const std::string broken = history_promises(records, reader.damage());
        if (!broken.empty())
            return broken;
    }
    {
        ArchiveReader reader(path);
        reader.open();
        const ChannelHistory history = analyse_archive(reader);
        if (history.records.size() != records.size())
            return "the analysis saw " + std::to_string(history.records.size()) + " records, the reader " +
                   std::to_string(records.size());
    }

    // Whatever the archive holds, a whole record appended after it (on a
    // line of its own) is read as its last record.
    scratch().put("/cell/tables/fuzz.save", with_whole_record(files.first));
    ArchiveReader reader(path);
    reader.open();
    HistoryRecord record, last;
    bool any = false;
    while (reader.next(record)) {
        last = record;
        any = true;
    }
    if (!any || last.time != kWholeRecordTime || last.points.size() != 2 || last.points[1].y != 100.0)
        return "a whole record appended after this archive does not read as its last";
    return {};
}

const FuzzTarget *fuzz_targets(size_t *count)
{
    static const FuzzTarget targets[] = {
        {"read_table", fuzz_read_table},
        {"read_archive", fuzz_read_archive},
        {"get_1st_line", fuzz_get_1st_line},
        {"split_value_units", fuzz_split_value_units},
        {"uut_ref", fuzz_uut_ref},
        {"history_archive", fuzz_history_archive},
    };
    *count = sizeof targets / sizeof targets[0];
    return targets;
}

const FuzzTarget *fuzz_target(const char *name)
{
    size_t count = 0;
    const FuzzTarget *targets = fuzz_targets(&count);
    for (size_t i = 0; i < count; ++i)
        if (std::strcmp(targets[i].name, name) == 0)
            return &targets[i];
    return nullptr;
}
