// Text rendering of jobs for velkjobs: the table, progress bars and property dumps.
#ifndef VELKJOBS_JOBSVIEW_H
#define VELKJOBS_JOBSVIEW_H

#include <Pegasus/Common/CIMInstance.h>

#include <string>

namespace velkjobs
{

class JobsView
{
public:
    // The CIM_ConcreteJob JobState value's name ("Running", "Completed"...).
    static std::string stateName(const Pegasus::CIMValue& jobState);
    // The number after "task_id:" in an InstanceID, or the InstanceID itself.
    static std::string jobLabel(const std::string& instanceId);
    // "[#######.............]  35%" with `width` cells between the brackets.
    static std::string progressBar(unsigned percent, unsigned width);
    // A property's value as a person reads it; embedded instances are named, not expanded.
    static std::string valueText(const Pegasus::CIMValue& value);

    static std::string table(const Pegasus::Array<Pegasus::CIMInstance>& jobs);
    // The watch screen: one bar per unfinished job, then a count of the others.
    static std::string watchScreen(const Pegasus::Array<Pegasus::CIMInstance>& jobs,
        unsigned width);
    // Every property, one a line; embedded instances expanded below their property.
    static std::string describe(const Pegasus::CIMInstance& instance, unsigned indent = 0);

    static bool isFinished(const Pegasus::CIMInstance& job);
};

} // namespace velkjobs

#endif
