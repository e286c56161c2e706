#include "vrel_util.h"

#include "functions.h"
#include "uut_ref.h"
#include "vrel_callbacks.h"

#include <orvane/log.h>
#include <orvane/strings.h>
#include <orvane/tables.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace
{

const char kModule[] = "vrel_util";
constexpr int kHostFailure = 0xFFFF;

bool host_failed(int result)
{
    return (result & 0xFFFF) == kHostFailure;
}

// A raw-data count as a number of slots that exist: 0 to kMaxPoints.
int points_in(int count)
{
    if (count < 0)
        return 0;
    return count > kMaxPoints ? kMaxPoints : count;
}

// A text of a host segment's fixed field, which need not be ended inside
// the field, cut plainly to the destination.
void copy_host_text(char *destination, size_t destination_size, const char *source,
                    size_t source_size)
{
    size_t length = strnlen(source, source_size);
    if (length >= destination_size)
        length = destination_size - 1;
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

bool channel_in_range(int channel)
{
    return channel >= 0 && channel < host_channel_count();
}

// The active word of the channel's AI_REAL entry.  The segment holds only
// the channels the host counts, so an index outside them has no entry to
// read and counts as not active.
int16_t active_word_of(int channel)
{
    return channel_in_range(channel) ? channel_active_word(channel) : 0;
}

void show_channel_message(const char *format, int channel)
{
    char message[200];
    std::snprintf(message, sizeof message, format, channel);
    show_information(message);
}

// A straight line through range 0's points, its coefficients stored in
// target as the count of points bounds them.
void fit_line_into(TablePoly *target, const RawData &raw)
{
    double scratch[kMaxPoints] = {};
    polynomialfit(points_in(raw.count), 2, raw.x, raw.y, scratch);
    store_fit_coefficients(target, scratch, raw.count);
}

void sort_and_tabulate(VREL_CFG *record)
{
    TablePoly &range0 = record->table_info.dim.table_poly[0];
    sort_raw_points(&range0.raw_data, range0.raw_data.count);
    compute_long_table(&record->table_info, &record->long_table);
}

void finish_scaled(VREL_CFG *record)
{
    show_information("Table will be converted to an INTERP table on save.\n"
                     "The newly read table is a SCALED table type");
    convert_scaled_table(&record->table_info);
    compute_long_table(&record->table_info, &record->long_table);
}

// The first filled range is the one in use; its element is laid over the
// start of long_table before the host tabulates it.
void finish_polynomial_range(VREL_CFG *record)
{
    TableInfo &table = record->table_info;
    const int range = first_filled_range(&table);
    if (range < 0)
        return;
    table.range_index = static_cast<int16_t>(range);
    std::memcpy(&record->long_table, &table.dim.table_poly[range], sizeof(TablePoly));
    compute_long_table(&table, &record->long_table);
}

void finish_interpolation(VREL_CFG *record)
{
    TablePoly &range0 = record->table_info.dim.table_poly[0];
    fit_line_into(&range0, range0.raw_data);
    sort_and_tabulate(record);
}

void finish_polynomial(VREL_CFG *record)
{
    // The refit goes to the range in use; a range_index the host left
    // outside 0..7 (it may leave -1) counts as range 0.
    TableInfo &table = record->table_info;
    if (table.dim.table_poly[0].num_coeff == 0)
        fit_line_into(&table.dim.table_poly[range_in_use(record)],
                      table.dim.table_poly[0].raw_data);
    sort_and_tabulate(record);
}

// A failed read keeps the channel selectable with an empty curve.
void mark_unreadable(VREL_CFG *record)
{
    copyn(kModule, __LINE__, record->table_info.tbl_desc, "No Description",
          sizeof record->table_info.tbl_desc);
    record->long_table.count = 0;
    record->long_table.host_count = 0;
}

void clear_unused_long_points(LongTable *table)
{
    for (int i = points_in(table->count); i < kMaxPoints; ++i) {
        table->x[i] = 0.0;
        table->y[i] = 0.0;
    }
}

// Quicksort of (x, y) pairs by x; the pivot is the median of the first,
// middle and last element.  The scans are bounded by the partition as well,
// so a NaN among the x values cannot carry them out of it.
using Pair = std::pair<double, double>;

void quicksort(Pair *pairs, int low, int high)
{
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (pairs[middle].first < pairs[low].first)
            std::swap(pairs[middle], pairs[low]);
        if (pairs[high].first < pairs[low].first)
            std::swap(pairs[high], pairs[low]);
        if (pairs[high].first < pairs[middle].first)
            std::swap(pairs[high], pairs[middle]);
        const double pivot = pairs[middle].first;
        int i = low, j = high;
        while (i <= j) {
            while (i < high && pairs[i].first < pivot)
                ++i;
            while (j > low && pairs[j].first > pivot)
                --j;
            if (i <= j)
                std::swap(pairs[i++], pairs[j--]);
        }
        // Recurse into the smaller part, loop on the larger.
        if (j - low < high - i) {
            quicksort(pairs, low, j);
            low = i;
        } else {
            quicksort(pairs, i, high);
            high = j;
        }
    }
}

} // namespace

