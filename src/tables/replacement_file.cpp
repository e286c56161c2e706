#include "replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

ReplacementFile::ReplacementFile(const char *path) : path_(path)
{
    struct stat old {};
    const bool replacing = stat(path, &old) == 0 && S_ISREG(old.st_mode);
    // A file that fopen's "w" could not open is not replaced either.
    if (replacing) {
        const int probe = open(path, O_WRONLY | O_CLOEXEC);
        if (probe < 0)
            return;
        close(probe);
    }
    for (int attempt = 0; attempt < 100 && !stream_; ++attempt) {
        temporary_ = path_ + ".partial-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
        // As fopen's "w" would make it; a file that is replaced keeps its mode.
        const int fd = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return;
        }
        if (replacing)
            fchmod(fd, old.st_mode & 07777);
        stream_ = fdopen(fd, "w");
        if (!stream_) {
            close(fd);
            unlink(temporary_.c_str());
            return;
        }
    }
}

ReplacementFile::~ReplacementFile()
{
    if (stream_) {
        std::fclose(stream_);
        unlink(temporary_.c_str());
    }
}

bool ReplacementFile::commit()
{
    FILE *stream = stream_;
    if (!stream)
        return false;
    stream_ = nullptr;
    const bool written = std::fflush(stream) == 0 && !std::ferror(stream) && fsync(fileno(stream)) == 0;
    const bool closed = std::fclose(stream) == 0;
    if (written && closed && std::rename(temporary_.c_str(), path_.c_str()) == 0)
        return true;
    unlink(temporary_.c_str());
    return false;
}
