// A file that is written whole or not at all.
#pragma once

#include <cstdio>
#include <string>

// The new file is written beside the old one under a name of its own and
// renamed over it only once it is whole, so that a full disk or a process
// killed part way leaves the previous file as it was (or no file, where
// there was none), never a cut one that the host, the laboratory system or
// the next load would read.  The new file keeps the old one's mode, and
// its owner and group where the process may set them.  Where the folder
// takes no new file but the old file is writable, the file is rewritten in
// place instead, as fopen's "w" would.
class ReplacementFile
{
  public:
    explicit ReplacementFile(const char *path);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    // Null when the file cannot be made: nothing is to be written then.
    FILE *stream() const { return stream_; }

    // Puts the new file in the old one's place; false, with the old file
    // untouched and the new one gone, when any write failed.  A file
    // written in place is only closed: false when any write failed.
    bool commit();

  private:
    void open_in_place();

    std::string path_;
    std::string temporary_; // empty when the file is written in place
    FILE *stream_ = nullptr;
};