void resolve_tolerances(VREL_CFG *record)
{
    TableInfo &info = record->table_info;
    info.no_adjust_bias = resolve_bias(1, record);
    info.no_adjust_tol = resolve_tolerance(1, record);
    info.oot_bias = resolve_bias(2, record);
    info.oot_tol = resolve_tolerance(2, record);
    info.soot_bias = resolve_bias(3, record);
    info.soot_tol = resolve_tolerance(3, record);
}


void store_fit_coefficients(TablePoly *element, const double *scratch, int count)
{
    static_assert(offsetof(TablePoly, coeff) + kMaxPoints * sizeof(double) <= sizeof(TablePoly),
                  "a store of one coefficient per point stays inside the element");
    const int stored = points_in(count);
    auto *bytes = reinterpret_cast<unsigned char *>(element);
    std::memcpy(bytes + offsetof(TablePoly, coeff), scratch,
                static_cast<size_t>(stored) * sizeof(double));
    element->num_coeff = static_cast<int16_t>(count);
}

void sort_raw_points(RawData *raw, int count)
{
    const int n = points_in(count);
    Pair pairs[kMaxPoints];
    for (int i = 0; i < n; ++i)
        pairs[i] = {raw->x[i], raw->y[i]};
    quicksort(pairs, 0, n - 1);
    for (int i = 0; i < n; ++i) {
        raw->x[i] = pairs[i].first;
        raw->y[i] = pairs[i].second;
    }
}

void convert_scaled_table(TableInfo *table)
{
    RawData &raw = table->dim.table_poly[0].raw_data;
    const double factor = raw.x[0];
    table->tbl_type = TBL_INTERPOLATION;
    raw.count = 2;
    raw.x[0] = 0.0;
    raw.y[0] = 0.0;
    raw.x[1] = 100.0;
    raw.y[1] = factor * 100.0;
}

int first_filled_range(const TableInfo *table)
{
    for (int range = 0; range < kMaxRanges; ++range)
        if (table->dim.table_poly[range].num_coeff > 0)
            return range;
    return -1;
}

void compare_table_pair(const TableInfo *save_table, const TableInfo *tbl_table,
                        const char *tbl_path, const char *save_path)
{
    char message[120];
    std::snprintf(message, sizeof message, "%s pts diff from %s ADJUST cal", tbl_path, save_path);
    if (save_table->tbl_type != tbl_table->tbl_type) {
        std::snprintf(message, sizeof message, "<%s> table type differs from <%s> ", tbl_path,
                      save_path);
        show_information(message);
        return;
    }
    const TablePoly &saved = save_table->dim.table_poly[0];
    const TablePoly &tabled = tbl_table->dim.table_poly[0];
    if (save_table->tbl_type == TBL_INTERPOLATION &&
        saved.raw_data.count != tabled.raw_data.count) {
        show_information(message);
        log_error(kModule, __LINE__, 1, 0,
                  "<%s> data does not agree with <%s> data\n not the same number of points",
                  tbl_path, save_path);
    } else if (save_table->tbl_type == TBL_POLYNOMIAL && saved.num_coeff != tabled.num_coeff) {
        std::snprintf(message, sizeof message, "%s num coeff of polynomial differ from %s",
                      tbl_path, save_path);
        show_information(message);
    }
}

int load_table_pair(const char *tbl_file, TableInfo *table)
{
    char dir[ORV_MAX_DIR] = {}, base[ORV_MAX_FNAME] = {}, ext[ORV_MAX_EXT] = {};
    _splitpath(tbl_file, nullptr, dir, base, ext);
    char save_path[352], tbl_path[352];
    std::snprintf(save_path, sizeof save_path, "%s%s%s", dir, base, ".save");
    std::snprintf(tbl_path, sizeof tbl_path, "%s%s%s", dir, base, ".tbl");

    void *records[500] = {};
    int64_t slots[500] = {};
    const short obtained = read_archive_file_poly(1, save_path, records, slots);
    if (obtained <= 0 || !records[0])
        return read_table(tbl_path, table);
    std::memcpy(table, records[0], sizeof(TableInfo));

    auto tbl_table = std::make_unique<TableInfo>();
    if (host_failed(read_table(tbl_path, tbl_table.get())))
        return 0;
    std::memcpy(table->mua_instance_name, tbl_table->mua_instance_name,
                sizeof table->mua_instance_name);
    std::memcpy(table->tbl_desc, tbl_table->tbl_desc, sizeof table->tbl_desc);
    if (table->tbl_type == static_cast<int16_t>(kHostFailure))
        table->tbl_type = tbl_table->tbl_type;
    compare_table_pair(table, tbl_table.get(), tbl_path, save_path);
    return 0;
}

void clear_new_table(VREL_CFG *record)
{
    std::memset(&record->new_table_poly[0], 0, sizeof record->new_table_poly[0]);
    for (TablePoly &range : record->new_table_poly) {
        range.raw_data.count = 0;
        for (int i = 0; i < kMaxPoints; ++i) {
            range.raw_data.x[i] = kUnusedPoint;
            range.raw_data.y[i] = kUnusedPoint;
        }
    }
}

