#include "BufferedAnswerBody.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace Pegasus;

namespace cimhost
{

namespace
{

// An unnamed file in `directory`: one that was never linked where the
// system makes those, else one unlinked at once.
int unnamedFile(const std::string& directory)
{
#ifdef O_TMPFILE
    int fd = ::open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL))
        return fd;
#endif
    std::string name = directory + "/cimhost-answer-XXXXXX";
    int fd2 = ::mkostemp(&name[0], O_CLOEXEC);
    if (fd2 >= 0)
        ::unlink(name.c_str());
    return fd2;
}

bool writeAt(int fd, const char* data, size_t size, size_t offset)
{
    while (size > 0)
    {
        ssize_t n = ::pwrite(fd, data, size, static_cast<off_t>(offset));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            if (n == 0)
                errno = ENOSPC;
            return false;
        }
        data += n;
        size -= size_t(n);
        offset += size_t(n);
    }
    return true;
}

} // namespace

BufferedAnswerBody::BufferedAnswerBody(std::string spoolDirectory, size_t memoryBytes)
    : _spoolDirectory(std::move(spoolDirectory)),
      _memoryBytes(std::max(memoryBytes, BLOCK_BYTES))
{
}

BufferedAnswerBody::~BufferedAnswerBody()
{
    closeFile();
}

void BufferedAnswerBody::closeFile()
{
    if (_file >= 0)
        ::close(_file);
    _file = -1;
    _fileBytes = 0;
}

bool BufferedAnswerBody::append(const std::string& text)
{
    if (!writeAt(_file, text.data(), text.size(), _fileBytes))
    {
        _spoolFailure = std::strerror(errno);
        return false;
    }
    _fileBytes += text.size();
    return true;
}

bool BufferedAnswerBody::spool()
{
    _spoolTried = true;
    if (_spoolDirectory.empty())
        return false;
    _file = unnamedFile(_spoolDirectory);
    if (_file < 0)
    {
        _spoolFailure = std::strerror(errno);
        return false;
    }
    for (const std::string& b : _blocks)
        if (!append(b))
        {
            // Nothing is lost: the blocks are all still here.
            closeFile();
            return false;
        }
    _blocks.clear();
    _starts.clear();
    return true;
}

void BufferedAnswerBody::keep(std::string& text)
{
    if (text.empty())
        return;
    bool toFile = _file >= 0 && _blocks.empty();
    if (!toFile && !_spoolTried && _size + text.size() > _memoryBytes)
        toFile = spool();
    if (toFile && append(text))
    {
        // The caller's string keeps its room for the next block.
        _size += text.size();
        text.clear();
        return;
    }
    _starts.push_back(_size);
    _size += text.size();
    _blocks.push_back(std::string());
    _blocks.back().swap(text);
}

void BufferedAnswerBody::progress(std::string& text)
{
    if (text.size() < BLOCK_BYTES)
        return;
    keep(text);
    // The next block is written in place: room for a block and one object.
    text.reserve(BLOCK_BYTES + BLOCK_BYTES / 4);
}

void BufferedAnswerBody::discard()
{
    _blocks.clear();
    _starts.clear();
    _readBuffer = std::string();
    closeFile();
    _spoolTried = false;
    _spoolFailure.clear();
    _size = 0;
}

void BufferedAnswerBody::finish(std::string& text, Uint32, const String&)
{
    keep(text);
}

size_t BufferedAnswerBody::read(size_t offset, const char*& data, size_t max)
{
    if (offset >= _size)
        return 0;
    if (offset < _fileBytes)
    {
        size_t want = std::min(std::min(max, _fileBytes - offset), BLOCK_BYTES);
        if (_readBuffer.size() < want)
            _readBuffer.resize(BLOCK_BYTES);
        ssize_t n;
        do
            n = ::pread(_file, &_readBuffer[0], want, static_cast<off_t>(offset));
        while (n < 0 && errno == EINTR);
        if (n <= 0)
            return 0;
        data = _readBuffer.data();
        return size_t(n);
    }
    size_t b = size_t(std::upper_bound(_starts.begin(), _starts.end(), offset) -
        _starts.begin()) - 1;
    size_t within = offset - _starts[b];
    data = _blocks[b].data() + within;
    return std::min(max, _blocks[b].size() - within);
}

std::string BufferedAnswerBody::take()
{
    std::string whole;
    if (_fileBytes == 0 && _blocks.size() == 1)
        whole.swap(_blocks[0]);
    else
    {
        whole.reserve(_size);
        for (size_t offset = 0; offset < _size;)
        {
            const char* data = nullptr;
            size_t n = read(offset, data, _size - offset);
            if (n == 0)
                break;
            whole.append(data, n);
            offset += n;
        }
    }
    discard();
    return whole;
}

} // namespace cimhost
