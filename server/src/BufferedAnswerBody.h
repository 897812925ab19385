// The body of an answer sent with Content-Length: kept whole until the end,
// in blocks of about BLOCK_BYTES that are filled once and never copied or
// regrown, then written out block by block.
#ifndef CIMHOST_BUFFERED_ANSWER_BODY_H
#define CIMHOST_BUFFERED_ANSWER_BODY_H

#include <CimXml/CimXmlBodySink.h>

#include <cstddef>
#include <string>
#include <vector>

namespace cimhost
{

class BufferedAnswerBody : public Pegasus::CimXmlBodySink
{
public:
    static constexpr size_t BLOCK_BYTES = 256 * 1024;

    void progress(std::string& text) override;
    bool sent() const override { return false; }
    void discard() override;
    void finish(std::string& text, Pegasus::Uint32 code,
        const Pegasus::String& description) override;

    size_t size() const { return _size; }
    // Points `data` at the bytes from `offset` on; returns how many follow
    // there in one piece (at most `max`).
    size_t read(size_t offset, const char*& data, size_t max) const;
    // Takes the body as one string (small answers): the block itself when
    // there is one.
    std::string take();

private:
    void keep(std::string& text);

    std::vector<std::string> _blocks;
    std::vector<size_t> _starts;
    size_t _size = 0;
};

} // namespace cimhost

#endif
