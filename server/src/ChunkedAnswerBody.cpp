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

// The size line of a chunk, after the CRLF that ends the chunk before.
void ChunkedAnswerBody::head(size_t size)
{
    _frame.clear();
    if (_sent)
        _frame.append("\r\n");
    char digits[24];
    auto r = std::to_chars(digits, digits + sizeof(digits), size, 16);
    _frame.append(digits, r.ptr);
    _frame.append("\r\n");
}

void ChunkedAnswerBody::send(const char* data, size_t size)
{
    if (_ok && size != 0 && !_write(data, size))
        _ok = false;
}

// A chunk goes out as its size line and its text as they are, in two
// writes that the connection sends together: the text is not copied.
void ChunkedAnswerBody::progress(std::string& text)
{
    if (text.size() < CHUNK_BYTES)
        return;
    head(text.size());
    send(_frame.data(), _frame.size());
    send(text.data(), text.size());
    _bytes += text.size();
    _sent = true;
    text.clear();
}

// The last text, the zero chunk and the trailer, in one write.
void ChunkedAnswerBody::finish(std::string& text, Uint32 code, const String& description)
{
    if (!text.empty())
    {
        head(text.size());
        _frame.append(text);
        _frame.append("\r\n");
        _bytes += text.size();
        _sent = true;
    }
    else
    {
        _frame.clear();
        if (_sent)
            _frame.append("\r\n");
    }
    _frame.append("0\r\n");
    if (code != 0)
    {
        _frame += _fieldPrefix + "CIMStatusCode: " + std::to_string(code) + "\r\n";
        _frame += _fieldPrefix + "CIMStatusCodeDescription: " +
            XmlWriter::percentEncode(description) + "\r\n";
    }
    _frame.append("\r\n");
    send(_frame.data(), _frame.size());
    text.clear();
}

} // namespace cimhost
