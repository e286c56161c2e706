#include "history.h"

#include "clock.h"
#include "functions.h"
#include "replacement_file.h"
#include "table_writer.h"
#include "vrel_util.h"
#include "writer_support.h"

#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/strings.h>
#include <orvane/tables.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace
{

constexpr int kTypeWordList = 5;
constexpr int kDynoTypeList = 2;

// The host's display-strings segment, linked on the first record that
// needs it; the version text lies in it.
void *version_segment = nullptr;

// The host's list of table-type words, bound again at each record.
void register_type_words()
{
    static const struct {
        const char *word;
        int code;
    } words[] = {
        {"INTERPOLATION", TBL_INTERPOLATION},
        {"POLYNOMIAL", TBL_POLYNOMIAL},
        {"POLYNOMIAL_RANGE", TBL_POLYNOMIAL_RANGE},
        {"SCALED", TBL_SCALED},
        {"HYPERBOLIC", TBL_HYPERBOLIC},
        {"LONG_INTERPOLATION", TBL_INTERPOLATION},
        {"2D_INTERPOLATION", TBL_2D_INTERPOLATION},
        {"LOCAL_2D_INTERPOLATION", TBL_LOCAL_2D_INTERPOLATION},
    };
    for (const auto &entry : words)
        string_associate_indexN(entry.word, entry.code, kTypeWordList);
}

const char *cal_mode_word(uint16_t cal_mode)
{
    switch (cal_mode) {
    case CAL_AUTO_CAL:
        return "auto_cal";
    case CAL_AUTO_CAL_COMPLETE:
        return "auto_cal_complete";
    case CAL_AS_FOUND:
        return "AS_FOUND";
    case CAL_NOADJ:
        return "NOADJ";
    case CAL_AFTER_SERVICE:
        return "AFTER_SERVICE";
    case CAL_VERIFICATION:
        return "VERIFICATION";
    case CAL_ADJUSTED:
        return "ADJUSTED";
    case CAL_REUSE:
        return "REUSE";
    case CAL_CORRELATION_CHANGE:
        return "CORRELATION_CHANGE";
    default:
        return "5-point";
    }
}

// The tol_state word; also fixes the tolerance written with the record.
const char *tol_state_word(uint16_t state, double *tolerance)
{
    switch (state) {
    case TOL_OOA:
        *tolerance = 0.25;
        return "OOA";
    case TOL_OOT:
        *tolerance = 1.0;
        return "OOT";
    case TOL_SOOT:
        *tolerance = 2.0;
        return "SOOT";
    default:
        *tolerance = 0.25;
        return "NOADJ";
    }
}

// " <label> " and then "%.10g " for each coefficient in use, at most 8.
std::string coefficient_string(int label, const TablePoly *poly)
{
    char piece[40];
    std::snprintf(piece, sizeof piece, " %d ", label);
    std::string text = piece;
    const int count = poly ? bounded_count(poly->num_coeff, kMaxCoeffs) : 0;
    for (int c = 0; c < count; ++c) {
        std::snprintf(piece, sizeof piece, "%.10g ", poly->coeff[c]);
        text += piece;
    }
    return text;
}

// The working range's coefficients; a range index the host left outside
// 0..7 names no range, and the string then carries the index alone.
std::string working_coefficients(const VREL_CFG *record)
{
    const int range = record->table_info.range_index;
    const bool valid = range >= 0 && range < kMaxRanges;
    return coefficient_string(range, valid ? &record->new_table_poly[range] : nullptr);
}

// Keeps, of the field's characters up to its width, those not in `drop`,
// and ends the result within the field.
template <size_t N> void drop_characters(char (&field)[N], const char *drop)
{
    const size_t length = strnlen(field, N);
    size_t kept = 0;
    for (size_t i = 0; i < length; ++i)
        if (!std::strchr(drop, field[i]))
            field[kept++] = field[i];
    if (kept == N)
        kept = N - 1;
    field[kept] = '\0';
}

template <size_t N> void strip_and_trim(char (&field)[N])
{
    string_trim(string_strip(ended(field)));
}

template <size_t N> void none_if_empty(char (&field)[N])
{
    if (field[0] == '\0')
        copyn("history", __LINE__, field, "none", N);
}

void sanitise_texts(TableInfo &table)
{
    drop_characters(table.tbl_desc, "\"\n");
    drop_characters(table.user_comment, "\"\n'\\");
    strip_and_trim(table.tbl_name);
    strip_and_trim(table.sensor_model);
    strip_and_trim(table.sensor_sn);
    strip_and_trim(table.technician);
    strip_and_trim(table.working_standard);
    strip_and_trim(table.user_comment);
    none_if_empty(table.user_comment);
    strip_and_trim(table.tbl_desc);
    none_if_empty(table.tbl_desc);
    ended(table.sensor_range_units);
    ended(table.tbl_units);
    ended(table.x_units);
    ended(table.mua_instance_name);
}

// The host's version text, or null when its segment cannot be linked.
const char *host_version()
{
    if (!version_segment)
        link_to_memory(ORV_SEG_DISPLAY_STRINGS, &version_segment);
    return version_segment ? static_cast<const char *>(version_segment) + ORV_VERSION_OFFSET
                           : nullptr;
}

void write_comment_block(FILE *file, const VREL_CFG *record, uint16_t cal_mode, const char *version)
{
    const TableInfo &table = record->table_info;
    std::fprintf(file,
                 "# The following comment lines describes the data in\n# the section below\n");
    if (version)
        std::fprintf(file, "# ORVANE VERSION\n");
    std::fprintf(file, "# current_time_t time_date cal_mode tol_state tbl_name\n"
                       "# tbl_type tbl_tol tol_units\n"
                       "# user_comment\n"
                       "# no_adjust_bias[tol_units]  no_adjust_tol[tol_units]\n"
                       "# oot_bias[tol_units] oot_tol[tol_units]\n"
                       "# soot_bias[tol_units] soot_tol[tol_units]\n"
                       "# y_intercept_bias[tol_units] y_intercept_tol[tol_units]\n"
                       "# linearity_bias[tol_units] linearity_tol[tol_units]\n"
                       "# hysteresis.bias[tol_units] hysteresis_tolerance[tol_units]\n"
                       "# sensor_model sensor_sn sensor_range_units\n"
                       "# sensor_range_lower_limit[sensor_range_units] "
                       "sensor_range_upper_limit[sensor_range_units]\n"
                       "# min_range[tbl_units] max_range[tbl_units]\n"
                       "# technician cal_method x_units tbl_units\n");
    if (table.tbl_type == TBL_POLYNOMIAL_RANGE)
        std::fprintf(file, "# POLYNOMIAL_RANGE\n# poly_range_filename\n");
    else
        std::fprintf(file, "# polynomial coefficents\n");
    std::fprintf(file, "# mua_instance_name  tbl_desc\n");
    // Flagged points have no line here, though the data rows below keep them.
    const int points = bounded_count(table.dim.table_poly[0].raw_data.count, kMaxPoints);
    for (int i = 0; i < points; ++i)
        if (table.point_flags[i] != POINT_NEW)
            std::fprintf(file,
                         "# channel->table_info.dim.table_poly[0].raw_data.x[%d] "
                         "channel->table_info.dim.table_poly[0].raw_data.y[%d]\n",
                         i, i);
    if (cal_mode == CAL_AUTO_CAL) {
        std::fprintf(file, "# dyno_cal_type\n");
        const int dyno = bounded_count(table.dyno_cal.count, kMaxPoints);
        for (int i = 0; i < dyno; ++i)
            std::fprintf(
                file, "# channel->table_info.dyno_cal.x[%d] channel->table_info.dyno_cal.y[%d]\n",
                i, i);
    }
    if (version)
        std::fprintf(file, "\n\n# OrVane Version %.*s",
                     static_cast<int>(strnlen(version, ORV_VERSION_SIZE)), version);
}

struct RecordWords {
    long time;
    char time_date[40];
    const char *cal_mode;
    const char *tol_state;
    const char *tbl_type;
};

void write_fields(FILE *file, const TableInfo &t, const RecordWords &words)
{
    // The no-adjust, OOT and SOOT pairs are the host's fixed text, not the
    // record's values.
    std::fprintf(
        file,
        "\n%ld \"%s\" '%s' '%s' \"%s\" \\\n \"%s\" \"%.6g\" \"%s\" \\\n   \"%s\" \\\n   \"0[PCT]\" "
        "  "
        "\".25[PCT]\" \\\n   \"0[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   \"2[PCT]\" \\\n   "
        "\"%.6g[%s]\"   "
        "\"%.6g[%s]\" \\\n   \"%.6g[%s]\"   \"%.6g[%s]\" \\\n   \"%.6g[%s]\"   \"%.6g[%s]\" \\\n   "
        "\"%s\" "
        "\"%s\" \"%s\" \\\n   \"%.6g[%s]\" \"%.6g[%s]\" \\\n   \"%.6g[%s]\" \"%.6g[%s]\" \\\n   "
        "\"%s\" \"%s\" "
        "\"%s\" \"%s\" \\\n",
        words.time, words.time_date, words.cal_mode, words.tol_state, t.tbl_name, words.tbl_type,
        t.tbl_tol, t.tol_units, t.user_comment, t.y_intercept_bias, t.tol_units, t.y_intercept_tol,
        t.tol_units, t.linearity_bias, t.tol_units, t.linearity_tol, t.tol_units, t.hysteresis_bias,
        t.tol_units, t.hysteresis_tolerance, t.tol_units, t.sensor_model, t.sensor_sn,
        t.sensor_range_units, t.sensor_range_lower_limit, t.sensor_range_units,
        t.sensor_range_upper_limit, t.sensor_range_units, t.min_range, t.tbl_units, t.max_range,
        t.tbl_units, t.technician, t.working_standard, t.x_units, t.tbl_units);
}

// The record's time: time_t and its local "%r %D" text, which is empty
// should localtime fail.
void stamp(RecordWords &words)
{
    const std::time_t now = vrel_now();
    words.time = static_cast<long>(now);
    std::tm local{};
    if (!localtime_r(&now, &local) ||
        std::strftime(words.time_date, sizeof words.time_date, "%r %D", &local) == 0)
        words.time_date[0] = '\0';
}

void write_point_rows(FILE *file, const double *x, const double *y, int count)
{
    for (int i = 0; i < count; ++i)
        std::fprintf(file, " \\\n   %10.6g %10.6g", x[i], y[i]);
}

void write_data_line(FILE *file, const VREL_CFG *record, uint16_t cal_mode,
                     const RecordWords &words, const char *sibling)
{
    const TableInfo &table = record->table_info;
    write_fields(file, table, words);
    if (table.tbl_type == TBL_POLYNOMIAL_RANGE)
        std::fprintf(file, " \"POLYNOMIAL_RANGE\"  \\\n \"%s\" \\\n \"%s\" \"%s\"  ", sibling,
                     table.mua_instance_name, table.tbl_desc);
    else
        std::fprintf(file, " \"%s\"  \\\n \"%s\" \"%s\"  ", working_coefficients(record).c_str(),
                     table.mua_instance_name, table.tbl_desc);
    // Every captured point, flagged or not.
    const LongTable &points = record->new_long_table;
    write_point_rows(file, points.x, points.y, bounded_count(points.count, kMaxPoints));
    if (cal_mode == CAL_AUTO_CAL) {
        std::fprintf(file, " \\\n   %s",
                     index_to_stringN(table.dyno_cal.dyno_cal_type, kDynoTypeList));
        write_point_rows(file, table.dyno_cal.x, table.dyno_cal.y,
                         bounded_count(table.dyno_cal.count, kMaxPoints));
    }
}

// A range never filled gets the default straight line through three
// points, in the record too, so that every range of the file is complete.
void fill_default_range(TablePoly &poly, int range)
{
    poly.coeff[0] = 0.0;
    poly.coeff[1] = 1.0;
    poly.num_coeff = 2;
    poly.raw_data.count = 3;
    poly.range = static_cast<int16_t>(range);
    for (int i = 0; i < 3; ++i) {
        poly.raw_data.x[i] = i;
        poly.raw_data.y[i] = i;
    }
}

// The sibling of a POLYNOMIAL_RANGE record: all eight ranges of the table
// in force, one logical line each.
void write_poly_range_file(const char *path, TableInfo &table)
{
    ReplacementFile replacement(path);
    FILE *file = replacement.stream();
    if (!file)
        return;
    for (int r = 0; r < kMaxRanges; ++r) {
        TablePoly &poly = table.dim.table_poly[r];
        if (poly.num_coeff == 0)
            fill_default_range(poly, r);
        std::fprintf(file, "\n \"%s\"  \\\n", coefficient_string(r, &poly).c_str());
        write_point_rows(file, poly.raw_data.x, poly.raw_data.y,
                         bounded_count(poly.raw_data.count, kMaxPoints));
    }
    std::fprintf(file, "\n\n");
    if (replacement.commit())
        put_rcs_specs(path);
}

// The sibling's name as the record gives it, a host path like every
// "/cell/..." path, which readers take under the host's root.  The table
// name enters it as it enters the channel's other paths, so that no name
// leads out of the tables folder.
void sibling_name(const char *tbl_name, long time, char *out, size_t size)
{
    char stem[sizeof(TableInfo::tbl_name)];
    table_file_stem(tbl_name, stem, sizeof stem);
    std::snprintf(out, size, "/cell/tables/%s-%ld.poly_range", stem, time);
}

// Appends a record to the archive in one write; a write that fails part
// way (a full disk) is taken back.  The kernel may still stop the copy of
// a process killed inside the write between two pages, and a crash of the
// machine may cut a record too: an archive whose end is not a line end
// then gets the record on a line of its own, so that the reader still
// finds it and only the cut one is lost.
void append_whole_record(int fd, const char *text, size_t length)
{
    struct stat st {};
    if (fstat(fd, &st) != 0)
        return;
    std::string record;
    char last = '\n';
    if (st.st_size > 0 && pread(fd, &last, 1, st.st_size - 1) == 1 && last != '\n')
        record += '\n';
    record.append(text, length);
    ssize_t written;
    do
        written = write(fd, record.data(), record.size());
    while (written < 0 && errno == EINTR);
    if (written >= 0 && static_cast<size_t>(written) != record.size()) {
        const int ignored = ftruncate(fd, st.st_size);
        (void)ignored;
    }
}

// Appends the outgoing table file to the archive of old tables, byte for
// byte.  As with a shell's ">>", the archive is opened first, and so made
// even when there is no table file to copy.
void append_file(const char *source, const char *target)
{
    FILE *out = std::fopen(target, "ab");
    if (!out)
        return;
    if (FILE *in = std::fopen(source, "rb")) {
        char buffer[8192];
        size_t got;
        while ((got = std::fread(buffer, 1, sizeof buffer, in)) > 0)
            std::fwrite(buffer, 1, got, out);
        std::fclose(in);
    }
    std::fclose(out);
}

void set_range_limits(VREL_CFG *record)
{
    double lowest = 999999.0;
    double highest = -999999.0;
    const LongTable &points = record->new_long_table;
    const int count = bounded_count(points.count, kMaxPoints);
    for (int i = 0; i < count; ++i) {
        if (points.y[i] < lowest)
            lowest = points.y[i];
        if (points.y[i] > highest)
            highest = points.y[i];
    }
    record->table_info.min_range = lowest;
    record->table_info.max_range = highest;
}

// The steps that save_calibration and save_history share: the range
// limits and the record, with the message for a bad table type.
void record_history(VREL_CFG *record, uint16_t cal_mode)
{
    set_range_limits(record);
    if ((append_history_record(ended(record->save_file), record, cal_mode) & 0xFFFF) == 0)
        return;
    char message[200];
    std::snprintf(message, sizeof message,
                  "Unable to update the %s file - due to an invalid calibration table type",
                  record->save_file);
    show_information(message);
}

bool is_inactive(VREL_CFG *record)
{
    return std::strcmp(ended(record->table_info.tbl_name), "INACTIVE") == 0;
}

void clear_change_flags(VREL_CFG *record)
{
    record->pending_changes = 0;
    record->unrecorded_changes = 0;
}

// A name too long for the path fields is cut with them, and the cut can
// make the .tbl, the archive and the .old one file.  Then the table is
// neither appended to itself (which would never end) nor written over the
// archive: it is left as it is, and the log says why.
bool table_files_distinct(VREL_CFG *record)
{
    const char *tbl = ended(record->tbl_file);
    const char *save = ended(record->save_file);
    const char *old = ended(record->old_file);
    if (std::strcmp(tbl, save) != 0 && std::strcmp(tbl, old) != 0 && std::strcmp(save, old) != 0)
        return true;
    log_error("history", __LINE__, 1, 0,
              "%s: the table's file names coincide when cut to their fields; the table file is "
              "not rewritten",
              tbl);
    return false;
}

void adopt_new_table(VREL_CFG *record)
{
    std::memcpy(record->table_info.dim.table_poly, record->new_table_poly,
                sizeof record->new_table_poly);
    std::memcpy(&record->long_table, &record->new_long_table, sizeof record->long_table);
}

} // namespace

