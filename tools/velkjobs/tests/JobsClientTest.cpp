// The jobs client against a server that does not offer pull operations: the
// list falls back to EnumerateInstances, and remembers to.
#include "JobsClient.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace
{

// Answers like a server without pull operations, over one job; records the
// CIMMethod of every request.
class ClassicServer
{
public:
    ClassicServer()
    {
        _server.Post("/cimom", [this](const httplib::Request& req, httplib::Response& res) {
            std::string method = req.get_header_value("CIMMethod");
            {
                std::lock_guard<std::mutex> lock(_mutex);
                _methods.push_back(method);
            }
            std::smatch id;
            std::regex_search(req.body, id, std::regex("MESSAGE ID=\"([^\"]*)\""));
            std::string content = method == "EnumerateInstances"
                ? "<IRETURNVALUE><VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"VELK_ConcreteJob\">"
                  "<KEYBINDING NAME=\"InstanceID\"><KEYVALUE VALUETYPE=\"string\">"
                  "KORVANE:task_id:1001</KEYVALUE></KEYBINDING></INSTANCENAME>"
                  "<INSTANCE CLASSNAME=\"VELK_ConcreteJob\"><PROPERTY NAME=\"InstanceID\" "
                  "TYPE=\"string\"><VALUE>KORVANE:task_id:1001</VALUE></PROPERTY></INSTANCE>"
                  "</VALUE.NAMEDINSTANCE></IRETURNVALUE>"
                : "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED: " + method + "\"/>";
            res.set_header("CIMOperation", "MethodResponse");
            res.set_content("<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
                "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"" + id.str(1) +
                "\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP><IMETHODRESPONSE NAME=\"" + method +
                "\">" + content + "</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>",
                "application/xml; charset=\"utf-8\"");
        });
        _port = _server.bind_to_any_port("127.0.0.1");
        _thread = std::thread([this] { _server.listen_after_bind(); });
    }
    ~ClassicServer()
    {
        _server.stop();
        _thread.join();
    }
    int port() const { return _port; }
    std::vector<std::string> methods()
    {
        std::lock_guard<std::mutex> lock(_mutex);
        return _methods;
    }

private:
    httplib::Server _server;
    int _port = -1;
    std::thread _thread;
    std::mutex _mutex;
    std::vector<std::string> _methods;
};

TEST(JobsClient, ListFallsBackToEnumerateInstancesWithoutPullOperations)
{
    ClassicServer server;
    CIMClient client;
    client.connect("127.0.0.1", Uint32(server.port()), "u", "p");
    velkjobs::JobsClient jobs(client);
    for (int round = 0; round < 2; round++)
    {
        Array<CIMInstance> list = jobs.listJobs();
        ASSERT_EQ(1u, list.size());
        EXPECT_EQ(CIMName("VELK_ConcreteJob"), list[0].getClassName());
    }
    EXPECT_EQ((std::vector<std::string>{"OpenEnumerateInstances", "EnumerateInstances",
                  "EnumerateInstances"}),
        server.methods());
}

} // namespace
