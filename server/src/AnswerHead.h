// The status line and fields of an answer to a request the server read
// itself (see RequestHead), written as the HTTP library writes its own: the
// fields ordered by name case-insensitively (equal names in the order they
// were set), fields holding CR or LF left out.
#ifndef CIMHOST_ANSWER_HEAD_H
#define CIMHOST_ANSWER_HEAD_H

#include <string>
#include <utility>
#include <vector>

namespace cimhost
{

class AnswerHead
{
public:
    AnswerHead() { _fields.reserve(8); }

    int status = 200;

    void set(const std::string& name, const std::string& value);
    bool has(const char* name) const;
    // Appends the head, up to and with its empty line.
    void write(std::string& out) const;

private:
    std::vector<std::pair<std::string, std::string> > _fields;
};

} // namespace cimhost

#endif
