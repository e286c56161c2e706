/* Orvane shared memory, task and cell identity.
 *
 * The host publishes its live data in shared-memory segments known by a
 * numeric id.  Guests map them read-only and never write to them.  The
 * record layouts below are the host's wire formats; only the listed fields
 * are part of the contract, the rest is reserved.
 */
#ifndef ORVANE_SHM_H
#define ORVANE_SHM_H

#include "common.h"

ORV_BEGIN_C

enum orvane_segment_id {
    ORV_SEG_SYS_ATTR = 1,         /* System Attributes: one record           */
    ORV_SEG_AI_TRANSFER = 3,      /* per-channel table names                 */
    ORV_SEG_MILLIVOLTS = 5,       /* per-channel live raw values             */
    ORV_SEG_AI_REAL = 6,          /* per-channel static records              */
    ORV_SEG_DISPLAY_STRINGS = 31, /* display texts; the version at 30,108    */
    ORV_SEG_CAL_TABLES = 35,      /* the compiled tables; build stamp        */
    ORV_SEG_UNITS = 43,           /* the unit table                          */
    ORV_SEG_SCHEDULER = 60,       /* scheduler attributes                    */
    ORV_SEG_VARIABLES = 90,       /* named host variables (vars.h)           */
    ORV_SEG_CONTROL = 99          /* simulated cell only: its control block  */
};

#define ORV_MAX_CHANNELS 512

/* AI_REAL: 448 bytes per analogue input channel. */
typedef struct orv_ai_real {
    uint8_t reserved0[118];
    int16_t active; /* 1: in use.  0: not in use.  Other values: host's own states */
    uint8_t reserved1[16];
    char name[96];  /* channel name, NUL ended */
    char units[16]; /* engineering units, at most 15 used */
    uint8_t reserved2[200];
} orv_ai_real;
ORV_CHECK_SIZE(orv_ai_real, 448);
ORV_CHECK_OFFSET(orv_ai_real, active, 118);
ORV_CHECK_OFFSET(orv_ai_real, name, 136);
ORV_CHECK_OFFSET(orv_ai_real, units, 232);

/* MILLIVOLTS: 488 bytes per channel; the value is one aligned f64. */
typedef struct orv_millivolts {
    uint8_t reserved0[64];
    double value; /* current raw reading, millivolts */
    uint8_t reserved1[416];
} orv_millivolts;
ORV_CHECK_SIZE(orv_millivolts, 488);
ORV_CHECK_OFFSET(orv_millivolts, value, 64);

/* System Attributes: one record.  The cell and site names are read through
 * get_cell_name() and get_site_name(), not by guests directly. */
typedef struct orv_sys_attr {
    char cell_name[32];
    uint8_t reserved0[64];
    char site_name[16];
    uint8_t reserved1[1448];
    int16_t channel_count; /* valid channel indices are 0 .. channel_count - 1 */
    uint8_t reserved2[486];
} orv_sys_attr;
ORV_CHECK_SIZE(orv_sys_attr, 2048);
ORV_CHECK_OFFSET(orv_sys_attr, cell_name, 0);
ORV_CHECK_OFFSET(orv_sys_attr, site_name, 96);
ORV_CHECK_OFFSET(orv_sys_attr, channel_count, 1560);

/* AI_TRANSFER: 388 bytes per channel. */
typedef struct orv_ai_transfer {
    uint8_t reserved0[72];
    char table_name[80]; /* base name of the calibration table, up to 79 used */
    uint8_t reserved1[236];
} orv_ai_transfer;
ORV_CHECK_SIZE(orv_ai_transfer, 388);
ORV_CHECK_OFFSET(orv_ai_transfer, table_name, 72);

/* SCHEDULER: one record. */
typedef struct orv_scheduler {
    uint8_t reserved0[16];
    int32_t tick; /* scheduler tick, milliseconds */
    uint8_t reserved1[44];
} orv_scheduler;
ORV_CHECK_SIZE(orv_scheduler, 64);
ORV_CHECK_OFFSET(orv_scheduler, tick, 16);

/* DISPLAY_STRINGS: the host's version text lies at byte 30,108. */
#define ORV_VERSION_OFFSET 30108
#define ORV_VERSION_SIZE 64
#define ORV_DISPLAY_STRINGS_SIZE 32768

/* CAL_TABLES: the stand-in keeps only the build stamp of bld_tables here. */
typedef struct orv_cal_tables {
    int64_t build_count;  /* builds since the cell started */
    int64_t build_time;   /* time_t of the last build */
    int32_t tables_read;  /* tables the last build accepted */
    int32_t tables_bad;   /* tables the last build refused */
    uint8_t reserved[4072];
} orv_cal_tables;
ORV_CHECK_SIZE(orv_cal_tables, 4096);

/* The unit table: at most 700 records of 40 bytes; the first record whose
 * name is blank ends it. */
#define ORV_MAX_UNITS 700
typedef struct orv_unit_record {
    double factor;  /* value in the dimension's base unit = value * factor + offset */
    double offset;
    uint32_t code;  /* <100 temperature, 100-199 pressure, 700-799 time, else other */
    int32_t dimension;
    char name[16];  /* keyword, NUL ended */
} orv_unit_record;
ORV_CHECK_SIZE(orv_unit_record, 40);
ORV_CHECK_OFFSET(orv_unit_record, code, 16);
ORV_CHECK_OFFSET(orv_unit_record, name, 24);

/* Maps segment id read-only.  The second argument is reserved, pass 0.
 * Returns the segment's address, or NULL when the host is not running or
 * has no such segment.  A segment the host has replaced since the last call
 * is mapped anew; an old mapping stays valid until the process ends. */
void *get_shrd_mem(int id, int reserved);

/* Like get_shrd_mem, storing the address in *pointer.  Returns non-zero on
 * success, 0 on failure (the pointer is then left as it was). */
int link_to_memory(int id, void **pointer);

/* Joins the host's task layer.  Returns 0 when joined, 5000 when the host
 * refuses this task, 0xFFFF when the host is not running. */
unsigned short join_layer(int layer);

/* Ends a task that the host refused (join_layer gave 5000): logs it, says
 * so on standard error and exits the process with status 2. */
void exit_auth_failure(void);

/* The cell's and the site's names, from the System Attributes record.  The
 * argument is reserved (the host passes 1 and 0).  NULL when the host is
 * not running.  The text stays valid until the process ends. */
char *get_cell_name(int reserved);
char *get_site_name(int reserved);

/* True (non-zero) when the DISPLAY environment variable is unset or empty;
 * then says so on standard error, naming the program. */
int is_display_env_var_empty(const char *program);

ORV_END_C

#endif
