// Reading the newest record of a history archive (.save), with the
// .poly_range sibling that a POLYNOMIAL_RANGE record names.
//
// An archive only grows, one record per calibration event, so the newest
// record is the last one.  It is found by reading the file backwards from
// its end, block by block, up to the comment line that opens every record;
// the cost depends on the size of that record, not on how many came
// before.  The opening line counts only as a whole physical line: the
// writer puts every data field in quotes, on lines that start with a blank
// or a digit, so a comment or description holding the same words is never
// taken for it.
//
// A record is a block of comment lines naming the fields, then one logical
// line (physical lines joined by a backslash at their end) of quoted
// fields, then the unquoted point pairs.
#include "tables_text.h"

#include "orvane/tables.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

using namespace orvtables;

const char kModule[] = "tables_archive";

constexpr std::string_view kRecordStart = "# The following comment lines describes the data in";
constexpr std::string_view kDynoPointComment = "# channel->table_info.dyno_cal.x[";
constexpr size_t kBlock = 64 * 1024;

struct Word {
    const char *text;
    int code;
};

const Word kCalModes[] = {
    {"auto_cal", 1},           {"auto_cal_complete", 2}, {"AS_FOUND", 3}, {"NOADJ", 4},
    {"AFTER_SERVICE", 5},      {"VERIFICATION", 6},      {"ADJUSTED", 7}, {"REUSE", 8},
    {"CORRELATION_CHANGE", 9}, {"5-point", 0}, // the writer's word for a mode it has no word for
};

const Word kTolStates[] = {{"NOADJ", 0}, {"OOA", 1}, {"OOT", 2}, {"SOOT", 3}};

template <size_t N> int code_of(const Word (&words)[N], std::string_view word)
{
    for (const Word &known : words)
        if (word == known.text)
            return known.code;
    return -1;
}

class File
{
  public:
    explicit File(const std::string &path)
        : fd_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)),
          open_error_(fd_ < 0 ? errno : 0)
    {
    }
    ~File()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    int fd() const { return fd_; }
    int open_error() const { return open_error_; }

    bool read_at(char *out, size_t size, off_t offset) const
    {
        size_t have = 0;
        while (have < size) {
            const ssize_t got =
                pread(fd_, out + have, size - have, offset + static_cast<off_t>(have));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;
            have += static_cast<size_t>(got);
        }
        return true;
    }

  private:
    int fd_;
    int open_error_;
};

// Where the opening text last starts in view before `before`, or npos.
// Only the places of its first character are compared: a plain rfind of
// the whole text compares at every byte, and an archive is mostly data.
size_t rfind_record_start(std::string_view view, size_t before)
{
    while (before > 0) {
        const size_t at = view.rfind(kRecordStart.front(), before - 1);
        if (at == std::string_view::npos)
            break;
        if (view.compare(at, kRecordStart.size(), kRecordStart) == 0)
            return at;
        before = at;
    }
    return std::string_view::npos;
}

// Offset of the newest record's opening line, or -1 when none starts in
// the last kMaxTextBytes of the file (a record is far smaller).
off_t find_newest_record(const File &file, off_t size)
{
    const off_t floor =
        size > static_cast<off_t>(kMaxTextBytes) ? size - static_cast<off_t>(kMaxTextBytes) : 0;
    // Each block is searched together with the first bytes of the block
    // after it, so that an opening line across the boundary is seen whole,
    // and its line end with it.
    constexpr size_t kOverlap = kRecordStart.size() + 2;
    std::vector<char> window(static_cast<size_t>(std::min<off_t>(size - floor, kBlock)) + kOverlap);
    size_t kept = 0;
    for (off_t end = size; end > floor;) {
        const off_t begin =
            end - static_cast<off_t>(kBlock) > floor ? end - static_cast<off_t>(kBlock) : floor;
        const size_t length = static_cast<size_t>(end - begin);
        std::memmove(window.data() + length, window.data(), kept);
        if (!file.read_at(window.data(), length, begin))
            return -1;
        const std::string_view view(window.data(), length + kept);
        for (size_t at = rfind_record_start(view, length); at != std::string_view::npos;
             at = rfind_record_start(view, at)) {
            char before = '\n';
            if (at > 0)
                before = view[at - 1];
            else if (begin > 0 && !file.read_at(&before, 1, begin - 1))
                return -1;
            size_t after = at + kRecordStart.size();
            while (after < view.size() &&
                   (view[after] == ' ' || view[after] == '\t' || view[after] == '\r'))
                ++after;
            const bool line_ends = after < view.size() ? view[after] == '\n'
                                                       : begin + static_cast<off_t>(after) == size;
            if (before == '\n' && line_ends)
                return begin + static_cast<off_t>(at);
        }
        kept = std::min(view.size(), kOverlap);
        end = begin;
    }
    return -1;
}

