// Job life-cycle indications end to end: cimhost in process over a simulated
// array whose clock the test drives, subscriptions made over the local
// socket with CIMClient, and real CIM-XML listeners on loopback ports.
#include <cimhost/EmbeddedServer.h>

#include <CimXml/XmlReader.h>
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include <velkapi.h>
#include <velkapi_control.hpp>

#include <httplib.h>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace {

const char* const STATE = R"({
  "system": {"name": "ArrayOne", "host_name": "ctl1.example.test"},
  "users": [{"name": "root", "role": "super", "cim_access": true}],
  "tasks": [
    {"id": 1001, "type": "TASK_VVCOPY", "name": "src1->copy1", "user": "root", "phases": ["copy"],
     "step_max": 100, "start": 1700000000, "duration": 1000}
  ],
  "volumes": [{"name": "src1", "id": 1, "size_mib": 1024}, {"name": "copy1", "id": 2, "size_mib": 1024},
              {"name": "src2", "id": 3, "size_mib": 1024}, {"name": "copy2", "id": 4, "size_mib": 1024}]
})";

// The same array with a second copy task started.
std::string stateWith1002()
{
    std::string state = STATE;
    return state.insert(state.find("\n  ],"), R"(,
    {"id": 1002, "type": "TASK_VVCOPY", "name": "src2->copy2", "user": "root", "phases": ["copy"],
     "step_max": 100, "start": 1700000100, "duration": 1000})");
}

const CIMNamespaceName INTEROP("root/interop");

std::string str(const String& s) { return (const char*)s.getCString(); }

CIMValue prop(const CIMInstance& i, const char* name)
{
    Uint32 pos = i.findProperty(CIMName(name));
    return pos == PEG_NOT_FOUND ? CIMValue() : i.getProperty(pos).getValue();
}

std::string text(const CIMInstance& i, const char* name)
{
    CIMValue v = prop(i, name);
    return v.isNull() ? std::string("<null>") : str(v.toString());
}

CIMInstance embedded(const CIMInstance& indication, const char* name)
{
    CIMValue v = prop(indication, name);
    CIMInstance out;
    if (!v.isNull() && v.getType() == CIMTYPE_INSTANCE)
        v.get(out);
    return out;
}

// The status code a call was refused with; CIM_ERR_SUCCESS if it was not.
template <class Call>
CIMStatusCode refusal(Call call)
{
    try
    {
        call();
    }
    catch (const CIMException& e)
    {
        return e.getCode();
    }
    return CIM_ERR_SUCCESS;
}

// A CIM-XML listener: answers every export request and keeps the
// indications it carried, in arrival order.
class Listener
{
public:
    Listener()
    {
        _server.Post(".*", [this](const httplib::Request& req, httplib::Response& res) {
            size_t begin = req.body.find("<INSTANCE ");
            size_t end = req.body.rfind("</INSTANCE>");
            {
                std::lock_guard<std::mutex> lock(_mutex);
                _headers.push_back(req.get_header_value("CIMExportMethod"));
                if (begin != std::string::npos && end != std::string::npos)
                    _got.push_back(XmlReader::decodeInstance(
                        req.body.substr(begin, end + 11 - begin)));
            }
            _cv.notify_all();
            res.set_content("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<CIM CIMVERSION=\"2.0\" "
                "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP>"
                "<EXPMETHODRESPONSE NAME=\"ExportIndication\"/></SIMPLEEXPRSP></MESSAGE></CIM>",
                "application/xml; charset=\"utf-8\"");
        });
        _port = _server.bind_to_any_port("127.0.0.1");
        _thread = std::thread([this] { _server.listen_after_bind(); });
    }
    ~Listener()
    {
        _server.stop();
        _thread.join();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(_port) + "/indications"; }

    // Waits until `count` indications arrived (at most 20 s); all of them.
    std::vector<CIMInstance> waitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _cv.wait_for(lock, std::chrono::seconds(20), [&] { return _got.size() >= count; });
        return _got;
    }
    std::vector<CIMInstance> got()
    {
        std::lock_guard<std::mutex> lock(_mutex);
        return _got;
    }
    std::vector<std::string> methods()
    {
        std::lock_guard<std::mutex> lock(_mutex);
        return _headers;
    }

private:
    httplib::Server _server;
    int _port = 0;
    std::thread _thread;
    std::mutex _mutex;
    std::condition_variable _cv;
    std::vector<CIMInstance> _got;
    std::vector<std::string> _headers;
};

// A loopback port that nobody listens on.
int deadPort()
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

