// Text tools of the table readers.  Everything here works on bytes and
// never on the process locale: a station under de_DE.UTF-8 must read
// "0.25" as a quarter, as every other station does.
#include "tables_text.h"

#include "orvane/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace orvtables
{

std::string host_path(const char *path)
{
    if (!path)
        return std::string();
    const std::string_view view(path);
    if (!starts_with(view, "/cell/") && !starts_with(view, "/orvane/"))
        return std::string(view);
    const size_t needed = orvane_root_path(path, nullptr, 0);
    std::string rooted(needed + 1, '\0');
    orvane_root_path(path, &rooted[0], rooted.size());
    rooted.resize(needed);
    return rooted;
}

Load load_text(const std::string &path, std::string &text)
{
    text.clear();
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT || errno == ENOTDIR ? Load::missing : Load::unreadable;
    struct stat st = {};
    Load outcome = Load::ok;
    if (fstat(fd, &st) != 0)
        outcome = Load::unreadable;
    else if (!S_ISREG(st.st_mode))
        outcome = Load::not_regular;
    else if (static_cast<unsigned long long>(st.st_size) > kMaxTextBytes)
        outcome = Load::too_large;
    if (outcome != Load::ok) {
        close(fd);
        return outcome;
    }
    // The size is only a hint: a file that grows while it is read is cut
    // off at the limit all the same.
    size_t have = 0;
    text.resize(static_cast<size_t>(st.st_size) + 1);
    while (have <= kMaxTextBytes) {
        if (have == text.size())
            text.resize(std::min(text.size() * 2, kMaxTextBytes + 1));
        const ssize_t got = read(fd, &text[have], text.size() - have);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            outcome = Load::unreadable;
            break;
        }
        if (got == 0)
            break;
        have += static_cast<size_t>(got);
    }
    close(fd);
    if (outcome == Load::ok && have > kMaxTextBytes)
        outcome = Load::too_large;
    text.resize(outcome == Load::ok ? have : 0);
    return outcome;
}

const char *load_problem(Load outcome)
{
    switch (outcome) {
    case Load::ok:
        return "read";
    case Load::missing:
        return "no such file";
    case Load::unreadable:
        return "cannot be read";
    case Load::not_regular:
        return "not a regular file";
    case Load::too_large:
        return "larger than 4 MB";
    }
    return "cannot be read";
}

std::size_t find_binary_byte(std::string_view text)
{
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\v' && c != '\f') ||
            c == 0x7F)
            return i;
    }
    return std::string_view::npos;
}

int line_of_offset(std::string_view text, std::size_t offset)
{
    int line = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i)
        if (text[i] == '\n')
            ++line;
    return line;
}

std::vector<std::string_view> split_lines(std::string_view text)
{
    std::vector<std::string_view> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        const size_t next = end == std::string_view::npos ? text.size() : end + 1;
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        lines.push_back(line);
        start = next;
    }
    return lines;
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && is_blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_blank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool starts_with(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

std::vector<std::string_view> words(std::string_view text)
{
    std::vector<std::string_view> result;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && is_blank(text[i]))
            ++i;
        const size_t start = i;
        while (i < text.size() && !is_blank(text[i]))
            ++i;
        if (i > start)
            result.push_back(text.substr(start, i - start));
    }
    return result;
}

namespace
{

// from_chars takes no '+'; the writers never print one before a number,
// but a hand-edited file may.
std::string_view without_plus(std::string_view token)
{
    if (token.size() > 1 && token[0] == '+' && token[1] != '-' && token[1] != '+')
        token.remove_prefix(1);
    return token;
}

} // namespace

bool parse_double(std::string_view token, double &value)
{
    token = without_plus(token);
    if (token.empty())
        return false;
    double parsed = 0.0;
    const auto result = std::from_chars(token.data(), token.data() + token.size(), parsed);
    if (result.ec != std::errc() || result.ptr != token.data() + token.size())
        return false;
    value = parsed;
    return true;
}

bool parse_integer(std::string_view token, long long &value)
{
    token = without_plus(token);
    if (token.empty())
        return false;
    long long parsed = 0;
    const auto result = std::from_chars(token.data(), token.data() + token.size(), parsed);
    if (result.ec != std::errc() || result.ptr != token.data() + token.size())
        return false;
    value = parsed;
    return true;
}

bool Cursor::number(double &value)
{
    while (!rest_.empty() && is_blank(rest_.front()))
        rest_.remove_prefix(1);
    size_t end = 0;
    while (end < rest_.size() && !is_blank(rest_[end]) && rest_[end] != '[')
        ++end;
    if (!parse_double(rest_.substr(0, end), value))
        return false;
    rest_.remove_prefix(end);
    return true;
}

bool Cursor::units(std::string_view *units)
{
    if (rest_.empty() || rest_.front() != '[')
        return true;
    const size_t close = rest_.find(']');
    if (close == std::string_view::npos)
        return false;
    if (units)
        *units = rest_.substr(1, close - 1);
    rest_.remove_prefix(close + 1);
    return true;
}

int type_code_of(std::string_view word)
{
    struct Word {
        const char *text;
        int code;
    };
    static const Word kWords[] = {
        {"INTERPOLATION", ORV_INTERPOLATION},
        {"LONG_INTERPOLATION", ORV_INTERPOLATION},
        {"POLYNOMIAL", ORV_POLYNOMIAL},
        {"SCALED", ORV_SCALED},
        {"2D_INTERPOLATION", ORV_2D_INTERPOLATION},
        {"LOCAL_2D_INTERPOLATION", ORV_LOCAL_2D_INTERPOLATION},
        {"HYPERBOLIC", ORV_HYPERBOLIC},
        {"POLYNOMIAL_RANGE", ORV_POLYNOMIAL_RANGE},
    };
    for (const Word &known : kWords)
        if (word == known.text)
            return known.code;
    return -1;
}

void log_refusal(const char *module, int src_line, const std::string &message)
{
    log_error(module, src_line, 1, kRefusalCode, "%s", message.c_str());
}

std::string text_format(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    const int needed = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(needed > 0 ? static_cast<size_t>(needed) + 1 : 1, '\0');
    std::vsnprintf(&text[0], text.size(), format, again);
    va_end(again);
    text.resize(text.size() - 1);
    return text;
}

} // namespace orvtables