// Splits a record's data line, or a whole sibling file, into quoted fields
// and bare words.  A backslash that ends a physical line continues the
// line; a newline without one ends a data line.
class Scanner
{
  public:
    struct Item {
        bool quoted;
        std::string_view text;
        int line;
    };

    Scanner(std::string_view text, size_t pos, int line, bool one_logical_line)
        : text_(text), pos_(pos), line_(line), one_line_(one_logical_line)
    {
    }

    // False at the end of the line or text, or on an error (error() set).
    bool next(Item &item)
    {
        for (;;) {
            while (pos_ < text_.size() && is_inline_blank(text_[pos_]))
                ++pos_;
            if (pos_ >= text_.size())
                return false;
            const char c = text_[pos_];
            if (c == '\\' && continues_line())
                continue;
            if (c == '\n') {
                if (one_line_)
                    return false;
                ++pos_;
                ++line_;
                continue;
            }
            if (c == '"' || c == '\'') {
                const size_t close = text_.find_first_of(c == '"' ? "\"\n" : "'\n", pos_ + 1);
                if (close == std::string_view::npos || text_[close] == '\n') {
                    error_ = "a quoted field is not closed on its line";
                    return false;
                }
                item = {true, text_.substr(pos_ + 1, close - pos_ - 1), line_};
                pos_ = close + 1;
                return true;
            }
            const size_t start = pos_;
            while (pos_ < text_.size() && !is_blank(text_[pos_]))
                ++pos_;
            item = {false, text_.substr(start, pos_ - start), line_};
            return true;
        }
    }

    const std::string &error() const { return error_; }
    int line() const { return line_; }
    size_t pos() const { return pos_; }

  private:
    static bool is_inline_blank(char c)
    {
        return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
    }

    // At a backslash: steps over it and the line end when only blanks lie
    // between them (or the text ends).
    bool continues_line()
    {
        size_t at = pos_ + 1;
        while (at < text_.size() && is_inline_blank(text_[at]))
            ++at;
        if (at < text_.size() && text_[at] != '\n')
            return false;
        pos_ = at < text_.size() ? at + 1 : at;
        ++line_;
        return true;
    }

    std::string_view text_;
    size_t pos_;
    int line_;
    bool one_line_;
    std::string error_;
};

// Where a problem lies: a line of the newest record, or a line of the
// sibling file.
struct Problem {
    std::string file;
    std::string where; // "newest record at byte N, line" or empty for a plain file
    int line = 0;
    std::string reason;

    bool set(int at, std::string why)
    {
        line = at;
        reason = std::move(why);
        return false;
    }
    std::string text() const
    {
        return where.empty() ? text_format("read_archive_file_poly: %s:%d: %s", file.c_str(), line,
                                           reason.c_str())
                             : text_format("read_archive_file_poly: %s: %s %d: %s", file.c_str(),
                                           where.c_str(), line, reason.c_str());
    }
};

