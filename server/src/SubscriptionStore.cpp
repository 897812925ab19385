#include "SubscriptionStore.h"

#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/Exception.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace Pegasus;

namespace cimhost
{

// Format: for each record a line "<namespace> <byte count>", then that many
// bytes of INSTANCE element, then a newline.
std::vector<SubscriptionStore::Record> SubscriptionStore::load() const
{
    std::vector<Record> records;
    if (_path.empty())
        return records;
    std::ifstream in(_path, std::ios::binary);
    if (!in)
    {
        if (errno == ENOENT)
            return records;
        throw std::runtime_error("cannot read " + _path + ": " + std::strerror(errno));
    }
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string text = buffer.str();
    size_t pos = 0;
    try
    {
        while (pos < text.size())
        {
            size_t eol = text.find('\n', pos);
            if (eol == std::string::npos)
                throw std::runtime_error("truncated record");
            std::string header = text.substr(pos, eol - pos);
            size_t space = header.rfind(' ');
            if (space == std::string::npos || space == 0)
                throw std::runtime_error("bad record header");
            size_t length = std::stoul(header.substr(space + 1));
            if (eol + 1 + length > text.size())
                throw std::runtime_error("truncated record");
            Record r;
            r.nameSpace = CIMNamespaceName(String(header.substr(0, space).c_str()));
            r.instance = XmlReader::decodeInstance(text.substr(eol + 1, length));
            records.push_back(r);
            pos = eol + 1 + length + 1;
        }
    }
    catch (const Exception& e)
    {
        throw std::runtime_error(_path + ": " +
            static_cast<const char*>(e.getMessage().getCString()));
    }
    catch (const std::exception& e)
    {
        throw std::runtime_error(_path + ": " + e.what());
    }
    return records;
}

void SubscriptionStore::save(const std::vector<Record>& records) const
{
    if (_path.empty())
        return;
    std::string text;
    for (const Record& r : records)
    {
        std::string xml;
        XmlWriter writer(xml, XmlWriter::EXTENDED);
        writer.appendInstance(r.instance);
        text += static_cast<const char*>(r.nameSpace.getString().getCString());
        text += " " + std::to_string(xml.size()) + "\n" + xml + "\n";
    }
    std::string tmp = _path + ".tmp." + std::to_string(::getpid());
    mode_t old = ::umask(077);
    std::FILE* f = std::fopen(tmp.c_str(), "w");
    ::umask(old);
    if (!f)
        throw std::runtime_error("cannot write " + tmp + ": " + std::strerror(errno));
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    ok = std::fflush(f) == 0 && ::fsync(fileno(f)) == 0 && ok;
    ok = (std::fclose(f) == 0) && ok;
    if (!ok || ::rename(tmp.c_str(), _path.c_str()) != 0)
    {
        int err = errno;
        ::unlink(tmp.c_str());
        throw std::runtime_error("cannot write " + _path + ": " + std::strerror(err));
    }
}

} // namespace cimhost
