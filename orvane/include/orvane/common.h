/* Orvane host interface: shared conventions of every service header.
 *
 * The host's libraries are C.  A call that fails returns the 16-bit value
 * 0xFFFF (-1 as a short); callers test the low 16 bits.  Texts are
 * NUL-ended char arrays of fixed width.  Every absolute host path
 * ("/cell/...", "/orvane/...") is taken under the folder named by the
 * environment variable ORVANE_ROOT (unset or empty: the real root), and the
 * names of the shared-memory objects carry the cell instance named by
 * ORVANE_CELL (default "cell").
 */
#ifndef ORVANE_COMMON_H
#define ORVANE_COMMON_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ORV_BEGIN_C extern "C" {
#define ORV_END_C }
#define ORV_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define ORV_BEGIN_C
#define ORV_END_C
#define ORV_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#define ORV_FAILURE ((short)-1) /* 0xFFFF in the low 16 bits */

/* Checks a field's byte offset inside a record at compile time. */
#define ORV_CHECK_OFFSET(type, field, off)                                                        \
    ORV_STATIC_ASSERT(offsetof(type, field) == (off), #type "." #field " must sit at byte " #off)
#define ORV_CHECK_SIZE(type, size) ORV_STATIC_ASSERT(sizeof(type) == (size), #type " must be " #size " bytes")

ORV_BEGIN_C

/* Builds ROOT + absolute into out (size bytes, always ended).  Returns the
 * length the full path needed; a result >= size means it was cut. */
size_t orvane_root_path(const char *absolute, char *out, size_t size);

/* The cell instance: ORVANE_CELL, or "cell" when unset or empty. */
const char *orvane_cell_instance(void);

ORV_END_C

#endif
