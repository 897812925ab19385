// The body of an answer sent in chunked transfer coding while it is being
// produced: text goes out in chunks of about CHUNK_BYTES, so a request holds
// one chunk at a time whatever the number of objects. A failure after the
// first chunk is reported in the CIMStatusCode and CIMStatusCodeDescription
// trailer fields.
#ifndef CIMHOST_CHUNKED_ANSWER_BODY_H
#define CIMHOST_CHUNKED_ANSWER_BODY_H

#include <CimXml/CimXmlBodySink.h>

#include <cstddef>
#include <functional>
#include <string>

namespace cimhost
{

class ChunkedAnswerBody : public Pegasus::CimXmlBodySink
{
public:
    static constexpr size_t CHUNK_BYTES = 128 * 1024;

    // write: sends bytes, false when the connection failed. fieldPrefix goes
    // before the trailer field names ("41-" for M-POST answers).
    ChunkedAnswerBody(std::function<bool(const char*, size_t)> write,
        const std::string& fieldPrefix);

    void progress(std::string& text) override;
    bool sent() const override { return _sent; }
    void discard() override {}
    void finish(std::string& text, Pegasus::Uint32 code,
        const Pegasus::String& description) override;

    // Bytes of body text sent; false once a write failed.
    size_t bytes() const { return _bytes; }
    bool ok() const { return _ok; }

private:
    void head(size_t size);
    void send(const char* data, size_t size);

    std::function<bool(const char*, size_t)> _write;
    std::string _fieldPrefix;
    std::string _frame;
    bool _sent = false;
    bool _ok = true;
    size_t _bytes = 0;
};

} // namespace cimhost

#endif
