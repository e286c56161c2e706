/* Orvane strings and files.
 *
 * The located calls take the caller's module (source base name) and line;
 * they log through log_error when they have to cut a text.
 */
#ifndef ORVANE_STRINGS_H
#define ORVANE_STRINGS_H

#include <stdio.h>

#include "common.h"

ORV_BEGIN_C

/* Copies at most size - 1 bytes of source and always ends the text.  A NULL
 * source gives the empty text; size 0 writes nothing. */
void copyn(const char *module, int line, char *destination, const char *source, size_t size);

/* vsnprintf into destination (size bytes, always ended).  Returns the
 * length written, which is below size. */
int snprintf_bounded(const char *module, int line, char *destination, size_t size, const char *format, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 5, 6)))
#endif
    ;

/* In place: string_strip removes leading white space, string_trim trailing
 * white space (blanks, tabs, newlines).  Both return their argument and
 * accept NULL. */
char *string_strip(char *text);
char *string_trim(char *text);

/* Non-zero when text is NULL, empty or only white space. */
int string_blank(const char *text);

/* Binds word to index in list number `list` (0..15).  Words are compared
 * exactly.  Binding a word that is already in the list moves it to the new
 * index and keeps its place in the list.  Returns 0, or 0xFFFF for a bad
 * list number, a NULL or empty word, or a full list (64 words). */
short string_associate_indexN(const char *word, int index, int list);

/* The word bound to index in list `list` that entered the list first, or
 * "" when none is.  The text stays valid until the process ends. */
const char *index_to_stringN(int index, int list);

/* Finds, from the start of the open stream, the first line that is keyword
 * (white space at its ends ignored), and stores the line that follows it in
 * buffer (size bytes, newline and a CR before it removed, always ended).  A
 * value line longer than the buffer is cut and its rest skipped.  Returns
 * 0, or 0xFFCD when the keyword is not found or nothing follows it; the
 * buffer is then empty.  The stream is left positioned after the value
 * line.  A stream that cannot seek is searched from where it stands. */
#define ORV_KEYWORD_NOT_FOUND ((short)0xFFCD)
short get_1st_line(FILE *stream, char *buffer, size_t size, const char *keyword);

/* Splits path into drive (always empty on this system; may be NULL),
 * directory with its trailing '/', base name and extension with its dot
 * (from the last dot of the base name on).  Any output may be NULL.
 * Outputs are cut safely at these sizes; when nothing is cut, directory +
 * base name + extension rebuilds the path. */
#define ORV_MAX_DIR 256
#define ORV_MAX_FNAME 48
#define ORV_MAX_EXT 48
void _splitpath(const char *path, char *drive, char *dir, char *fname, char *ext);

ORV_END_C

#endif
