// The immutable attribute of a file or folder, which stops even root: the
// tests run as root, for whom permission bits do not bind.
#pragma once

#include <QByteArray>

#include <fcntl.h>
#include <sys/stat.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

// Sets or clears the attribute; false where the file system or the
// process's rights do not allow it.
inline bool set_immutable(const char *path, bool on)
{
    const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    int flags = 0;
    bool done = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    if (done) {
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ::close(fd);
    return done;
}

// While it lives, a file or folder has `locked_mode` and, where permission
// bits do not bind, the immutable attribute; both are undone after, with
// `unlocked_mode`, so that the temporary folder can go.
class LockedPath
{
  public:
    LockedPath(const QByteArray &path, mode_t locked_mode, mode_t unlocked_mode)
        : path_(path), unlocked_mode_(unlocked_mode)
    {
        ::chmod(path_.constData(), locked_mode);
        immutable_ = set_immutable(path_.constData(), true);
    }
    ~LockedPath()
    {
        if (immutable_)
            set_immutable(path_.constData(), false);
        ::chmod(path_.constData(), unlocked_mode_);
    }
    LockedPath(const LockedPath &) = delete;
    LockedPath &operator=(const LockedPath &) = delete;

  protected:
    const QByteArray &path() const { return path_; }

  private:
    QByteArray path_;
    mode_t unlocked_mode_;
    bool immutable_ = false;
};