// " <range> <c0> <c1> ... ": the range and its coefficients.
bool parse_coefficients(std::string_view text, int line, TablePoly *polys, int &range,
                        Problem &problem)
{
    const std::vector<std::string_view> parts = words(text);
    long long index = -1;
    if (parts.empty() || !parse_integer(parts[0], index) || index < 0 || index >= ORV_MAX_RANGES)
        return problem.set(
            line, text_format("coefficient string \"%.*s\" does not start with a range 0..7",
                              static_cast<int>(text.size()), text.data()));
    if (parts.size() - 1 > ORV_MAX_COEFFS)
        return problem.set(line, text_format("%zu coefficients, more than 8", parts.size() - 1));
    TablePoly &poly = polys[index];
    for (size_t k = 1; k < parts.size(); ++k)
        if (!parse_double(parts[k], poly.coeff[k - 1]))
            return problem.set(line,
                               text_format("coefficient \"%.*s\" is not a number",
                                           static_cast<int>(parts[k].size()), parts[k].data()));
    poly.num_coeff = static_cast<int16_t>(parts.size() - 1);
    poly.range = static_cast<int16_t>(index);
    range = static_cast<int>(index);
    return true;
}

// Bare words as (x, y) pairs, at most 64.
bool parse_pairs(const std::vector<Scanner::Item> &items, double *xs, double *ys, int16_t &count,
                 Problem &problem)
{
    if (items.size() % 2 != 0)
        return problem.set(items.back().line, "a point lacks its y value");
    if (items.size() / 2 > ORV_MAX_POINTS)
        return problem.set(items.back().line,
                           text_format("%zu points, more than 64", items.size() / 2));
    for (size_t k = 0; k < items.size(); ++k)
        if (!parse_double(items[k].text, k % 2 == 0 ? xs[k / 2] : ys[k / 2]))
            return problem.set(items[k].line, text_format("point value \"%.*s\" is not a number",
                                                          static_cast<int>(items[k].text.size()),
                                                          items[k].text.data()));
    count = static_cast<int16_t>(items.size() / 2);
    return true;
}

// The sibling: for each range a quoted coefficient string, then its raw
// points.  The keywords that a table file would give a range take their
// defaults, as a RANGE= line without them does.
bool parse_sibling(std::string_view text, TablePoly *polys, Problem &problem)
{
    Scanner scanner(text, 0, 1, false);
    bool given[ORV_MAX_RANGES] = {};
    int range = -1;
    std::vector<Scanner::Item> pending;
    auto flush = [&]() {
        if (range < 0)
            return true;
        RawData &raw = polys[range].raw_data;
        return parse_pairs(pending, raw.x, raw.y, raw.count, problem);
    };
    Scanner::Item item{};
    while (scanner.next(item)) {
        if (!item.quoted) {
            if (range < 0)
                return problem.set(item.line, "a point before the first range");
            pending.push_back(item);
            continue;
        }
        if (!flush())
            return false;
        pending.clear();
        TablePoly scratch[ORV_MAX_RANGES] = {};
        int index = -1;
        if (!parse_coefficients(item.text, item.line, scratch, index, problem))
            return false;
        if (given[index])
            return problem.set(item.line, text_format("range %d is given twice", index));
        given[index] = true;
        range = index;
        polys[range] = scratch[range];
        polys[range].max = 1e6;
        polys[range].gain = 1.0;
    }
    if (!scanner.error().empty())
        return problem.set(scanner.line(), scanner.error());
    if (range < 0)
        return problem.set(scanner.line(), "no range");
    return flush();
}

class RecordText
{
  public:
    RecordText(std::string_view text, std::string archive_dir, TableInfo &table, Problem &problem)
        : text_(text), archive_dir_(std::move(archive_dir)), t_(table), problem_(problem)
    {
    }
    bool parse();

  private:
    int record_mode_ = 0; // the record's cal_mode word as a code
    bool comment_block(size_t &pos, int &line);
    bool fields();
    bool points(size_t first_bare);
    bool sibling(const Scanner::Item &path);

    // The next field, which must be quoted.
    const Scanner::Item *quoted(const char *name)
    {
        if (next_ >= items_.size() || !items_[next_].quoted) {
            const int line = next_ < items_.size() ? items_[next_].line : last_line_;
            problem_.set(line, text_format("the quoted field %s is missing", name));
            return nullptr;
        }
        return &items_[next_++];
    }
    template <size_t N> bool text_field(char (&field)[N], const char *name)
    {
        const Scanner::Item *item = quoted(name);
        if (item)
            put_text(field, item->text);
        return item != nullptr;
    }
    bool number_field(double &value, const char *name, bool with_units);

