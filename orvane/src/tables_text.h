// Text tools shared by the table readers (tables.cpp, tables_archive.cpp):
// bounded loading of a file, lines, numbers read as in the C locale,
// fixed-width text fields, the table-type words, and the host-log line
// that a refusal leaves.
#pragma once

#include "orvane/table_layout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace orvtables
{

// A table file is a few kilobytes and a history record a few more; a file
// or record beyond this is refused rather than read.
constexpr std::size_t kMaxTextBytes = std::size_t(4) << 20;

// The code logged with every refusal: the host's failure value.
constexpr int kRefusalCode = 0xFFFF;

// Where the host keeps a path: one in the host's trees ("/cell/...",
// "/orvane/...") is taken under ORVANE_ROOT, any other path as given, so
// a caller that has already rooted its path is not rooted twice.
std::string host_path(const char *path);

enum class Load {
    ok,
    missing,     // no such file
    unreadable,  // exists, cannot be opened or read
    not_regular, // a folder, a device, a pipe
    too_large,   // more than kMaxTextBytes
};

// Reads the whole regular file at path into text.  Opens without blocking,
// so a pipe or a device is refused instead of waited on.
Load load_text(const std::string &path, std::string &text);

// Words for a Load outcome other than ok, for the log.
const char *load_problem(Load outcome);

// Offset of the first byte that no text of these files holds (NUL and the
// control characters other than tab, CR, LF, VT, FF), or npos.  Latin-1
// letters are text.
std::size_t find_binary_byte(std::string_view text);

// 1-based number of the line that holds text[offset].
int line_of_offset(std::string_view text, std::size_t offset);

// The lines of text without their ends ("\n" or "\r\n").  A last line
// without an end counts; the empty rest after a final end does not.
std::vector<std::string_view> split_lines(std::string_view text);

bool is_blank(char c);
std::string_view trimmed(std::string_view text);
bool starts_with(std::string_view text, std::string_view prefix);

// Whitespace-separated words of text.
std::vector<std::string_view> words(std::string_view text);

// The whole of token as a number, read as in the C locale whatever the
// process locale: no leading blanks, a leading '+' allowed, "nan" and
// "inf" accepted, overflow refused.
bool parse_double(std::string_view token, double &value);
bool parse_integer(std::string_view token, long long &value);

// Reads the pieces of a value line such as "  -10.00[C]    150.00[C]":
// numbers, each optionally followed by its units in brackets.
class Cursor
{
  public:
    explicit Cursor(std::string_view text) : rest_(text) {}
    // Skips blanks, then takes a number that ends at a blank, a '[' or the
    // end.
    bool number(double &value);
    // Takes "[units]" right after a number, if there; false for a '['
    // without its ']'.
    bool units(std::string_view *units = nullptr);
    std::string_view rest() const { return trimmed(rest_); }
    bool at_end() const { return rest().empty(); }

  private:
    std::string_view rest_;
};

// Stores value in a fixed-width field of a record: cut to the field's
// width less one, always ended, the rest of the field zero.
template <std::size_t N> void put_text(char (&field)[N], std::string_view value)
{
    std::memset(field, 0, N);
    if (!value.empty())
        std::memcpy(field, value.data(), value.size() < N ? value.size() : N - 1);
}

// The code of a table-type word, or -1 for a word that is none.
int type_code_of(std::string_view word);

// Appends one line to the host log for a refused file: module and src_line
// name the reader, message says which file, where, and why.
void log_refusal(const char *module, int src_line, const std::string &message);

// printf into a std::string.
std::string text_format(const char *format, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 1, 2)))
#endif
    ;

} // namespace orvtables
