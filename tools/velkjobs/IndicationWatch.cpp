#include "IndicationWatch.h"

#include <CimXml/XmlReader.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include <httplib.h>

#include <chrono>
#include <stdexcept>
#include <unistd.h>

PEGASUS_USING_PEGASUS;

namespace velkjobs
{

namespace
{

const CIMNamespaceName INTEROP("root/interop");

const char* const QUERY =
    "SELECT * FROM CIM_InstIndication WHERE SourceInstance ISA VELK_ConcreteJob";

const char* const ANSWER =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE ID=\"%s\" PROTOCOLVERSION=\"1.0\">\n"
    "<SIMPLEEXPRSP>\n<EXPMETHODRESPONSE NAME=\"ExportIndication\">\n</EXPMETHODRESPONSE>\n"
    "</SIMPLEEXPRSP>\n</MESSAGE>\n</CIM>\n";

std::string messageId(const std::string& body)
{
    size_t at = body.find("<MESSAGE ID=\"");
    if (at == std::string::npos)
        return "0";
    at += 13;
    size_t end = body.find('"', at);
    std::string id = body.substr(at, end == std::string::npos ? 0 : end - at);
    return id.find_first_not_of("0123456789") == std::string::npos && !id.empty() ? id : "0";
}

} // namespace

IndicationWatch::IndicationWatch(CIMClient& client, const std::string& address, unsigned port)
    : _client(client), _server(new httplib::Server)
{
    _server->Post("/velkjobs", [this](const httplib::Request& req, httplib::Response& res) {
        {
            std::lock_guard<std::mutex> lock(_mutex);
            _bodies.push_back(req.body);
        }
        _arrived.notify_one();
        std::string answer(ANSWER);
        answer.replace(answer.find("%s"), 2, messageId(req.body));
        res.set_header("CIMExport", "MethodResponse");
        res.set_content(answer, "application/xml; charset=\"utf-8\"");
    });
    int bound = port ? (_server->bind_to_port(address.c_str(), static_cast<int>(port))
                               ? static_cast<int>(port) : -1)
                     : _server->bind_to_any_port(address.c_str());
    if (bound <= 0)
        throw std::runtime_error("cannot listen on " + address + ":" + std::to_string(port));
    _thread = std::thread([this] { _server->listen_after_bind(); });
    std::string host = address.find(':') != std::string::npos ? "[" + address + "]" : address;
    _url = "http://" + host + ":" + std::to_string(bound) + "/velkjobs";
    char hostName[128] = "";
    ::gethostname(hostName, sizeof hostName - 1);
    _name = "velkjobs:" + std::string(hostName) + ":" + std::to_string(::getpid()) + ":" +
        std::to_string(bound);
    try
    {
        subscribe();
    }
    catch (...)
    {
        unsubscribe();
        _server->stop();
        _thread.join();
        throw;
    }
}

IndicationWatch::~IndicationWatch()
{
    unsubscribe();
    _server->stop();
    _thread.join();
}

void IndicationWatch::subscribe()
{
    const String name(_name.c_str());
    CIMInstance filter(CIMName("CIM_IndicationFilter"));
    filter.addProperty(CIMProperty(CIMName("Name"), CIMValue(name)));
    filter.addProperty(CIMProperty(CIMName("Query"), CIMValue(String(QUERY))));
    filter.addProperty(CIMProperty(CIMName("QueryLanguage"), CIMValue(String("WQL"))));
    Array<String> sources;
    sources.append("root/velk");
    filter.addProperty(CIMProperty(CIMName("SourceNamespaces"), CIMValue(sources)));
    _filter = _client.createInstance(INTEROP, filter);

    CIMInstance destination(CIMName("CIM_ListenerDestinationCIMXML"));
    destination.addProperty(CIMProperty(CIMName("Name"), CIMValue(name)));
    destination.addProperty(CIMProperty(CIMName("Destination"), CIMValue(String(_url.c_str()))));
    // Transient: it lives as long as this watch.
    destination.addProperty(CIMProperty(CIMName("PersistenceType"), CIMValue(Uint16(3))));
    _destination = _client.createInstance(INTEROP, destination);

    CIMInstance subscription(CIMName("CIM_IndicationSubscription"));
    subscription.addProperty(CIMProperty(CIMName("Filter"), CIMValue(_filter)));
    subscription.addProperty(CIMProperty(CIMName("Handler"), CIMValue(_destination)));
    _subscription = _client.createInstance(INTEROP, subscription);
}

void IndicationWatch::unsubscribe()
{
    CIMObjectPath* paths[] = {&_subscription, &_destination, &_filter};
    for (CIMObjectPath* path : paths)
    {
        if (path->getClassName().isNull())
            continue;
        try
        {
            _client.deleteInstance(INTEROP, *path);
        }
        catch (const Exception&)
        {
            // Gone already, or the server is gone: nothing more to do.
        }
        *path = CIMObjectPath();
    }
}

void IndicationWatch::apply(Array<CIMInstance>& jobs, const CIMInstance& indication)
{
    Uint32 at = indication.findProperty(CIMName("SourceInstance"));
    if (at == PEG_NOT_FOUND)
        return;
    CIMValue value = indication.getProperty(at).getValue();
    if (value.isNull() || value.isArray() || value.getType() != CIMTYPE_INSTANCE)
        return;
    CIMInstance job;
    value.get(job);
    Uint32 idAt = job.findProperty(CIMName("InstanceID"));
    if (idAt == PEG_NOT_FOUND)
        return;
    const String id = job.getProperty(idAt).getValue().toString();
    Uint32 found = PEG_NOT_FOUND;
    for (Uint32 i = 0; i < jobs.size() && found == PEG_NOT_FOUND; i++)
    {
        Uint32 p = jobs[i].findProperty(CIMName("InstanceID"));
        if (p != PEG_NOT_FOUND && jobs[i].getProperty(p).getValue().toString() == id)
            found = i;
    }
    const bool deleted = indication.getClassName().equal(CIMName("CIM_InstDeletion"));
    if (deleted)
    {
        if (found != PEG_NOT_FOUND)
            jobs.remove(found);
    }
    else if (found != PEG_NOT_FOUND)
        jobs[found] = job;
    else
        jobs.append(job);
}

bool IndicationWatch::next(int ms, CIMInstance& indication)
{
    std::string body;
    {
        std::unique_lock<std::mutex> lock(_mutex);
        if (!_arrived.wait_for(lock, std::chrono::milliseconds(ms), [this] { return !_bodies.empty(); }))
            return false;
        body = std::move(_bodies.front());
        _bodies.pop_front();
    }
    size_t begin = body.find("<INSTANCE ");
    size_t end = body.rfind("</INSTANCE>");
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        return false;
    try
    {
        indication = XmlReader::decodeInstance(body.substr(begin, end + 11 - begin));
    }
    catch (const Exception&)
    {
        return false;
    }
    return true;
}

} // namespace velkjobs
