#include "record_tokens.h"

#include <charconv>

namespace
{

// What ends a bare word: white space, a line's continuation, a quote.
bool ends_word(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\\' || c == '"' || c == '\'';
}

} // namespace

std::optional<std::vector<RecordToken>> record_tokens(const QByteArray &text, int first_line, QString *error)
{
    std::vector<RecordToken> tokens;
    int line = first_line;
    const int size = text.size();
    int i = 0;
    while (i < size) {
        const char c = text.at(i);
        if (c == '\n') {
            ++line;
            ++i;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\\') {
            ++i; // a backslash only continues the line
        } else if (c == '"' || c == '\'') {
            const int end = text.indexOf(c, i + 1);
            const int newline = text.indexOf('\n', i + 1);
            if (end < 0 || (newline >= 0 && newline < end)) {
                *error = QStringLiteral("a quoted field is not closed on line %1").arg(line);
                return std::nullopt;
            }
            tokens.push_back({true, text.mid(i + 1, end - i - 1), line});
            i = end + 1;
        } else {
            int end = i;
            while (end < size && !ends_word(text.at(end)))
                ++end;
            tokens.push_back({false, text.mid(i, end - i), line});
            i = end;
        }
    }
    return tokens;
}

bool parse_number(const QByteArray &text, double &value, QString *units)
{
    QByteArray number = text.trimmed();
    if (units) {
        const int open = number.indexOf('[');
        if (open < 0 || !number.endsWith(']'))
            return false;
        *units = QString::fromLatin1(number.mid(open + 1, number.size() - open - 2));
        number = number.left(open).trimmed();
    }
    if (number.startsWith('+'))
        number.remove(0, 1);
    if (number.isEmpty())
        return false;
    const char *begin = number.constData();
    const char *end = begin + number.size();
    const auto result = std::from_chars(begin, end, value);
    return result.ec == std::errc() && result.ptr == end;
}
