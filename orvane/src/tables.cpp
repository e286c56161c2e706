// Reading a table file (.tbl) into the table_info block, and the host's
// revision bookkeeping of the files the utility writes.
//
// A table file is a run of sections: a label comment line ("#Technician")
// and the value line under it, some with a column-heading comment line in
// between.  Every other comment line is a note.  The data come last: point
// rows or coefficient rows after "#number of points", the factor under
// "#conversion factor", or RANGE= lines for a POLYNOMIAL_RANGE table.
// Sections are found by their labels, not by their order, and a value
// line is taken whatever it holds, so a comment that itself starts with
// '#' stays a comment.
#include "tables_text.h"

#include "orvane/log.h"
#include "orvane/tables.h"

#include <cstdint>
#include <limits>
#include <memory>

namespace
{

using namespace orvtables;

const char kModule[] = "tables";

constexpr long long kSecondsPerWeek = 604800;

enum class Section {
    revision,
    comment,
    last_cal,
    standard,
    technician,
    description,
    units,
    limits,
    mua,
    model,
    serial,
    sensor_units,
    sensor_limits,
    type,
    count,
    factor,
};

struct Label {
    const char *text;
    Section section;
    bool column_heading; // a comment line of column names precedes the value
};

// The labels as the writer prints them.
const Label kLabels[] = {
    {"#revision code", Section::revision, false},
    {"# user comment", Section::comment, false},
    {"#last_cal(time_t)        cal_interval", Section::last_cal, false},
    {"#Working Standard", Section::standard, false},
    {"#Technician", Section::technician, false},
    {"#Description", Section::description, false},
    {"#calibration units", Section::units, true},
    {"# calibration limits", Section::limits, true},
    {"#MUA Instance Name", Section::mua, false},
    {"#Sensor Model", Section::model, false},
    {"#Sensor Serial Number", Section::serial, false},
    {"#Sensor Range Units", Section::sensor_units, false},
    {"#Sensor range limits", Section::sensor_limits, true},
    {"#type_code", Section::type, false},
    {"#number of points", Section::count, false},
    {"#conversion factor", Section::factor, false},
};

// A label line compared loosely, as a hand-edited file may differ from the
// writer's: without the '#' and the blanks after it, ASCII case folded,
// inner runs of blanks as one.
std::string loose_label(std::string_view line)
{
    line = trimmed(line);
    if (!line.empty() && line.front() == '#')
        line.remove_prefix(1);
    std::string loose;
    for (std::string_view word : words(line)) {
        if (!loose.empty())
            loose += ' ';
        for (char c : word)
            loose += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return loose;
}

const Label *label_of(std::string_view line)
{
    static const std::vector<std::string> loose_labels = [] {
        std::vector<std::string> loose;
        for (const Label &label : kLabels)
            loose.push_back(loose_label(label.text));
        return loose;
    }();
    const std::string loose = loose_label(line);
    for (size_t i = 0; i < loose_labels.size(); ++i)
        if (loose == loose_labels[i])
            return &kLabels[i];
    return nullptr;
}

struct Token {
    int line;
    std::string_view text;
};

// A RANGE= keyword and the field of the range that it sets.
struct RangeKeyword {
    const char *name;
    double TablePoly::*field;
};

const RangeKeyword kRangeKeywords[] = {
    {"MIN", &TablePoly::min},       {"MAX", &TablePoly::max},   {"BIAS", &TablePoly::bias},
    {"GAIN", &TablePoly::gain},     {"VZ_X", &TablePoly::vz_x}, {"VZ_Y", &TablePoly::vz_y},
    {"VS_X", &TablePoly::vs_x},     {"VS_Y", &TablePoly::vs_y}, {"CALZ_X", &TablePoly::calz_x},
    {"CALS_X", &TablePoly::cals_x},
};

// The parse of one table text into a zeroed block.
class TableText
{
  public:
    TableText(std::string_view text, TableInfo &table) : lines_(split_lines(text)), t_(table) {}

    bool parse();
    int error_line() const { return error_line_; }
    const std::string &error() const { return error_; }

  private:
    bool section(const Label &label, size_t &index);
    bool last_cal(std::string_view value, int line);
    bool finish();
    bool points();
    bool coefficients();
    bool scaled();
    bool ranges();
    bool range_line(const std::vector<Token> &tokens, bool (&given)[ORV_MAX_RANGES]);
    bool rows_before(int line);
    bool fail(int line, std::string reason)
    {
        error_line_ = line;
        error_ = std::move(reason);
        return false;
    }

    std::vector<std::string_view> lines_;
    TableInfo &t_;
    int type_ = -1;
    int type_line_ = 0;
    bool count_seen_ = false;
    long long count_ = 0;
    int count_line_ = 0;
    bool factor_seen_ = false;
    double factor_ = 0.0;
    std::vector<Token> rows_;                // lines outside every section
    std::vector<std::vector<Token>> ranges_; // the words of each RANGE= logical line
    int error_line_ = 0;
    std::string error_;
};

bool TableText::parse()
{
    for (size_t i = 0; i < lines_.size(); ++i) {
        const std::string_view line = trimmed(lines_[i]);
        if (line.empty())
            continue;
        if (line.front() == '#') {
            if (const Label *label = label_of(line))
                if (!section(*label, i))
                    return false;
            continue;
        }
        if (starts_with(line, "RANGE=")) {
            // One logical line: a backslash at the end of a physical line
            // (blanks after it forgiven) continues it on the next.
            std::vector<Token> tokens;
            for (;; ++i) {
                std::string_view physical = trimmed(lines_[i]);
                const bool continued = !physical.empty() && physical.back() == '\\';
                if (continued)
                    physical.remove_suffix(1);
                for (std::string_view word : words(physical))
                    tokens.push_back({static_cast<int>(i + 1), word});
                if (!continued || i + 1 >= lines_.size())
                    break;
            }
            ranges_.push_back(std::move(tokens));
            continue;
        }
        rows_.push_back({static_cast<int>(i + 1), line});
    }
    return finish();
}

// Takes the value line of the label at lines_[index] and leaves index on
// it.  A label on the last line has the empty value.
bool TableText::section(const Label &label, size_t &index)
{
    const int label_line = static_cast<int>(index + 1);
    size_t at = index + 1;
    if (label.column_heading)
        while (at < lines_.size() && trimmed(lines_[at]).substr(0, 1) == "#" &&
               !label_of(lines_[at]))
            ++at;
    const std::string_view value = at < lines_.size() ? trimmed(lines_[at]) : std::string_view();
    const int line = at < lines_.size() ? static_cast<int>(at + 1) : label_line;
    index = at < lines_.size() ? at : lines_.size() - 1;

    switch (label.section) {
    case Section::revision:
        return true; // @AUG07 or @POLY3: nothing in the block depends on it
    case Section::comment:
        put_text(t_.user_comment, value);
        return true;
    case Section::last_cal:
        return last_cal(value, line);
    case Section::standard:
        put_text(t_.working_standard, value);
        return true;
    case Section::technician:
        put_text(t_.technician, value);
        return true;
    case Section::description:
        put_text(t_.tbl_desc, value);
        return true;
    case Section::units: {
        // "  <eng_units>                 <raw_units>": the first word is the
        // table's units, the rest the raw units.
        const std::vector<std::string_view> parts = words(value);
        put_text(t_.tbl_units, parts.empty() ? std::string_view() : parts[0]);
        put_text(t_.x_units,
                 parts.empty() ? std::string_view() : trimmed(value.substr(parts[0].size())));
        return true;
    }
    case Section::limits: {
        Cursor cursor(value);
        if (!cursor.number(t_.min_range) || !cursor.units() || !cursor.number(t_.max_range) ||
            !cursor.units() || !cursor.number(t_.tbl_tol))
            return fail(line, text_format("calibration limits \"%.*s\" do not parse",
                                          static_cast<int>(value.size()), value.data()));
        put_text(t_.tol_units, cursor.rest());
        return true;
    }
    case Section::mua:
        put_text(t_.mua_instance_name, value);
        return true;
    case Section::model:
        put_text(t_.sensor_model, value);
        return true;
    case Section::serial:
        put_text(t_.sensor_sn, value);
        return true;
    case Section::sensor_units:
        put_text(t_.sensor_range_units, value);
        return true;
    case Section::sensor_limits: {
        Cursor cursor(value);
        if (!cursor.number(t_.sensor_range_lower_limit) || !cursor.units() ||
            !cursor.number(t_.sensor_range_upper_limit) || !cursor.units() || !cursor.at_end())
            return fail(line, text_format("sensor range limits \"%.*s\" do not parse",
                                          static_cast<int>(value.size()), value.data()));
        return true;
    }
    case Section::type:
        type_ = type_code_of(value);
        type_line_ = line;
        if (type_ < 0)
            return fail(line, text_format("unknown table type \"%.*s\"",
                                          static_cast<int>(value.size()), value.data()));
        return true;
    case Section::count:
        count_seen_ = true;
        count_line_ = line;
        if (!parse_integer(value, count_))
            return fail(line, text_format("number of points \"%.*s\" is not a whole number",
                                          static_cast<int>(value.size()), value.data()));
        return true;
    case Section::factor:
        factor_seen_ = true;
        if (!parse_double(value, factor_))
            return fail(line, text_format("conversion factor \"%.*s\" is not a number",
                                          static_cast<int>(value.size()), value.data()));
        return true;
    }
    return true;
}

// " <time_t>               <weeks>[week]"
bool TableText::last_cal(std::string_view value, int line)
{
    const std::vector<std::string_view> parts = words(value);
    long long when = 0, weeks = 0;
    bool ok = parts.size() == 2 && parse_integer(parts[0], when);
    if (ok) {
        // The week count carries its unit: "26[week]".
        const std::string_view interval = parts[1];
        const size_t bracket = interval.find('[');
        ok = parse_integer(interval.substr(0, bracket), weeks) &&
             (bracket == std::string_view::npos || interval.back() == ']');
    }
    if (!ok)
        return fail(line, text_format("last_cal and cal_interval \"%.*s\" do not parse",
                                      static_cast<int>(value.size()), value.data()));
    const long long limit = std::numeric_limits<int64_t>::max() / kSecondsPerWeek;
    if (weeks > limit || weeks < -limit)
        return fail(line, text_format("cal_interval of %lld weeks is out of range", weeks));
    t_.last_cal = when;
    t_.cal_interval = weeks * kSecondsPerWeek;
    return true;
}

bool TableText::finish()
{
    const int end_line = static_cast<int>(lines_.size());
    if (type_ < 0)
        return fail(end_line, "no #type_code section");
    t_.tbl_type = static_cast<int16_t>(type_);
    // The 2D tables are known by their type word alone; their data are the
    // host builder's business.
    if (type_ == ORV_2D_INTERPOLATION || type_ == ORV_LOCAL_2D_INTERPOLATION)
        return true;
    if (type_ != ORV_POLYNOMIAL_RANGE && !ranges_.empty())
        return fail(ranges_.front().front().line,
                    "RANGE= line in a table that is not POLYNOMIAL_RANGE");
    switch (type_) {
    case ORV_INTERPOLATION:
        return points();
    case ORV_POLYNOMIAL:
    case ORV_HYPERBOLIC:
        return coefficients();
    case ORV_SCALED:
        return scaled();
    case ORV_POLYNOMIAL_RANGE:
        return ranges();
    }
    return true;
}

// Refuses a line outside every section that comes before the given line.
bool TableText::rows_before(int line)
{
    for (const Token &row : rows_)
        if (row.line < line)
            return fail(row.line, text_format("text outside any section: \"%.*s\"",
                                              static_cast<int>(row.text.size()), row.text.data()));
    return true;
}

bool TableText::points()
{
    if (!count_seen_)
        return fail(type_line_, "no #number of points section");
    if (count_ < 0 || count_ > ORV_MAX_POINTS)
        return fail(count_line_, text_format("point count %lld is not 0..64", count_));
    if (!rows_before(count_line_))
        return false;
    if (rows_.size() != static_cast<size_t>(count_)) {
        const int line = rows_.size() > static_cast<size_t>(count_)
                             ? rows_[static_cast<size_t>(count_)].line
                             : count_line_;
        return fail(line, text_format("point count %lld does not match the %zu point rows", count_,
                                      rows_.size()));
    }
    RawData &raw = t_.dim.table_poly[0].raw_data;
    for (size_t i = 0; i < rows_.size(); ++i) {
        const std::vector<std::string_view> pair = words(rows_[i].text);
        if (pair.size() != 2)
            return fail(rows_[i].line,
                        text_format("a point row needs two numbers, it has %zu", pair.size()));
        for (size_t k = 0; k < 2; ++k)
            if (!parse_double(pair[k], k == 0 ? raw.x[i] : raw.y[i]))
                return fail(rows_[i].line,
                            text_format("\"%.*s\" is not a number",
                                        static_cast<int>(pair[k].size()), pair[k].data()));
    }
    raw.count = static_cast<int16_t>(count_);
    return true;
}

// POLYNOMIAL and HYPERBOLIC: "#number of points" counts the coefficients.
bool TableText::coefficients()
{
    if (!count_seen_)
        return fail(type_line_, "no #number of points section");
    if (count_ < 0 || count_ > ORV_MAX_COEFFS)
        return fail(count_line_, text_format("coefficient count %lld is not 0..8", count_));
    if (!rows_before(count_line_))
        return false;
    TablePoly &poly = t_.dim.table_poly[0];
    long long found = 0;
    for (const Token &row : rows_)
        for (std::string_view word : words(row.text)) {
            double value = 0.0;
            if (!parse_double(word, value))
                return fail(row.line, text_format("\"%.*s\" is not a number",
                                                  static_cast<int>(word.size()), word.data()));
            if (found < count_)
                poly.coeff[found] = value;
            if (++found > count_)
                return fail(row.line,
                            text_format("more coefficients than the %lld announced", count_));
        }
    if (found != count_)
        return fail(count_line_,
                    text_format("coefficient count %lld does not match the %lld coefficients",
                                count_, found));
    poly.num_coeff = static_cast<int16_t>(count_);
    return true;
}

bool TableText::scaled()
{
    if (!factor_seen_)
        return fail(type_line_, "no #conversion factor section");
    if (!rows_before(std::numeric_limits<int>::max()))
        return false;
    t_.dim.table_poly[0].raw_data.x[0] = factor_;
    return true;
}

bool TableText::ranges()
{
    if (!rows_before(std::numeric_limits<int>::max()))
        return false;
    bool given[ORV_MAX_RANGES] = {};
    for (const std::vector<Token> &tokens : ranges_)
        if (!range_line(tokens, given))
            return false;
    // The range in use is the first with a polynomial, else the first given.
    int first_given = -1;
    for (int r = 0; r < ORV_MAX_RANGES; ++r) {
        if (given[r] && t_.dim.table_poly[r].num_coeff > 0) {
            t_.range_index = static_cast<int16_t>(r);
            return true;
        }
        if (given[r] && first_given < 0)
            first_given = r;
    }
    t_.range_index = static_cast<int16_t>(first_given < 0 ? 0 : first_given);
    return true;
}

bool TableText::range_line(const std::vector<Token> &tokens, bool (&given)[ORV_MAX_RANGES])
{
    const Token &first = tokens.front(); // "RANGE=..." by construction
    long long index = -1;
    const std::string_view index_text = first.text.substr(6);
    if (index_text.empty())
        return fail(first.line, "keyword RANGE= without a value");
    if (!parse_integer(index_text, index) || index < 0 || index >= ORV_MAX_RANGES)
        return fail(first.line,
                    text_format("RANGE index \"%.*s\" is not 0..7",
                                static_cast<int>(index_text.size()), index_text.data()));
    if (given[index])
        return fail(first.line, text_format("range %lld is given twice", index));
    given[index] = true;

    TablePoly poly{};
    poly.range = static_cast<int16_t>(index);
    poly.max = 1e6;
    poly.gain = 1.0;
    int highest = -1;
    for (size_t k = 1; k < tokens.size(); ++k) {
        const Token &token = tokens[k];
        const size_t equals = token.text.find('=');
        if (equals == std::string_view::npos || equals == 0 || equals + 1 == token.text.size())
            return fail(token.line,
                        text_format("keyword \"%.*s\" without an '=' value",
                                    static_cast<int>(token.text.size()), token.text.data()));
        const std::string_view key = token.text.substr(0, equals);
        const std::string_view value = token.text.substr(equals + 1);
        double number = 0.0;
        if (key == "RANGE")
            return fail(token.line, "RANGE= must be the first entry, once per line");
        if (!parse_double(value, number))
            return fail(token.line, text_format("value of %.*s \"%.*s\" is not a number",
                                                static_cast<int>(key.size()), key.data(),
                                                static_cast<int>(value.size()), value.data()));
        if (key.size() == 2 && key[0] == 'C' && key[1] >= '0' && key[1] < '0' + ORV_MAX_COEFFS) {
            const int c = key[1] - '0';
            poly.coeff[c] = number;
            highest = c > highest ? c : highest;
            continue;
        }
        const RangeKeyword *known = nullptr;
        for (const RangeKeyword &keyword : kRangeKeywords)
            if (key == keyword.name)
                known = &keyword;
        if (!known)
            return fail(token.line, text_format("unknown keyword \"%.*s=\"",
                                                static_cast<int>(key.size()), key.data()));
        poly.*(known->field) = number;
    }
    poly.num_coeff = static_cast<int16_t>(highest + 1);
    t_.dim.table_poly[index] = poly;
    return true;
}

// The table name is not in the file: it is the file's base name.
std::string_view table_name_of(std::string_view path)
{
    const size_t slash = path.rfind('/');
    std::string_view base = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const size_t dot = base.rfind('.');
    if (dot != std::string_view::npos && dot > 0)
        base = base.substr(0, dot);
    return base;
}

} // namespace

extern "C" int read_table(const char *path, TableInfo *table)
{
    if (!path || !*path || !table) {
        log_refusal(kModule, __LINE__, "read_table: no file or no table block given");
        return ORV_FAILURE;
    }
    const std::string file = host_path(path);
    std::string text;
    const Load outcome = load_text(file, text);
    if (outcome != Load::ok) {
        log_refusal(kModule, __LINE__,
                    text_format("read_table: %s:1: %s", file.c_str(), load_problem(outcome)));
        return ORV_FAILURE;
    }
    if (trimmed(text).empty()) {
        log_refusal(kModule, __LINE__, text_format("read_table: %s:1: empty file", file.c_str()));
        return ORV_FAILURE;
    }
    const size_t binary = find_binary_byte(text);
    if (binary != std::string::npos) {
        log_refusal(kModule, __LINE__,
                    text_format("read_table: %s:%d: binary content (byte 0x%02X), not a table",
                                file.c_str(), line_of_offset(text, binary),
                                static_cast<unsigned char>(text[binary])));
        return ORV_FAILURE;
    }
    // Parsed aside, so that a refused file leaves the caller's block as it was.
    auto parsed = std::make_unique<TableInfo>();
    TableText reader(text, *parsed);
    if (!reader.parse()) {
        log_refusal(kModule, __LINE__,
                    text_format("read_table: %s:%d: %s", file.c_str(), reader.error_line(),
                                reader.error().c_str()));
        return ORV_FAILURE;
    }
    put_text(parsed->tbl_name, table_name_of(path));
    *table = *parsed;
    return 0;
}

extern "C" int put_rcs_specs(const char *path)
{
    if (!path || !*path) {
        log_error(kModule, __LINE__, 1, kRefusalCode, "put_rcs_specs: no file named");
        return ORV_FAILURE;
    }
    log_error(kModule, __LINE__, 1, 0, "put_rcs_specs: %s registered", path);
    return 0;
}