    std::string_view text_;
    std::string archive_dir_;
    TableInfo &t_;
    Problem &problem_;
    std::vector<Scanner::Item> items_;
    size_t next_ = 0;
    int last_line_ = 1;
    int dyno_points_ = 0; // named by the comment block of an auto_cal record
};

bool RecordText::parse()
{
    size_t pos = 0;
    int line = 1;
    if (!comment_block(pos, line))
        return false;
    Scanner scanner(text_, pos, line, true);
    Scanner::Item item{};
    while (scanner.next(item))
        items_.push_back(item);
    last_line_ = scanner.line();
    if (!scanner.error().empty())
        return problem_.set(scanner.line(), scanner.error());
    const std::string_view rest = text_.substr(scanner.pos());
    const size_t stray = rest.find_first_not_of(" \t\r\n\v\f");
    if (stray != std::string_view::npos)
        return problem_.set(scanner.line() + line_of_offset(rest, stray) - 1,
                            "text after the data line");
    return fields();
}

// Steps over the comment lines and blank lines that open the record.
bool RecordText::comment_block(size_t &pos, int &line)
{
    while (pos < text_.size()) {
        size_t end = text_.find('\n', pos);
        if (end == std::string_view::npos)
            end = text_.size();
        const std::string_view physical = trimmed(text_.substr(pos, end - pos));
        if (!physical.empty() && physical.front() != '#')
            return true;
        if (starts_with(physical, kDynoPointComment))
            ++dyno_points_;
        pos = end + 1;
        ++line;
    }
    return problem_.set(line, "the record has no data line");
}

bool RecordText::number_field(double &value, const char *name, bool with_units)
{
    const Scanner::Item *item = quoted(name);
    if (!item)
        return false;
    Cursor cursor(item->text);
    if (!cursor.number(value) || (with_units && !cursor.units()) || !cursor.at_end())
        return problem_.set(item->line,
                            text_format("%s \"%.*s\" is not a number", name,
                                        static_cast<int>(item->text.size()), item->text.data()));
    return true;
}

bool RecordText::fields()
{
    long long when = 0;
    if (items_.empty() || items_[0].quoted || !parse_integer(items_[0].text, when))
        return problem_.set(items_.empty() ? last_line_ : items_[0].line,
                            "the record does not start with its time_t");
    t_.last_cal = when;
    next_ = 1;
    if (!quoted("time_date"))
        return false;

    const Scanner::Item *mode = quoted("cal_mode");
    if (!mode)
        return false;
    const int cal_mode = code_of(kCalModes, mode->text);
    if (cal_mode < 0)
        return problem_.set(mode->line,
                            text_format("unknown cal_mode \"%.*s\"",
                                        static_cast<int>(mode->text.size()), mode->text.data()));
    // The words are checked but not kept in the block: cal_mode and
    // tol_state belong to the utility, which finds them 0 after every load.
    record_mode_ = cal_mode;
    const Scanner::Item *state = quoted("tol_state");
    if (!state)
        return false;
    const int tol_state = code_of(kTolStates, state->text);
    if (tol_state < 0)
        return problem_.set(state->line,
                            text_format("unknown tol_state \"%.*s\"",
                                        static_cast<int>(state->text.size()), state->text.data()));
    if (!text_field(t_.tbl_name, "tbl_name"))
        return false;

    // A type the writer has no word for comes as "" (or a word unknown
    // here): the block then says 0xFFFF, and the table file's type counts.
    const Scanner::Item *type = quoted("tbl_type");
    if (!type)
        return false;
    const int type_code = type_code_of(type->text);
    t_.tbl_type = static_cast<int16_t>(type_code);

    double *bands[] = {&t_.no_adjust_bias,   &t_.no_adjust_tol,   &t_.oot_bias,
                       &t_.oot_tol,          &t_.soot_bias,       &t_.soot_tol,
                       &t_.y_intercept_bias, &t_.y_intercept_tol, &t_.linearity_bias,
                       &t_.linearity_tol,    &t_.hysteresis_bias, &t_.hysteresis_tolerance};
    if (!number_field(t_.tbl_tol, "tbl_tol", false) || !text_field(t_.tol_units, "tol_units") ||
        !text_field(t_.user_comment, "user_comment"))
        return false;
    for (double *band : bands)
        if (!number_field(*band, "bias or tolerance", true))
            return false;
    if (!text_field(t_.sensor_model, "sensor_model") || !text_field(t_.sensor_sn, "sensor_sn") ||
        !text_field(t_.sensor_range_units, "sensor_range_units") ||
        !number_field(t_.sensor_range_lower_limit, "sensor_range_lower_limit", true) ||
        !number_field(t_.sensor_range_upper_limit, "sensor_range_upper_limit", true) ||
        !number_field(t_.min_range, "min_range", true) ||
        !number_field(t_.max_range, "max_range", true) ||
        !text_field(t_.technician, "technician") ||
        !text_field(t_.working_standard, "cal_method") || !text_field(t_.x_units, "x_units") ||
        !text_field(t_.tbl_units, "tbl_units"))
        return false;

    const Scanner::Item *coefficients = quoted("polynomial coefficients");
    if (!coefficients)
        return false;
    const Scanner::Item *sibling_path = nullptr;
    if (type_code == ORV_POLYNOMIAL_RANGE) {
        if (!(sibling_path = quoted("poly_range_filename")))
            return false;
    } else {
        int range = 0;
        if (!parse_coefficients(coefficients->text, coefficients->line, t_.dim.table_poly, range,
                                problem_))
            return false;
        t_.range_index = static_cast<int16_t>(range);
    }
    if (!text_field(t_.mua_instance_name, "mua_instance_name") ||
        !text_field(t_.tbl_desc, "tbl_desc"))
        return false;
    for (size_t k = next_; k < items_.size(); ++k)
        if (items_[k].quoted)
            return problem_.set(items_[k].line, "a quoted field among the points");
    if (!points(next_))
        return false;
    return !sibling_path || sibling(*sibling_path);
}