int append_history_record(const char *path, VREL_CFG *record, uint16_t cal_mode)
{
    const CLocaleScope c_locale;
    TableInfo &table = record->table_info;
    register_type_words();
    RecordWords words{};
    words.cal_mode = cal_mode_word(cal_mode);
    copyn("history", __LINE__, table.tol_units, "PCT", sizeof table.tol_units);
    words.tol_state = tol_state_word(table.tol_state, &table.tbl_tol);

    // As fopen's "a": made when missing, every write at the end; opened
    // for reading too, to see how the archive ends.
    int archive = open(path, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (archive < 0 && errno == EACCES)
        archive = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (archive < 0)
        return 0;
    stamp(words);
    sanitise_texts(table);
    copyn("history", __LINE__, table.tol_units, "PCT", sizeof table.tol_units);
    if (static_cast<uint16_t>(table.tbl_type) > TBL_POLYNOMIAL_RANGE) {
        // Nothing has been written; the archive is closed rather than left open.
        close(archive);
        return -1;
    }
    words.tbl_type = index_to_stringN(table.tbl_type, kTypeWordList);

    char sibling[256];
    sibling_name(table.tbl_name, words.time, sibling, sizeof sibling);
    const char *version = host_version();
    // The whole record is composed first, then appended at once.
    char *text = nullptr;
    size_t length = 0;
    if (FILE *file = open_memstream(&text, &length)) {
        write_comment_block(file, record, cal_mode, version);
        write_data_line(file, record, cal_mode, words, sibling);
        std::fprintf(file, "\n\n");
        if (std::fclose(file) == 0)
            append_whole_record(archive, text, length);
    }
    std::free(text);
    close(archive);
    put_rcs_specs(path);

    if (table.tbl_type == TBL_POLYNOMIAL_RANGE) {
        char rooted[512];
        host_path(sibling, rooted, sizeof rooted);
        write_poly_range_file(rooted, table);
    }
    return 0;
}

int save_calibration(VREL_CFG *record, uint16_t cal_mode)
{
    if (!is_inactive(record)) {
        // A range table's record writes its range file from the table in
        // force, and the next load takes the ranges from that file rather
        // than from the .tbl.  An adjusted range table is therefore adopted
        // before its record, so that the file holds the table now in force.
        // It is adopted again below: the record completes the empty ranges
        // of the table in force, which the adopted table leaves empty.
        if (cal_mode == CAL_ADJUSTED && record->table_info.tbl_type == TBL_POLYNOMIAL_RANGE)
            adopt_new_table(record);
        record_history(record, cal_mode);
        record->table_info.last_cal = vrel_now();
        record->table_info.cal_mode = cal_mode;
        if (cal_mode == CAL_ADJUSTED)
            adopt_new_table(record);
        if ((cal_mode == CAL_ADJUSTED || cal_mode == CAL_CORRELATION_CHANGE) &&
            table_files_distinct(record)) {
            // The outgoing table is kept before the new one replaces it.
            append_file(ended(record->tbl_file), ended(record->old_file));
            write_table_file(record->tbl_file, record);
        }
    }
    clear_change_flags(record);
    return 0;
}

int save_history(VREL_CFG *record, uint16_t cal_mode)
{
    if (!is_inactive(record))
        record_history(record, cal_mode);
    clear_change_flags(record);
    return 0;
}
