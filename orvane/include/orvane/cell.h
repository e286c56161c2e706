/* The simulated cell's own interface: creating the host's segments, and the
 * control block through which orvane-sim is scripted.  A real host has no
 * such block; only orvane-sim, bld_tables and tests use this header.
 */
#ifndef ORVANE_CELL_H
#define ORVANE_CELL_H

#include "common.h"
#include "shm.h"

ORV_BEGIN_C

#define ORV_CONTROL_MAGIC 0x4f52564eu /* "ORVN" */

/* Control block, segment ORV_SEG_CONTROL, written by the orvane-sim commands
 * and read by the running cell at every tick. */
typedef struct orv_control {
    uint32_t magic;
    int32_t pid;         /* the running cell's process */
    int32_t ready;       /* 1 once every segment is filled */
    int32_t publishing;  /* 1: live values move; 0: frozen ("stop publishing") */
    int32_t refuse_task; /* 1: join_layer answers 5000 */
    int32_t tick_ms;     /* the scheduler tick the cell runs at */
    int32_t channel_count;
    int32_t reserved0;
    int64_t ticks;       /* ticks published since the start */
    uint8_t applied_set[ORV_MAX_CHANNELS];
    double applied[ORV_MAX_CHANNELS]; /* physical value applied to each sensor */
} orv_control;

/* The shared-memory object name of a segment for this cell instance:
 * "/orvane.<instance>.<id>".  Returns out. */
char *orvane_segment_name(int id, char *out, size_t size);

/* Creates (or replaces) a segment of size bytes, zeroed, mapped read-write.
 * NULL on failure. */
void *orvane_segment_create(int id, size_t size);

/* Maps an existing segment read-write; *size receives its size when not
 * NULL.  NULL when it does not exist. */
void *orvane_segment_attach_rw(int id, size_t *size);

/* Removes the segment's name; mappings stay valid.  0 or -1. */
int orvane_segment_remove(int id);

ORV_END_C

#endif
