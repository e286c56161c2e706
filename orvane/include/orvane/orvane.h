/* Orvane host interface: every service of the host's libraries. */
#ifndef ORVANE_H
#define ORVANE_H

#include "common.h"
#include "log.h"
#include "shm.h"
#include "stats.h"
#include "strings.h"
#include "table_layout.h"
#include "tables.h"
#include "units.h"
#include "vars.h"

#endif
