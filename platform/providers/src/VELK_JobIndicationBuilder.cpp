#include "VELK_JobIndicationBuilder.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include <atomic>
#include <ctime>
#include <string>
#include <unistd.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

CIMValue valueOf(const CIMInstance& instance, const char* name)
{
    const Uint32 pos = instance.findProperty(CIMName(name));
    return pos == PEG_NOT_FOUND ? CIMValue() : instance.getProperty(pos).getValue();
}

String nextIdentifier()
{
    static std::atomic<unsigned long> sequence(0);
    static const std::string prefix = "VELK_JobIndication:" + std::to_string(::getpid()) + ":" +
        std::to_string(static_cast<long long>(::time(0))) + ":";
    return String((prefix + std::to_string(++sequence)).c_str());
}

} // namespace

Boolean VELK_JobIndicationBuilder::changed(const CIMInstance& previous, const CIMInstance& current)
{
    static const char* const watched[] = {"JobState", "PercentComplete", "OperationalStatus"};
    for (const char* name : watched)
        if (!(valueOf(previous, name) == valueOf(current, name)))
            return true;
    return false;
}

CIMInstance VELK_JobIndicationBuilder::build(const char* className, const CIMInstance& job)
{
    CIMInstance indication{CIMName(className)};
    indication.addProperty(CIMProperty(CIMName("IndicationIdentifier"), CIMValue(nextIdentifier())));
    indication.addProperty(CIMProperty(CIMName("IndicationTime"),
        CIMValue(CIMDateTime::getCurrentDateTime())));
    indication.addProperty(CIMProperty(CIMName("SourceInstance"), CIMValue(job)));
    CIMObjectPath path = job.getPath();
    const String host = path.getHost();
    path.setHost(String());
    indication.addProperty(CIMProperty(CIMName("SourceInstanceModelPath"), CIMValue(path.toString())));
    indication.addProperty(CIMProperty(CIMName("SourceInstanceHost"), CIMValue(host)));
    return indication;
}

CIMInstance VELK_JobIndicationBuilder::creation(const CIMInstance& job)
{
    return build("CIM_InstCreation", job);
}

CIMInstance VELK_JobIndicationBuilder::modification(const CIMInstance& previous,
    const CIMInstance& current)
{
    CIMInstance indication = build("CIM_InstModification", current);
    indication.addProperty(CIMProperty(CIMName("PreviousInstance"), CIMValue(previous)));
    return indication;
}

CIMInstance VELK_JobIndicationBuilder::deletion(const CIMInstance& lastKnown)
{
    return build("CIM_InstDeletion", lastKnown);
}

PEGASUS_NAMESPACE_END
