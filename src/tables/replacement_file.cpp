#include "replacement_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace
{

// The new file takes the old one's owner, group and mode.  Owner and group
// first: a change of owner clears the set-id bits, which the mode then puts
// back.  Setting the owner is refused to a process without the right; the
// group alone may still be one of its own.
void keep_attributes(int fd, const struct stat &old)
{
    if (fchown(fd, old.st_uid, old.st_gid) != 0 &&
        fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0) {
        // Refused: the new file keeps the writer's owner and group.
    }
    fchmod(fd, old.st_mode & 07777);
}

} // namespace

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
            // A folder that takes no new file (no write right, or immutable)
            // still lets a writable file be rewritten where it stands, as
            // the utility always did; only the protection of the rename is
            // lost then.  Any other refusal (a full disk) keeps the old file.
            if (replacing && (errno == EACCES || errno == EPERM))
                open_in_place();
            return;
        }
        if (replacing)
            keep_attributes(fd, old);
        stream_ = fdopen(fd, "w");
        if (!stream_) {
            close(fd);
            unlink(temporary_.c_str());
            return;
        }
    }
}

void ReplacementFile::open_in_place()
{
    temporary_.clear();
    stream_ = std::fopen(path_.c_str(), "we");
}

ReplacementFile::~ReplacementFile()
{
    if (stream_) {
        std::fclose(stream_);
        if (!temporary_.empty())
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
    if (temporary_.empty())
        return written && closed;
    if (written && closed && std::rename(temporary_.c_str(), path_.c_str()) == 0)
        return true;
    unlink(temporary_.c_str());
    return false;
}
