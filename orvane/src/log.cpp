// The host log: one appended line per call, readable by tests and people.
#include "orvane/log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace {

void make_parent_dirs(const std::string &path)
{
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0755);
}

} // namespace

extern "C" void log_error(const char *module, int line, int severity, int code, const char *format, ...)
{
    char message[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format ? format : "", args);
    va_end(args);
    // One record per line: embedded newlines would split it.
    for (char *p = message; *p; ++p)
        if (*p == '\n' || *p == '\r')
            *p = '|';

    std::time_t now = std::time(nullptr);
    std::tm local {};
    localtime_r(&now, &local);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);

    char text[1280];
    int length = std::snprintf(text, sizeof text, "%s %s:%d sev %d code %d %s\n", stamp,
                               module ? module : "?", line, severity, code, message);
    if (length < 0)
        return;
    if (static_cast<size_t>(length) >= sizeof text)
        length = sizeof text - 1;

    char path[1024];
    orvane_root_path(ORV_LOG_PATH, path, sizeof path);
    int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        make_parent_dirs(path);
        fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0)
        return;
    // One write call with O_APPEND keeps lines of concurrent writers whole.
    ssize_t written = write(fd, text, static_cast<size_t>(length));
    (void)written;
    close(fd);
}
