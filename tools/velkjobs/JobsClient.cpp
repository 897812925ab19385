#include "JobsClient.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Internal/CIMPullClient.h>

#include <cctype>

PEGASUS_USING_PEGASUS;

namespace velkjobs
{

namespace
{
const CIMNamespaceName kNamespace("root/velk");
const CIMName kJobClass("VELK_ConcreteJob");
const CIMName kResultClass("VELK_MethodResult");
// Jobs per pull page: the server holds about one page per enumeration.
const Uint32 kPageSize = 500;

CIMObjectPath pathFor(const CIMName& className, const String& instanceId)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), instanceId, CIMKeyBinding::STRING));
    return CIMObjectPath(String(), kNamespace, className, keys);
}
} // namespace

JobsClient::JobsClient(CIMClient& client) : _client(client), _pullUnsupported(false) {}

String JobsClient::instanceIdFor(const std::string& job)
{
    bool digits = !job.empty();
    for (char c : job)
        digits = digits && std::isdigit(static_cast<unsigned char>(c));
    if (digits)
        return String(("KORVANE:task_id:" + job).c_str());
    return String(job.c_str());
}

CIMObjectPath JobsClient::jobPath(const std::string& job) const
{
    return pathFor(kJobClass, instanceIdFor(job));
}

CIMObjectPath JobsClient::methodResultPath(const std::string& job) const
{
    return pathFor(kResultClass, instanceIdFor(job));
}

// A pull enumeration when the server offers one, else (CIM_ERR_NOT_SUPPORTED
// on the open, remembered) the classic EnumerateInstances.
Array<CIMInstance> JobsClient::listJobs()
{
    if (!_pullUnsupported)
    {
        CIMPullClient pull(_client);
        CIMPullRequest first;
        first.maxObjectCount = kPageSize;
        CIMPullResult page;
        try
        {
            page = pull.openEnumerateInstances(kNamespace, kJobClass, true, false,
                CIMPropertyList(), first);
        }
        catch (const CIMException& e)
        {
            if (e.getCode() != CIM_ERR_NOT_SUPPORTED)
                throw;
            _pullUnsupported = true;
        }
        if (!_pullUnsupported)
        {
            Array<CIMInstance> jobs = page.instances;
            while (!page.endOfSequence)
            {
                page = pull.pullInstancesWithPath(kNamespace, page.enumerationContext,
                    kPageSize);
                jobs.appendArray(page.instances);
            }
            return jobs;
        }
    }
    return _client.enumerateInstances(kNamespace, kJobClass, true, false, false, false,
        CIMPropertyList());
}

CIMInstance JobsClient::getJob(const std::string& job)
{
    return _client.getInstance(kNamespace, jobPath(job), false, false, false,
        CIMPropertyList());
}

CIMInstance JobsClient::getMethodResult(const std::string& job)
{
    return _client.getInstance(kNamespace, methodResultPath(job), false, false, false,
        CIMPropertyList());
}

Uint32 JobsClient::cancel(const std::string& job)
{
    Array<CIMParamValue> in;
    Array<CIMParamValue> out;
    in.append(CIMParamValue(String("RequestedState"), CIMValue(Uint16(4))));
    CIMValue rc = _client.invokeMethod(kNamespace, jobPath(job),
        CIMName("RequestStateChange"), in, out);
    Uint32 value = 0;
    if (!rc.isNull() && rc.getType() == CIMTYPE_UINT32 && !rc.isArray())
        rc.get(value);
    return value;
}

void JobsClient::remove(const std::string& job)
{
    _client.deleteInstance(kNamespace, jobPath(job));
}

Uint32 JobsClient::getError(const std::string& job, CIMInstance& error)
{
    Array<CIMParamValue> in;
    Array<CIMParamValue> out;
    CIMValue rc = _client.invokeMethod(kNamespace, jobPath(job), CIMName("GetError"), in, out);
    for (Uint32 i = 0; i < out.size(); i++)
    {
        if (!String::equalNoCase(out[i].getParameterName(), "Error"))
            continue;
        CIMValue v = out[i].getValue();
        if (v.isNull() || v.isArray())
            continue;
        if (v.getType() == CIMTYPE_INSTANCE)
            v.get(error);
        else if (v.getType() == CIMTYPE_OBJECT)
        {
            CIMObject obj;
            v.get(obj);
            if (obj.isInstance())
                error = CIMInstance(obj);
        }
    }
    Uint32 value = 0;
    if (!rc.isNull() && rc.getType() == CIMTYPE_UINT32 && !rc.isArray())
        rc.get(value);
    return value;
}

} // namespace velkjobs
