#include <cimhost/MofCompiler.h>

#include "MofParser.h"
#include "Text.h"

#include <Pegasus/Common/Exception.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace cimhost {

const char* const MofCompiler::DEFAULT_NAMESPACE = "root/cimv2";

MofCompiler::MofCompiler(Repository& repository) : _repository(repository)
{
}

void MofCompiler::compileFile(const std::string& path, const std::string& defaultNamespace)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw MofError(path, 0, std::string("cannot open the file: ") + std::strerror(errno));
    std::ostringstream text;
    text << in.rdbuf();
    compileString(text.str(), path, defaultNamespace);
}

void MofCompiler::compileString(const std::string& text, const std::string& fileName,
    const std::string& defaultNamespace)
{
    std::string ns;
    try
    {
        ns = toStd(Pegasus::CIMNamespaceName(toPeg(defaultNamespace)).getString());
    }
    catch (const Pegasus::Exception&)
    {
        throw MofError(fileName, 0, "invalid namespace name \"" + defaultNamespace + "\"");
    }
    MofSession session;
    MofParser parser(*this, session, text, fileName, ns);
    parser.parse();
    ++_files;
}

} // namespace cimhost
