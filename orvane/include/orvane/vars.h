/* Orvane host variables.
 *
 * The host publishes named live values in segment ORV_SEG_VARIABLES as an
 * array of records.  A guest finds a variable by name once and then reads
 * its value straight from the record: the f64 at byte 64, the units text at
 * byte 232.
 */
#ifndef ORVANE_VARS_H
#define ORVANE_VARS_H

#include "common.h"

ORV_BEGIN_C

#define ORV_MAX_VARIABLES 256

typedef struct orv_variable {
    char name[64];
    double value;   /* live value */
    uint8_t reserved0[160];
    char units[16]; /* units keyword of the value */
    uint8_t reserved1[8];
} orv_variable;
ORV_CHECK_SIZE(orv_variable, 256);
ORV_CHECK_OFFSET(orv_variable, value, 64);
ORV_CHECK_OFFSET(orv_variable, units, 232);

typedef struct orv_variable_segment {
    int32_t count; /* records in use */
    uint8_t reserved[252];
    orv_variable variables[ORV_MAX_VARIABLES];
} orv_variable_segment;

/* Handle of a found variable: two 64-bit words (segment id, record index). */
typedef struct vrbl_handle {
    int64_t word[2];
} vrbl_handle;

/* Finds a variable by exact name.  Returns 0 and fills *handle when found;
 * 1 when there is no such variable; 0xFFFF when the host is not running. */
short find_variable(const char *name, vrbl_handle *handle);

/* The address of the variable's record (value at byte 64, units at 232), or
 * NULL for a handle that no longer names a record. */
void *get_vrbl_adr(vrbl_handle handle);

ORV_END_C

#endif
