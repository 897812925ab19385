// Raises the life-cycle indications of jobs. While enabled, a thread of its
// own reads the array's task list every VELK_INDICATION_POLL_MS milliseconds
// (default 500); when tasks appear, change or go, it asks the server for
// the jobs concerned (VELK_ConcreteJob getInstance and, for new tasks,
// enumerateInstanceNames, as the user VELK_INDICATION_USER, default "root")
// and delivers CIM_InstCreation for a new job, CIM_InstModification when a
// job's JobState, PercentComplete or OperationalStatus changed, and
// CIM_InstDeletion (with the last known instance) for a job that is gone.
// Tasks that are not jobs raise nothing.
#ifndef VELK_JOBINDICATIONPROVIDER_H
#define VELK_JOBINDICATIONPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <velkapi.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>

PEGASUS_NAMESPACE_BEGIN

class VELK_JobIndicationProvider : public CIMIndicationProvider
{
public:
    VELK_JobIndicationProvider();
    virtual ~VELK_JobIndicationProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

    virtual void enableIndications(IndicationResponseHandler& handler);
    virtual void disableIndications();

private:
    // What the task list says of one task, enough to see that it changed.
    struct TaskMark
    {
        std::string signature;
        Boolean isJob;
        CIMInstance job;  // last known, when a job
    };

    void run();
    // Reads the task list once and delivers what changed since the last
    // read; the first read only records.
    void poll(Boolean first);
    OperationContext context() const;

    CIMOMHandle _cimom;
    String _user;
    long _intervalMs;

    // The watching thread's own state (only it touches these).
    std::map<Uint32, TaskMark> _tasks;

    std::mutex _mutex;  // guards _handler, _stopping
    std::condition_variable _wake;
    IndicationResponseHandler* _handler;
    Boolean _stopping;
    std::thread _thread;
};

PEGASUS_NAMESPACE_END

#endif
