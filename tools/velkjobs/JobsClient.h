// The job operations velkjobs offers, over a connected CIMClient.
#ifndef VELKJOBS_JOBSCLIENT_H
#define VELKJOBS_JOBSCLIENT_H

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <string>

namespace velkjobs
{

class JobsClient
{
public:
    explicit JobsClient(Pegasus::CIMClient& client);

    // "1001" names task 1001; anything else is taken as a whole InstanceID.
    static Pegasus::String instanceIdFor(const std::string& job);
    Pegasus::CIMObjectPath jobPath(const std::string& job) const;
    Pegasus::CIMObjectPath methodResultPath(const std::string& job) const;

    // Every job; through a pull enumeration when the server offers one.
    Pegasus::Array<Pegasus::CIMInstance> listJobs();
    Pegasus::CIMInstance getJob(const std::string& job);
    Pegasus::CIMInstance getMethodResult(const std::string& job);

    // RequestStateChange(RequestedState = 4, Terminate); returns the method's value.
    Pegasus::Uint32 cancel(const std::string& job);
    void remove(const std::string& job);
    // GetError; `error` receives the embedded CIM_Error, or stays uninitialised.
    Pegasus::Uint32 getError(const std::string& job, Pegasus::CIMInstance& error);

private:
    Pegasus::CIMClient& _client;
    bool _pullUnsupported;
};

} // namespace velkjobs

#endif
