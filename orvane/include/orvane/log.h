/* Orvane host log.
 *
 * One line per call is appended to "/orvane/log/orvane.log" (under the
 * root): "YYYY-MM-DD hh:mm:ss <module>:<line> sev <severity> code <code> <message>",
 * with newlines inside the message written as " | ".  The log is never shown
 * to the technician.
 */
#ifndef ORVANE_LOG_H
#define ORVANE_LOG_H

#include "common.h"

ORV_BEGIN_C

#define ORV_LOG_PATH "/orvane/log/orvane.log"

/* module: the calling source file's base name; line: its line; severity: 1
 * in every call of the utility; code: a number the caller chooses. */
void log_error(const char *module, int line, int severity, int code, const char *format, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 5, 6)))
#endif
    ;

ORV_END_C

#endif
