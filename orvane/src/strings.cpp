/* Orvane strings and files: bounded copies, white space, the word lists,
 * the keyword reader and the path splitter.
 *
 * Everything here works on bytes and the ASCII white-space set, never on
 * the process locale: record texts are Latin-1 and must behave the same on
 * every station.
 */
#include "orvane/strings.h"

#include "orvane/log.h"

#include <array>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string>

namespace
{

bool is_white(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

const char *module_name(const char *module)
{
    return module ? module : "?";
}

/* Copies at most size - 1 bytes of [source, source + length) and ends the
 * text; size must be at least 1. */
void store_cut(char *destination, size_t size, const char *source, size_t length)
{
    if (length > size - 1)
        length = size - 1;
    std::memcpy(destination, source, length);
    destination[length] = '\0';
}

/* ---- word lists --------------------------------------------------------- */

constexpr int kListCount = 16;
constexpr int kListWords = 64;

struct Binding {
    std::string word; /* never changed once stored: index_to_stringN hands out its text */
    int index = 0;
};

struct WordList {
    std::array<Binding, kListWords> bindings;
    int used = 0;
};

std::mutex g_lists_mutex;
std::array<WordList, kListCount> g_lists;

bool valid_list(int list)
{
    return list >= 0 && list < kListCount;
}

/* ---- keyword reader ----------------------------------------------------- */

/* Reads one line and tells whether it is the keyword [key, key + length),
 * white space at the line's ends ignored.  Works byte by byte so that a
 * line of any length, or one full of binary bytes, costs no memory.
 * *at_eof is set when the stream ended before a newline. */
bool line_is_keyword(FILE *stream, const char *key, size_t length, bool *at_eof)
{
    enum { LEADING, MATCHING, TRAILING, FAILED } state = LEADING;
    size_t matched = 0;
    bool any = false;
    int c;
    while ((c = getc(stream)) != EOF) {
        any = true;
        if (c == '\n')
            break;
        const char ch = static_cast<char>(c);
        switch (state) {
        case LEADING:
            if (is_white(ch))
                break;
            state = MATCHING;
            /* fall through */
        case MATCHING:
            if (matched < length && ch == key[matched]) {
                ++matched;
                break;
            }
            state = (matched == length && is_white(ch)) ? TRAILING : FAILED;
            break;
        case TRAILING:
            if (!is_white(ch))
                state = FAILED;
            break;
        case FAILED:
            break;
        }
    }
    *at_eof = (c == EOF);
    if (c == EOF && !any)
        return false; /* no line at all */
    return state != FAILED && matched == length;
}

/* Stores the next line in buffer (cut to size - 1 bytes, the rest of the
 * line skipped, the newline and a CR before it removed).  False when the
 * stream has no further line. */
bool read_value_line(FILE *stream, char *buffer, size_t size)
{
    size_t stored = 0;
    bool any = false;
    bool cut = false;
    int c;
    while ((c = getc(stream)) != EOF) {
        any = true;
        if (c == '\n')
            break;
        if (buffer && stored + 1 < size)
            buffer[stored++] = static_cast<char>(c);
        else
            cut = true;
    }
    if (!any)
        return false;
    /* A stored CR is the first half of a CRLF end only when nothing after
     * it was dropped. */
    if (!cut && stored > 0 && buffer[stored - 1] == '\r')
        --stored;
    if (buffer && size > 0)
        buffer[stored] = '\0';
    return true;
}

/* ---- path splitter ------------------------------------------------------ */

void store_part(char *out, size_t size, const char *begin, const char *end)
{
    if (out)
        store_cut(out, size, begin, static_cast<size_t>(end - begin));
}

} // namespace

extern "C" {

void copyn(const char *module, int line, char *destination, const char *source, size_t size)
{
    if (!destination || size == 0)
        return;
    if (!source) {
        destination[0] = '\0';
        return;
    }
    /* strnlen never reads past the bytes the copy may take plus one, so an
     * unended source field of a fixed-width record is safe to pass. */
    const size_t length = strnlen(source, size);
    if (length < size) {
        std::memmove(destination, source, length + 1);
        return;
    }
    std::memmove(destination, source, size - 1);
    destination[size - 1] = '\0';
    log_error(module_name(module), line, 1, 0, "copyn cut a text to %zu bytes: \"%s\"", size - 1,
              destination);
}

int snprintf_bounded(const char *module, int line, char *destination, size_t size,
                     const char *format, ...)
{
    if (!format) {
        if (destination && size > 0)
            destination[0] = '\0';
        return 0;
    }
    va_list args;
    va_start(args, format);
    const int needed =
        vsnprintf(size > 0 ? destination : nullptr, destination ? size : 0, format, args);
    va_end(args);
    if (needed < 0) {
        if (destination && size > 0)
            destination[0] = '\0';
        log_error(module_name(module), line, 1, 0, "snprintf_bounded could not format \"%s\"",
                  format);
        return 0;
    }
    const size_t capacity = destination ? size : 0;
    if (needed == 0 || static_cast<size_t>(needed) < capacity)
        return needed;
    const size_t kept = capacity > 0 ? capacity - 1 : 0;
    log_error(module_name(module), line, 1, 0,
              "snprintf_bounded cut a text of %d bytes to %zu bytes", needed, kept);
    return static_cast<int>(kept);
}

char *string_strip(char *text)
{
    if (!text)
        return text;
    size_t skip = 0;
    while (text[skip] && is_white(text[skip]))
        ++skip;
    if (skip > 0)
        std::memmove(text, text + skip, std::strlen(text + skip) + 1);
    return text;
}

char *string_trim(char *text)
{
    if (!text)
        return text;
    size_t length = std::strlen(text);
    while (length > 0 && is_white(text[length - 1]))
        --length;
    text[length] = '\0';
    return text;
}

int string_blank(const char *text)
{
    if (!text)
        return 1;
    for (; *text; ++text)
        if (!is_white(*text))
            return 0;
    return 1;
}

short string_associate_indexN(const char *word, int index, int list)
{
    if (!valid_list(list) || !word || !*word)
        return ORV_FAILURE;
    std::lock_guard<std::mutex> lock(g_lists_mutex);
    WordList &words = g_lists[static_cast<size_t>(list)];
    /* A word rebound keeps its place in the list, so the order in which
     * words were first bound decides which word an index reads back. */
    for (int i = 0; i < words.used; ++i) {
        Binding &binding = words.bindings[static_cast<size_t>(i)];
        if (binding.word == word) {
            binding.index = index;
            return 0;
        }
    }
    if (words.used == kListWords)
        return ORV_FAILURE;
    Binding &binding = words.bindings[static_cast<size_t>(words.used++)];
    binding.word = word;
    binding.index = index;
    return 0;
}

const char *index_to_stringN(int index, int list)
{
    if (!valid_list(list))
        return "";
    std::lock_guard<std::mutex> lock(g_lists_mutex);
    const WordList &words = g_lists[static_cast<size_t>(list)];
    for (int i = 0; i < words.used; ++i) {
        const Binding &binding = words.bindings[static_cast<size_t>(i)];
        if (binding.index == index)
            return binding.word.c_str();
    }
    return "";
}

short get_1st_line(FILE *stream, char *buffer, size_t size, const char *keyword)
{
    if (buffer && size > 0)
        buffer[0] = '\0';
    if (!stream || !keyword)
        return ORV_KEYWORD_NOT_FOUND;

    const char *key = keyword;
    size_t length = std::strlen(key);
    while (length > 0 && is_white(*key)) {
        ++key;
        --length;
    }
    while (length > 0 && is_white(key[length - 1]))
        --length;

    /* A stream that cannot seek (a pipe) is searched from where it stands. */
    (void)std::fseek(stream, 0L, SEEK_SET);
    bool at_eof = false;
    while (!at_eof) {
        if (line_is_keyword(stream, key, length, &at_eof)) {
            if (at_eof || !read_value_line(stream, buffer, size))
                return ORV_KEYWORD_NOT_FOUND;
            return 0;
        }
    }
    return ORV_KEYWORD_NOT_FOUND;
}

void _splitpath(const char *path, char *drive, char *dir, char *fname, char *ext)
{
    if (drive)
        drive[0] = '\0';
    if (!path)
        path = "";
    const char *end = path + std::strlen(path);
    const char *slash = std::strrchr(path, '/');
    const char *base = slash ? slash + 1 : path;
    const char *dot = std::strrchr(base, '.');
    if (!dot)
        dot = end;
    store_part(dir, ORV_MAX_DIR, path, base);
    store_part(fname, ORV_MAX_FNAME, base, dot);
    store_part(ext, ORV_MAX_EXT, dot, end);
}

} // extern "C"
