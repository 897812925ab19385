// The life-cycle indications of jobs: CIM_InstCreation, CIM_InstModification
// and CIM_InstDeletion around VELK_ConcreteJob instances as the job provider
// serves them.
#ifndef VELK_JOBINDICATIONBUILDER_H
#define VELK_JOBINDICATIONBUILDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMInstance.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_JobIndicationBuilder
{
public:
    // The properties of a job that make a modification worth telling.
    static Boolean changed(const CIMInstance& previous, const CIMInstance& current);

    // job: the instance with its path (host, namespace, keys). Each
    // indication carries IndicationIdentifier (unique in this process),
    // IndicationTime (now), SourceInstance (the job, embedded),
    // SourceInstanceModelPath (the job's path without host) and
    // SourceInstanceHost (the host of the job's path).
    static CIMInstance creation(const CIMInstance& job);
    static CIMInstance modification(const CIMInstance& previous, const CIMInstance& current);
    static CIMInstance deletion(const CIMInstance& lastKnown);

private:
    static CIMInstance build(const char* className, const CIMInstance& job);
};

PEGASUS_NAMESPACE_END

#endif
