// What every writer and reader of the channel's files relies on: C-locale
// bytes whatever the station's locale, and record texts that end within
// their fields.
#pragma once

#include <locale.h>

#include <cstddef>

// Holds the calling thread in the "C" locale while it lives.  Qt sets the
// C library's locale from the environment, and under a German one printf
// would write "12,50", strtod would stop at the '.', and %x and %r would
// change shape; the files are read by the host and the laboratory system,
// which expect the C forms.
class CLocaleScope
{
  public:
    CLocaleScope() : previous_(uselocale(c_locale())) {}
    ~CLocaleScope() { uselocale(previous_); }
    CLocaleScope(const CLocaleScope &) = delete;
    CLocaleScope &operator=(const CLocaleScope &) = delete;

  private:
    // Made once and kept for the life of the process.  Should newlocale
    // fail, uselocale((locale_t)0) only queries, and the thread keeps its
    // locale.
    static locale_t c_locale()
    {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        return c;
    }
    locale_t previous_;
};

// A text field of the record, ended within its width.  A field filled to
// the brim without its NUL is cut to width - 1 characters, so that no
// string function runs on into the next field; an ended field is left as
// it is.
template <size_t N> char *ended(char (&field)[N])
{
    field[N - 1] = '\0';
    return field;
}

// The count of a table's point arrays, kept within 0..capacity: a count
// from a damaged file never makes a loop read past the array.
inline int bounded_count(int count, int capacity)
{
    return count < 0 ? 0 : (count > capacity ? capacity : count);
}
