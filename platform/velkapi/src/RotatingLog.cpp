#include "RotatingLog.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velksim {

RotatingLog::RotatingLog(std::string path, std::uint64_t maxBytes, unsigned keep)
    : path_(std::move(path)), maxBytes_(maxBytes), keep_(keep)
{
}

void RotatingLog::rotate()
{
    // Oldest first, so that no rename lands on a file still to be moved.
    if (keep_ == 0) {
        ::unlink(path_.c_str());
        return;
    }
    ::unlink((path_ + "." + std::to_string(keep_)).c_str());
    for (unsigned i = keep_; i > 1; --i)
        ::rename((path_ + "." + std::to_string(i - 1)).c_str(), (path_ + "." + std::to_string(i)).c_str());
    ::rename(path_.c_str(), (path_ + ".1").c_str());
}

bool RotatingLog::append(const std::string& line, bool sync)
{
    const std::string text = line + "\n";
    int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    struct stat st;
    if (maxBytes_ > 0 && ::fstat(fd, &st) == 0 && st.st_size > 0
        && static_cast<std::uint64_t>(st.st_size) + text.size() > maxBytes_) {
        ::close(fd);
        rotate();
        fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (fd < 0)
            return false;
    }
    std::size_t done = 0;
    bool ok = true;
    while (ok && done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n > 0)
            done += static_cast<std::size_t>(n);
        else if (n == 0 || errno != EINTR)
            ok = false;
    }
    if (ok && sync)
        ok = ::fdatasync(fd) == 0;
    const int err = errno;
    ::close(fd);
    errno = err;
    return ok;
}

} // namespace velksim
