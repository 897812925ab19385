// A log file that lines are appended to, turned over by size: when a line
// would take the file past its limit, the file becomes <path>.1 (the older
// ones <path>.2 ... <path>.<keep>, the oldest dropped) and the line starts a
// new file. Each line goes out in one write to a descriptor opened for
// appending, so lines from several processes never mix and a line is never
// split between two files.
#ifndef VELKSIM_ROTATINGLOG_H
#define VELKSIM_ROTATINGLOG_H

#include <cstdint>
#include <string>

namespace velksim {

class RotatingLog {
public:
    // maxBytes 0: the file grows without limit.
    RotatingLog(std::string path, std::uint64_t maxBytes, unsigned keep);

    const std::string& path() const { return path_; }

    // Appends the line (a line feed is added); with sync, returns only once
    // the line is on disk. False with errno set when it could not be written.
    bool append(const std::string& line, bool sync);

private:
    void rotate();

    std::string path_;
    std::uint64_t maxBytes_;
    unsigned keep_;
};

} // namespace velksim

#endif