// The points of the table; an auto_cal record follows them with the
// dyno_cal type word and points, as many as its comment block names.
bool RecordText::points(size_t first_bare)
{
    std::vector<Scanner::Item> table(items_.begin() + static_cast<long>(first_bare), items_.end());
    std::vector<Scanner::Item> dyno;
    if (record_mode_ == 1) {
        double unused = 0.0;
        size_t split = table.size();
        for (size_t k = 0; k < table.size(); ++k)
            if (!parse_double(table[k].text, unused)) {
                split = k;
                break;
            }
        if (split < table.size()) { // the dyno_cal type word
            dyno.assign(table.begin() + static_cast<long>(split) + 1, table.end());
        } else { // an empty type word: count the dyno points from the end
            const size_t dyno_words = std::min(table.size(), static_cast<size_t>(dyno_points_) * 2);
            split = table.size() - dyno_words;
            dyno.assign(table.begin() + static_cast<long>(split), table.end());
        }
        table.resize(split);
    }
    RawData &raw = t_.dim.table_poly[0].raw_data;
    if (!parse_pairs(table, raw.x, raw.y, raw.count, problem_))
        return false;
    return dyno.empty() ||
           parse_pairs(dyno, t_.dyno_cal.x, t_.dyno_cal.y, t_.dyno_cal.count, problem_);
}

// A range's MIN and MAX from the x extent of points, for a range whose
// sibling line gives too few points of its own to be tabulated at them.
// Fewer than two finite points, or no width between them, give nothing.
void set_extent(TablePoly &range, const RawData &points)
{
    double lowest = 0.0, highest = 0.0;
    int finite = 0;
    for (int i = 0; i < std::min<int>(points.count, ORV_MAX_POINTS); ++i) {
        const double x = points.x[i];
        if (!std::isfinite(x))
            continue;
        lowest = finite == 0 ? x : std::min(lowest, x);
        highest = finite == 0 ? x : std::max(highest, x);
        ++finite;
    }
    if (finite < 2 || !(highest > lowest))
        return;
    range.min = lowest;
    range.max = highest;
}

