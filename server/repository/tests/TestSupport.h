// Shared helpers of the repository tests.
#ifndef cimhost_repository_TestSupport_h
#define cimhost_repository_TestSupport_h

#include <cimhost/MofCompiler.h>
#include <cimhost/Repository.h>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace cimhost_test {

inline std::string str(const Pegasus::String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

inline std::string schemaDir()
{
    return std::string(VELK_SOURCE_DIR) + "/schema";
}

// A repository with the standard qualifiers compiled into namespace ns.
inline void loadQualifiers(cimhost::Repository& repo, const std::string& ns = "root/test")
{
    cimhost::MofCompiler c(repo);
    c.compileFile(schemaDir() + "/cim/qualifiers.mof", ns);
}

// A scratch directory removed at the end of the test.
class TempDir
{
public:
    TempDir()
    {
        char tmpl[] = "/tmp/repotestXXXXXX";
        _path = mkdtemp(tmpl);
    }
    ~TempDir()
    {
        std::string cmd = "rm -rf '" + _path + "'";
        if (std::system(cmd.c_str()) != 0)
            std::perror("rm");
    }
    const std::string& path() const { return _path; }
    std::string write(const std::string& rel, const std::string& text) const
    {
        std::string full = _path + "/" + rel;
        std::string dir = full.substr(0, full.rfind('/'));
        std::string cmd = "mkdir -p '" + dir + "'";
        if (std::system(cmd.c_str()) != 0)
            std::perror("mkdir");
        std::ofstream(full) << text;
        return full;
    }

private:
    std::string _path;
};

// The CIM status code of what f throws, or -1 if it throws nothing.
template <class F>
int cimCode(F f, std::string* message = nullptr)
{
    try
    {
        f();
    }
    catch (const Pegasus::CIMException& e)
    {
        if (message)
            *message = str(e.getMessage());
        return int(e.getCode());
    }
    return -1;
}

} // namespace cimhost_test

#endif