class JobIndications : public ::testing::Test {
protected:
    void SetUp() override
    {
        char tmpl[] = "/tmp/velk-indications-XXXXXX";
        _dir = ::mkdtemp(tmpl);
        ::setenv("VELK_INDICATION_POLL_MS", "20", 1);
        ::setenv("CIMHOST_SOCKET", socketPath().c_str(), 1);
        velksim::reset();
        velksim::setLogFile("");
        velksim::setEventLogFile("");
        velksim::setClock(1700000010);
        velksim::loadStateJson(STATE);
        startServer();
    }
    void TearDown() override
    {
        client.reset();
        if (server)
            server->stop();
        server.reset();
        velksim::reset();
        std::string cmd = "rm -rf '" + _dir + "'";
        (void)std::system(cmd.c_str());
    }

    std::string socketPath() const { return _dir + "/cimhost.socket"; }
    std::string logFile() const { return _dir + "/cimhost.log"; }
    std::string subscriptionFile() const { return _dir + "/subscriptions"; }

    void startServer()
    {
        cimhost::ServerOptions opts;
        opts.schemaFiles = {std::string(VELK_SOURCE_DIR) + "/schema/root.mof"};
        opts.registrationDirs = {std::string(VELK_SOURCE_DIR) + "/schema/registration"};
        opts.moduleDirs = {VELK_LIB_DIR};
        opts.hostName = "testhost";
        opts.workerCount = 4;
        opts.socketPath = socketPath();
        opts.logFile = logFile();
        opts.logLevel = "warning";
        opts.subscriptionFile = subscriptionFile();
        server.reset(new cimhost::EmbeddedServer(opts));
        server->start();
        client.reset(new CIMClient());
        client->connectLocal();
    }
    void stopServer()
    {
        client.reset();
        server->stop();
        server.reset();
    }

    CIMObjectPath filter(const std::string& name, const std::string& query,
        const std::string& language = "WQL")
    {
        CIMInstance f(CIMName("CIM_IndicationFilter"));
        f.addProperty(CIMProperty(CIMName("Name"), CIMValue(String(name.c_str()))));
        f.addProperty(CIMProperty(CIMName("Query"), CIMValue(String(query.c_str()))));
        f.addProperty(CIMProperty(CIMName("QueryLanguage"), CIMValue(String(language.c_str()))));
        Array<String> sources;
        sources.append("root/velk");
        f.addProperty(CIMProperty(CIMName("SourceNamespaces"), CIMValue(sources)));
        return client->createInstance(INTEROP, f);
    }
    CIMObjectPath destination(const std::string& name, const std::string& url)
    {
        CIMInstance d(CIMName("CIM_ListenerDestinationCIMXML"));
        d.addProperty(CIMProperty(CIMName("Name"), CIMValue(String(name.c_str()))));
        d.addProperty(CIMProperty(CIMName("Destination"), CIMValue(String(url.c_str()))));
        return client->createInstance(INTEROP, d);
    }
    CIMObjectPath subscription(const CIMObjectPath& f, const CIMObjectPath& d)
    {
        CIMInstance s(CIMName("CIM_IndicationSubscription"));
        s.addProperty(CIMProperty(CIMName("Filter"), CIMValue(f)));
        s.addProperty(CIMProperty(CIMName("Handler"), CIMValue(d)));
        return client->createInstance(INTEROP, s);
    }
    size_t count(const char* className)
    {
        return client->enumerateInstanceNames(INTEROP, CIMName(className)).size();
    }
    CIMObjectPath subscribe(const std::string& name, const std::string& query,
        const std::string& url)
    {
        return subscription(filter(name, query), destination(name, url));
    }

