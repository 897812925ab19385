#include "BufferedAnswerBody.h"

#include <algorithm>

using namespace Pegasus;

namespace cimhost
{

void BufferedAnswerBody::keep(std::string& text)
{
    if (text.empty())
        return;
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
    _size = 0;
}

void BufferedAnswerBody::finish(std::string& text, Uint32, const String&)
{
    keep(text);
}

size_t BufferedAnswerBody::read(size_t offset, const char*& data, size_t max) const
{
    if (offset >= _size)
        return 0;
    size_t b = size_t(std::upper_bound(_starts.begin(), _starts.end(), offset) -
        _starts.begin()) - 1;
    size_t within = offset - _starts[b];
    data = _blocks[b].data() + within;
    return std::min(max, _blocks[b].size() - within);
}

std::string BufferedAnswerBody::take()
{
    std::string whole;
    if (_blocks.size() == 1)
        whole.swap(_blocks[0]);
    else
    {
        whole.reserve(_size);
        for (const std::string& b : _blocks)
            whole += b;
    }
    discard();
    return whole;
}

} // namespace cimhost
