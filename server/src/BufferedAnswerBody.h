// The body of an answer sent with Content-Length: kept whole until the end,
// in blocks of about BLOCK_BYTES that are filled once and never copied or
// regrown, then written out block by block. A body that grows past its
// memory allowance moves to an unnamed file in the spool directory, so that
// a request holds little memory whatever the number of objects; where no
// file can be written, the rest of the body stays in memory.
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
    // Bytes kept in memory before the body moves to a file.
    static constexpr size_t MEMORY_BYTES = 4 * 1024 * 1024;

    // spoolDirectory: where the file of a large body is made; empty: the
    // body stays in memory. memoryBytes: at least BLOCK_BYTES.
    explicit BufferedAnswerBody(std::string spoolDirectory = std::string(),
        size_t memoryBytes = MEMORY_BYTES);
    ~BufferedAnswerBody() override;
    BufferedAnswerBody(const BufferedAnswerBody&) = delete;
    BufferedAnswerBody& operator=(const BufferedAnswerBody&) = delete;

    void progress(std::string& text) override;
    bool sent() const override { return false; }
    void discard() override;
    void finish(std::string& text, Pegasus::Uint32 code,
        const Pegasus::String& description) override;

    size_t size() const { return _size; }
    // Bytes of the body that are in the file.
    size_t spooled() const { return _fileBytes; }
    // Why the body, or its end, could not go to the file ("" when it did
    // or did not need to).
    const std::string& spoolFailure() const { return _spoolFailure; }

    // Points `data` at the bytes from `offset` on; returns how many follow
    // there in one piece (at most `max`), 0 when they cannot be read.
    size_t read(size_t offset, const char*& data, size_t max);
    // Takes the body as one string (for small answers): the block itself
    // when it is all in one.
    std::string take();

private:
    void keep(std::string& text);
    // Moves the blocks kept so far to a new file; false when the body is
    // to stay in memory.
    bool spool();
    bool append(const std::string& text);
    void closeFile();

    std::string _spoolDirectory;
    size_t _memoryBytes;
    // The body is the file's first _fileBytes bytes followed by the blocks.
    int _file = -1;
    size_t _fileBytes = 0;
    bool _spoolTried = false;
    std::string _spoolFailure;
    std::string _readBuffer;
    std::vector<std::string> _blocks;
    std::vector<size_t> _starts;
    size_t _size = 0;
};

} // namespace cimhost

#endif
