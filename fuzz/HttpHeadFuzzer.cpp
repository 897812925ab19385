// Request heads the server reads itself (cimhost::RequestHead). Whatever the
// bytes, a parse ends; a head taken as plain is taken only once it has
// arrived whole, the same however much of the stream follows it, and the
// same whether the reader is new or has parsed another head before (the
// server keeps one reader for a connection's requests).
#include <cstddef>
#include <cstdint>
#include <string>

#include "RequestHead.h"

#include "FuzzSupport.h"

namespace
{

using cimhost::RequestHead;

const char PREVIOUS[] =
    "POST /cimom HTTP/1.1\r\nHost: h\r\nCIMOperation: MethodCall\r\nCIMMethod: GetInstance\r\n"
    "CIMObject: root%2Fvelk\r\nX-A: 1\r\nX-B: 2\r\nX-C: 3\r\nX-D: 4\r\nContent-Length: 7\r\n\r\n";

std::string describe(const RequestHead& h)
{
    std::string s = std::to_string(h.headBytes()) + " " + h.target() + " " +
        std::to_string(h.contentLength()) + (h.closeAfter() ? " close" : " keep");
    for (const auto& f : h.fields())
        s += "\n" + f.first + "=" + f.second;
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    RequestHead fresh;
    RequestHead::Result whole = fresh.parse(text, size);

    RequestHead reused;
    if (reused.parse(PREVIOUS, sizeof(PREVIOUS) - 1) != RequestHead::Result::Plain)
        velkfuzz::fail("the reference head is not taken as plain");
    if (reused.parse(text, size) != whole)
        velkfuzz::fail("a reused reader judged the head differently");
    if (whole == RequestHead::Result::Plain && describe(reused) != describe(fresh))
        velkfuzz::fail("a reused reader read the head differently:\n" + describe(fresh) +
            "\n--\n" + describe(reused));

    if (whole != RequestHead::Result::Plain)
    {
        // No part of it may be taken either: the server reparses from the
        // start as bytes arrive, and what a part is taken as, the whole is.
        for (size_t k = size > 64 ? size - 64 : 0; k < size; k++)
        {
            RequestHead part;
            if (part.parse(text, k) == RequestHead::Result::Plain)
                velkfuzz::fail("the first " + std::to_string(k) +
                    " bytes are a plain head, all of them are not");
        }
        return 0;
    }

    size_t head = fresh.headBytes();
    if (head == 0 || head > size || head > RequestHead::MAX_BYTES)
        velkfuzz::fail("a plain head of " + std::to_string(head) + " bytes out of " +
            std::to_string(size));
    if (text[head - 1] != '\n')
        velkfuzz::fail("a plain head that does not end a line");
    const std::string expected = describe(fresh);
    // Fewer bytes than the head: not plain yet. The head and whatever
    // follows it: the same head.
    for (size_t k = head > 32 ? head - 32 : 0; k < head; k++)
    {
        RequestHead part;
        if (part.parse(text, k) == RequestHead::Result::Plain)
            velkfuzz::fail("a plain head in " + std::to_string(k) + " of its " +
                std::to_string(head) + " bytes");
    }
    for (size_t k = head; k <= size && k < head + 32; k++)
    {
        RequestHead longer;
        if (longer.parse(text, k) != RequestHead::Result::Plain || describe(longer) != expected)
            velkfuzz::fail("the head read differently with " + std::to_string(k - head) +
                " bytes after it");
    }
    return 0;
}
