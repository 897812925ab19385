#include "ChunkedAnswerBody.h"

#include <CimXml/XmlWriter.h>

#include <charconv>

using namespace Pegasus;

namespace cimhost
{

ChunkedAnswerBody::ChunkedAnswerBody(std::function<bool(const char*, size_t)> write,
    const std::string& fieldPrefix)
    : _write(std::move(write)), _fieldPrefix(fieldPrefix)
{
}

// One write per chunk: size line, text and CRLF, then `tail` if any.
void ChunkedAnswerBody::chunk(const std::string& text, const std::string& tail)
{
    _frame.clear();
    if (!text.empty())
    {
        char head[24];
        auto r = std::to_chars(head, head + sizeof(head), text.size(), 16);
        _frame.reserve(size_t(r.ptr - head) + text.size() + 4 + tail.size());
        _frame.append(head, r.ptr);
        _frame.append("\r\n");
        _frame.append(text);
        _frame.append("\r\n");
        _bytes += text.size();
        _sent = true;
    }
    _frame.append(tail);
    if (_ok && !_frame.empty() && !_write(_frame.data(), _frame.size()))
        _ok = false;
}

void ChunkedAnswerBody::progress(std::string& text)
{
    if (text.size() < CHUNK_BYTES)
        return;
    chunk(text, std::string());
    text.clear();
}

void ChunkedAnswerBody::finish(std::string& text, Uint32 code, const String& description)
{
    std::string tail = "0\r\n";
    if (code != 0)
    {
        tail += _fieldPrefix + "CIMStatusCode: " + std::to_string(code) + "\r\n";
        tail += _fieldPrefix + "CIMStatusCodeDescription: " +
            XmlWriter::percentEncode(description) + "\r\n";
    }
    tail += "\r\n";
    chunk(text, tail);
    text.clear();
}

} // namespace cimhost
