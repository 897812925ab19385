// MOF files on disk: one good file with every construct, and bad files whose
// first line says which error (file, line, message) they must stop with.
#include "TestSupport.h"

#include <Pegasus/Common/CIMProperty.h>

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <vector>

using namespace Pegasus;
using namespace cimhost;
using namespace cimhost_test;

namespace {

std::string mofDir()
{
    return std::string(VELK_SOURCE_DIR) + "/server/repository/tests/mof";
}

TEST(MofFilesTest, GoodFileCompilesCompletely)
{
    Repository repo;
    MofCompiler c(repo);
    c.compileFile(mofDir() + "/good.mof");
    EXPECT_EQ(c.classCount(), 4u);
    EXPECT_EQ(c.instanceCount(), 3u);
    CIMNamespaceName ns("root/good");
    CIMClass box = repo.getFullClass(ns, CIMName("Sample_Box"));
    EXPECT_FALSE(box.isAbstract());
    CIMProperty state = box.getProperty(box.findProperty(CIMName("State")));
    Uint16 v = 9;
    state.getValue().get(v);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(str(state.getClassOrigin().getString()), "Sample_Box");
    EXPECT_NE(state.findQualifier(CIMName("ValueMap")), PEG_NOT_FOUND);   // inherited
    CIMProperty path = box.getProperty(box.findProperty(CIMName("Path")));
    String text;
    path.getValue().get(text);
    EXPECT_EQ(str(text), "C:\\dir\\file");
    CIMProperty initial = box.getProperty(box.findProperty(CIMName("Initial")));
    Char16 ch;
    initial.getValue().get(ch);
    EXPECT_EQ(Uint16(ch), '\'');
    EXPECT_TRUE(repo.getFullClass(ns, CIMName("Sample_Contains")).isAssociation());
    CIMClass event = repo.getFullClass(ns, CIMName("Sample_Event"));
    EXPECT_EQ(event.getProperty(event.findProperty(CIMName("Source"))).getType(), CIMTYPE_INSTANCE);
    Array<CIMObjectPath> links = repo.enumerateInstanceNames(ns, CIMName("Sample_Contains"));
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(str(links[0].toString()),
        "root/good:Sample_Contains.Box=\"root/good:Sample_Box.Name=\\\"box1\\\"\","
        "Item=\"root/good:Sample_Box.Name=\\\"box2\\\"\"");
}

TEST(MofFilesTest, EachBadFileStopsWithItsError)
{
    std::vector<std::string> files;
    std::string dir = mofDir() + "/bad";
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d))
    {
        std::string n = e->d_name;
        if (n.size() > 4 && n.compare(n.size() - 4, 4, ".mof") == 0)
            files.push_back(n);
    }
    closedir(d);
    std::sort(files.begin(), files.end());
    ASSERT_GE(files.size(), 8u);
    for (const std::string& name : files)
    {
        SCOPED_TRACE(name);
        std::ifstream in(dir + "/" + name);
        std::string first;
        std::getline(in, first);
        const std::string tag = "// expect ";
        ASSERT_EQ(first.compare(0, tag.size(), tag), 0) << "first line must say what to expect";
        std::string expect = first.substr(tag.size());
        std::string expectFile = name;
        if (expect.find(".mof ") != std::string::npos)
        {
            expectFile = expect.substr(0, expect.find(' '));
            expect = expect.substr(expectFile.size() + 1);
        }
        unsigned line = unsigned(std::stoul(expect));
        std::string message = expect.substr(expect.find(": ") + 2);
        Repository repo;
        try
        {
            MofCompiler(repo).compileFile(dir + "/" + name);
            ADD_FAILURE() << "compiled without error";
        }
        catch (const MofError& e)
        {
            EXPECT_EQ(e.file(), dir + "/" + expectFile);
            EXPECT_EQ(e.line(), line);
            EXPECT_EQ(e.message(), message);
        }
    }
}

} // namespace