// The ranges of a POLYNOMIAL_RANGE record.  The record names its sibling
// by its host path; a sibling beside the archive serves as well, so that a
// copied folder of tables still reads.
//
// A sibling carries no MIN or MAX, and a range read from a table file has
// no points, so its sibling line has none either.  The defaults would then
// spread the range in use over 0..1e6: it takes its extent from the points
// of the record instead, which are the points captured on that range, and
// so looks after a record as it did before it.
bool RecordText::sibling(const Scanner::Item &path)
{
    const RawData record_points = t_.dim.table_poly[0].raw_data;
    const std::string named(path.text);
    const size_t slash = named.rfind('/');
    const std::string candidates[] = {
        host_path(named.c_str()),
        archive_dir_ + (slash == std::string::npos ? named : named.substr(slash + 1))};
    std::string text;
    Load outcome = Load::missing;
    for (const std::string &candidate : candidates) {
        outcome = load_text(candidate, text);
        if (outcome == Load::ok) {
            Problem sibling_problem;
            sibling_problem.file = candidate;
            const size_t binary = find_binary_byte(text);
            if (binary != std::string::npos)
                sibling_problem.set(line_of_offset(text, binary), "binary content, not a sibling");
            else if (parse_sibling(text, t_.dim.table_poly, sibling_problem))
                break;
            problem_ = sibling_problem;
            return false;
        }
    }
    if (outcome != Load::ok)
        return problem_.set(path.line, text_format("POLYNOMIAL_RANGE sibling %s: %s", named.c_str(),
                                                   load_problem(outcome)));
    // The range in use is the first with a polynomial.
    t_.range_index = 0;
    for (int r = ORV_MAX_RANGES - 1; r >= 0; --r)
        if (t_.dim.table_poly[r].num_coeff > 0)
            t_.range_index = static_cast<int16_t>(r);
    TablePoly &in_use = t_.dim.table_poly[t_.range_index];
    if (in_use.raw_data.count < 2)
        set_extent(in_use, record_points);
    return true;
}

TableInfo *newest_buffer()
{
    thread_local std::unique_ptr<TableInfo> buffer;
    if (!buffer)
        buffer = std::make_unique<TableInfo>();
    return buffer.get();
}

} // namespace

extern "C" short read_archive_file_poly(int count, const char *path, void *records[500],
                                        int64_t slots[500])
{
    (void)slots;
    if (!path || !*path || !records) {
        log_refusal(kModule, __LINE__,
                    "read_archive_file_poly: no archive or no record array given");
        return ORV_FAILURE;
    }
    records[0] = nullptr;
    if (count < 1)
        return 0;
    Problem problem;
    problem.file = host_path(path);
    const File file(problem.file);
    if (file.fd() < 0) {
        if (file.open_error() == ENOENT || file.open_error() == ENOTDIR)
            return 0; // a table without history
        problem.set(1, load_problem(Load::unreadable));
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }
    struct stat st = {};
    if (fstat(file.fd(), &st) != 0 || !S_ISREG(st.st_mode)) {
        problem.set(1, load_problem(Load::not_regular));
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }
    if (st.st_size == 0)
        return 0;

    const off_t start = find_newest_record(file, st.st_size);
    if (start < 0) {
        problem.set(1, st.st_size > static_cast<off_t>(kMaxTextBytes)
                           ? "no record starts in the last 4 MB"
                           : "no record starts in the file");
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }
    std::string text(static_cast<size_t>(st.st_size - start), '\0');
    problem.where = text_format("newest record at byte %lld, line", static_cast<long long>(start));
    if (!file.read_at(&text[0], text.size(), start)) {
        problem.set(1, "cannot be read");
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }
    const size_t binary = find_binary_byte(text);
    if (binary != std::string::npos) {
        problem.set(line_of_offset(text, binary), "binary content, not a record");
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }

    const std::string archive(problem.file);
    const size_t slash = archive.rfind('/');
    TableInfo *newest = newest_buffer();
    *newest = TableInfo{};
    RecordText record(text,
                      slash == std::string::npos ? std::string() : archive.substr(0, slash + 1),
                      *newest, problem);
    if (!record.parse()) {
        log_refusal(kModule, __LINE__, problem.text());
        return ORV_FAILURE;
    }
    records[0] = newest;
    return 1;
}