void clear_new_long_table(VREL_CFG *record)
{
    std::memset(&record->new_long_table, 0, sizeof record->new_long_table);
}

int load_table(VREL_CFG *record)
{
    std::memset(&record->table_info, 0, sizeof record->table_info);
    clear_new_table(record);
    clear_new_long_table(record);

    const int result = load_table_pair(record->tbl_file, &record->table_info);
    if (host_failed(result))
        return result;
    switch (record->table_info.tbl_type) {
    case TBL_SCALED:
        finish_scaled(record);
        break;
    case TBL_POLYNOMIAL_RANGE:
        finish_polynomial_range(record);
        break;
    case TBL_INTERPOLATION:
        finish_interpolation(record);
        break;
    case TBL_POLYNOMIAL:
        finish_polynomial(record);
        break;
    default:
        break;
    }
    return result;
}

namespace
{

// folder + stem + extension under the host's root into a path field of
// `size` bytes.
void rooted_table_path(const char *folder, const char *stem, const char *extension, char *field, size_t size)
{
    char rooted[PATH_MAX];
    host_path(folder, rooted, sizeof rooted);
    const size_t fixed = std::strlen(rooted) + std::strlen(extension);
    const size_t name = std::strlen(stem);
    // A name too long for the field is cut, not the path: the channel's
    // files stay in their folder, keep their extensions and so stay apart.
    size_t kept = name;
    if (fixed + name >= size) {
        kept = fixed < size - 1 ? size - 1 - fixed : 0;
        log_error(kModule, __LINE__, 1, 0, "table name '%s' cut to %zu characters in the path of its %s file",
                  stem, kept, *extension ? extension : folder);
    }
    // Room for the rooted folder, a whole name and an extension.
    char path[sizeof rooted + sizeof(TableInfo::tbl_name) + 16];
    std::snprintf(path, sizeof path, "%s%.*s%s", rooted, static_cast<int>(kept), stem, extension);
    // Under a root so long that not even the folder fits, copyn cuts the
    // path and logs it.
    copyn(kModule, __LINE__, field, path, size);
}

} // namespace

void build_table_paths(VREL_CFG *record)
{
    const struct {
        char *field;
        const char *folder;
        const char *extension;
    } paths[] = {
        {record->tbl_file, "/cell/tables/", ".tbl"},
        {record->save_file, "/cell/tables/", ".save"},
        {record->old_file, "/cell/tables/", ".old"},
        {record->ref_file, "/cell/tables/uut_ref_data/", ".ref"},
        {record->uut_file, "/cell/tables/uut_ref_data/", ".uut"},
        {record->report_file, "/cell/tables/verifications/", ""},
    };
    char stem[sizeof record->table_info.tbl_name];
    table_file_stem(record->table_info.tbl_name, stem, sizeof stem);
    for (const auto &path : paths)
        rooted_table_path(path.folder, stem, path.extension, path.field, sizeof record->tbl_file);
}

void table_file_stem(const char *name, char *out, size_t size)
{
    if (size == 0)
        return;
    size_t i = 0;
    for (; name && name[i] != '\0' && i + 1 < size; ++i)
        out[i] = name[i] == '/' ? '_' : name[i];
    out[i] = '\0';
}

void reset_axis_scale(axis_scale *scale)
{
    scale->min = 0.0;
    scale->max = 0.0;
    scale->ticks = 5;
}

short load_channel(VREL_CFG *record)
{
    const int channel = record->channel;
    if (!channel_in_range(channel))
        show_channel_message("Channel '%d' is Out of Range", channel);
    if (active_word_of(channel) == 0) {
        show_channel_message("Channel '%d' is not Active", channel);
        captured_count = 0;
        return -1;
    }
    // An index out of range has no entry, so it has returned above: only an
    // active channel in range is read.

    TableInfo &info = record->table_info;
    copy_host_text(info.tbl_name, sizeof info.tbl_name, ai_transfer[channel].table_name,
                   sizeof ai_transfer[channel].table_name);
    copy_host_text(info.tbl_units, sizeof info.tbl_units, Ai_real[channel].units,
                   sizeof Ai_real[channel].units);
    build_table_paths(record);

    if (host_failed(load_table(record)))
        mark_unreadable(record);
    else
        copyn(kModule, __LINE__, record->raw_units, info.tbl_units, sizeof record->raw_units);

    reset_axis_scale(&record->x_scale);
    reset_axis_scale(&record->y_scale);
    clear_unused_long_points(&record->long_table);
    record->prev_curve = record->captured_curve;
    record->prev_long_table = record->long_table;

    selected_mua_index = 0;
    info.tol_state = TOL_NOADJ;
    resolve_tolerances(record);

    num_points = record->long_table.count;
    captured_count = 0;
    record->table_changed = 1;
    record->unrecorded_changes = 0;

    read_uut_data(record);
    read_ref_data(record);
    return 0;
}

int reload_if_active(VREL_CFG *record)
{
    if (active_word_of(record->channel) == 1)
        load_channel(record);
    return record->channel;
}
