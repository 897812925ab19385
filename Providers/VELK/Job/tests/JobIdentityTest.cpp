// The system identity calls to the server's internal cache object, through
// the local socket and, for the system name, through the server's handle.
#include "JobProviderTestSupport.h"

#include <algorithm>
#include <cstdlib>

#include "VELK_Common.h"

using namespace jobtest;
using namespace Pegasus;

namespace
{

// Points the local connection somewhere else for the scope.
class SocketPath
{
public:
    explicit SocketPath(const std::string& path)
    {
        const char* old = getenv("CIMHOST_SOCKET");
        _old = old ? old : "";
        setenv("CIMHOST_SOCKET", path.c_str(), 1);
    }
    ~SocketPath() { setenv("CIMHOST_SOCKET", _old.c_str(), 1); }

private:
    std::string _old;
};

} // namespace

TEST_F(JobProviderTest, SystemIdentityFromTheInternalCacheObject)
{
    CIMOMHandle handle = server->handle();
    EXPECT_EQ("velkarray1", str(VELK_Common::getSystemHostName(handle)));
    EXPECT_EQ("ArrayOne", str(VELK_Common::getSystemName(handle)));
    EXPECT_EQ("ArrayOne", str(VELK_Common::getSystemName()));
    std::vector<std::string> traces = logged(4);
    EXPECT_EQ(3, std::count(traces.begin(), traces.end(),
        "-->VELK_Common::invokeMethod()\n"));
    EXPECT_EQ(3, std::count(traces.begin(), traces.end(),
        "<--VELK_Common::invokeMethod()\n"));
}

TEST_F(JobProviderTest, WithoutTheLocalSocketOnlyTheSystemNameIsFound)
{
    CIMOMHandle handle = server->handle();
    SocketPath nowhere(server->dir() + "/no-such.socket");
    // The system name falls back to the server's handle...
    EXPECT_EQ("ArrayOne", str(VELK_Common::getSystemName(handle)));
    // ...the host name and the plain system name do not.
    EXPECT_ANY_THROW(VELK_Common::getSystemHostName(handle));
    EXPECT_ANY_THROW(VELK_Common::getSystemName());
    // A failed call leaves no exit line.
    std::vector<std::string> traces = logged(4);
    EXPECT_EQ(3, std::count(traces.begin(), traces.end(),
        "-->VELK_Common::invokeMethod()\n"));
    EXPECT_EQ(0, std::count(traces.begin(), traces.end(),
        "<--VELK_Common::invokeMethod()\n"));
    // So a provider cannot start without it.
    VELK_ConcreteJobProvider* job = dynamic_cast<VELK_ConcreteJobProvider*>(
        PegasusCreateProvider(String("VELK_ConcreteJobProvider")));
    ASSERT_TRUE(job != 0);
    EXPECT_ANY_THROW(job->initialize(handle));
    job->terminate();
}