    // Advances the array until the listener has heard something: the
    // provider has then taken its first look at the array.
    void waitUntilWatching(Listener& listener)
    {
        for (int i = 0; i < 200 && listener.got().empty(); i++)
        {
            velksim::advanceClock(1);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ASSERT_FALSE(listener.got().empty()) << "no indication arrived";
    }

    std::unique_ptr<cimhost::EmbeddedServer> server;
    std::unique_ptr<CIMClient> client;

private:
    std::string _dir;
};

std::string jobId(const CIMInstance& indication)
{
    return text(embedded(indication, "SourceInstance"), "InstanceID");
}

TEST_F(JobIndications, StartAdvanceCancelRemoveArriveInOrderWithTheirJobs)
{
    Listener all, stateChanges, nothing;
    subscribe("all", "SELECT * FROM CIM_InstIndication WHERE SourceInstance ISA VELK_ConcreteJob",
        all.url());
    subscribe("state", "select * from CIM_InstModification where SourceInstance ISA CIM_Job and "
        "(SourceInstance.JobState <> PreviousInstance.JobState)", stateChanges.url());
    subscribe("none", "SELECT * FROM CIM_InstDeletion WHERE SourceInstance.InstanceID = 'no job' "
        "OR NOT (SourceInstance.PercentComplete >= 0)", nothing.url());
    waitUntilWatching(all);

    // A task starts, advances, is cancelled and is removed; each step waits
    // for its indication about that job.
    auto about1002 = [&](size_t count) {
        std::vector<CIMInstance> mine;
        for (int i = 0; i < 400 && mine.size() < count; i++)
        {
            mine.clear();
            for (const CIMInstance& got : all.got())
                if (jobId(got).find(":1002") != std::string::npos)
                    mine.push_back(got);
            if (mine.size() < count)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return mine;
    };
    velksim::setClock(1700000300);
    velksim::loadStateJson(stateWith1002());
    ASSERT_EQ(about1002(1).size(), 1u);
    velksim::advanceClock(100);
    ASSERT_EQ(about1002(2).size(), 2u);
    api_evtparam_t event;
    std::memset(&event, 0, sizeof event);
    ASSERT_EQ(api_cancelTask(&event, 1002).code, API_SUCCESS);
    ASSERT_EQ(about1002(3).size(), 3u);
    Uint32 ids[] = {1002};
    ASSERT_EQ(api_removeTasks(&event, ids, 1, API_DOMAIN_ANY, API_REMOVE_FLAGS_NONE).code,
        API_SUCCESS);
    const std::vector<CIMInstance> got = about1002(4);
    ASSERT_EQ(got.size(), 4u);

    const CIMInstance& created = got[0];
    const std::string id1002 = jobId(created);
    EXPECT_EQ(str(created.getClassName().getString()), "CIM_InstCreation");
    const CIMInstance job = embedded(created, "SourceInstance");
    EXPECT_EQ(str(job.getClassName().getString()), "VELK_ConcreteJob");
    EXPECT_EQ(text(job, "PercentComplete"), "20");
    EXPECT_EQ(text(job, "JobState"), "4");
    EXPECT_EQ(text(created, "SourceInstanceHost"), "ctl1.example.test");
    EXPECT_EQ(text(created, "SourceInstanceModelPath"),
        "root/velk:VELK_ConcreteJob.InstanceID=\"" + id1002 + "\"");
    EXPECT_NE(text(created, "IndicationIdentifier"), "<null>");
    EXPECT_NE(text(created, "IndicationTime"), "<null>");

    EXPECT_EQ(str(got[1].getClassName().getString()), "CIM_InstModification");
    EXPECT_EQ(text(embedded(got[1], "PreviousInstance"), "PercentComplete"), "20");
    EXPECT_EQ(text(embedded(got[1], "SourceInstance"), "PercentComplete"), "30");

    EXPECT_EQ(str(got[2].getClassName().getString()), "CIM_InstModification");
    EXPECT_EQ(text(embedded(got[2], "PreviousInstance"), "JobState"), "4");
    EXPECT_EQ(text(embedded(got[2], "SourceInstance"), "JobState"), "8");

    EXPECT_EQ(str(got[3].getClassName().getString()), "CIM_InstDeletion");
    EXPECT_EQ(jobId(got[3]), id1002);
    EXPECT_EQ(text(embedded(got[3], "SourceInstance"), "JobState"), "8");
    EXPECT_NE(text(got[3], "IndicationIdentifier"), text(got[2], "IndicationIdentifier"));

    // Only the cancel changed a job's state.
    const std::vector<CIMInstance> changes = stateChanges.waitFor(1);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(jobId(changes[0]), id1002);
    EXPECT_EQ(text(embedded(changes[0], "SourceInstance"), "JobState"), "8");

    for (const std::string& m : all.methods())
        EXPECT_EQ(m, "ExportIndication");
    EXPECT_EQ(stateChanges.got().size(), 1u);
    EXPECT_TRUE(nothing.got().empty());
}

TEST_F(JobIndications, DeadListenerIsLoggedAndOthersStillServed)
{
    const std::string dead = "http://127.0.0.1:" + std::to_string(deadPort()) + "/";
    subscribe("dead", "SELECT * FROM CIM_InstModification", dead);
    Listener alive;
    subscribe("alive", "SELECT * FROM CIM_InstModification", alive.url());
    waitUntilWatching(alive);

    const std::string line = "indication listener " + dead + " is not reachable: ";
    std::string log;
    for (int i = 0; i < 200 && log.find(line) == std::string::npos; i++)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::ifstream in(logFile());
        std::stringstream s;
        s << in.rdbuf();
        log = s.str();
    }
    EXPECT_NE(log.find(line), std::string::npos) << log;
    EXPECT_NE(log.find("; dropping indications"), std::string::npos) << log;

    // The live listener keeps getting every change while the dead one fails.
    const size_t seen = alive.got().size();
    velksim::advanceClock(50);
    EXPECT_GT(alive.waitFor(seen + 1).size(), seen);
}

TEST_F(JobIndications, SubscriptionsSurviveARestart)
{
    Listener listener;
    subscribe("kept", "SELECT * FROM CIM_InstModification WHERE SourceInstance ISA VELK_ConcreteJob",
        listener.url());
    stopServer();
    startServer();

    EXPECT_EQ(count("CIM_IndicationFilter"), 1u);
    EXPECT_EQ(count("CIM_ListenerDestinationCIMXML"), 1u);
    Array<CIMInstance> subs = client->enumerateInstances(INTEROP,
        CIMName("CIM_IndicationSubscription"));
    ASSERT_EQ(subs.size(), 1u);
    CIMInstance f = client->getInstance(INTEROP, client->enumerateInstanceNames(
        INTEROP, CIMName("CIM_IndicationFilter"))[0]);
    EXPECT_EQ(text(f, "Name"), "kept");
    EXPECT_EQ(text(f, "SystemName"), "testhost");
    EXPECT_EQ(text(f, "SystemCreationClassName"), "CIM_ComputerSystem");
    EXPECT_EQ(text(f, "CreationClassName"), "CIM_IndicationFilter");

    // The restored subscription is live, and its removal is lasting too.
    waitUntilWatching(listener);
    client->deleteInstance(INTEROP, subs[0].getPath());
    stopServer();
    startServer();
    EXPECT_EQ(count("CIM_IndicationSubscription"), 0u);
    EXPECT_EQ(count("CIM_IndicationFilter"), 1u);
}

TEST_F(JobIndications, BadFiltersDestinationsAndSubscriptionsAreRefused)
{
    struct Case
    {
        const char* query;
        const char* language;
        CIMStatusCode code;
    };
    const Case filters[] = {
        {"SELEC * FROM CIM_InstCreation", "WQL", CIM_ERR_INVALID_QUERY},
        {"SELECT * FROM CIM_InstModification WHERE SourceInstance.JobState =", "WQL",
         CIM_ERR_INVALID_QUERY},
        {"SELECT * FROM CIM_InstModification WHERE (SourceInstance ISA VELK_ConcreteJob", "WQL",
         CIM_ERR_INVALID_QUERY},
        {"SELECT * FROM CIM_InstCreation WHERE SourceInstance.Name = 'unterminated", "WQL",
         CIM_ERR_INVALID_QUERY},
        {"SELECT * FROM VELK_ConcreteJob", "WQL", CIM_ERR_INVALID_QUERY},
        {"SELECT * FROM CIM_NoSuchIndication", "WQL", CIM_ERR_INVALID_QUERY},
        {"SELECT SourceInstance FROM CIM_InstModification", "WQL", CIM_ERR_NOT_SUPPORTED},
        {"SELECT * FROM CIM_InstCreation WHERE SourceInstance.Name LIKE 'x%'", "WQL",
         CIM_ERR_NOT_SUPPORTED},
        {"SELECT * FROM CIM_InstCreation", "DMTF:CQL", CIM_ERR_NOT_SUPPORTED},
    };
    int n = 0;
    for (const Case& c : filters)
        EXPECT_EQ(refusal([&] { filter("bad" + std::to_string(n++), c.query, c.language); }),
            c.code) << c.query;

    const char* const urls[] = {"ftp://127.0.0.1/x", "http://", "http://127.0.0.1:99999/",
        "127.0.0.1:5990", "http://user:pw@127.0.0.1:5990/"};
    for (const char* url : urls)
        EXPECT_EQ(refusal([&] { destination(std::string("bad") + std::to_string(n++), url); }),
            CIM_ERR_INVALID_PARAMETER) << url;

    // A subscription needs both ends; a filter in use cannot be deleted.
    CIMObjectPath good = filter("good", "SELECT * FROM CIM_InstCreation");
    Listener listener;
    CIMObjectPath gone = destination("gone", listener.url());
    client->deleteInstance(INTEROP, gone);
    EXPECT_EQ(refusal([&] { subscription(good, gone); }), CIM_ERR_INVALID_PARAMETER);
    subscription(good, destination("good", listener.url()));
    EXPECT_EQ(refusal([&] { client->deleteInstance(INTEROP, good); }), CIM_ERR_FAILED);

    // Only what was accepted is there.
    EXPECT_EQ(count("CIM_IndicationFilter"), 1u);
    EXPECT_EQ(count("CIM_ListenerDestinationCIMXML"), 1u);
    EXPECT_EQ(count("CIM_IndicationSubscription"), 1u);
}

} // namespace
