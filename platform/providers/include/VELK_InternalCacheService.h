// The process-wide cache of class definitions shared by the providers.
#ifndef VELK_INTERNALCACHESERVICE_H
#define VELK_INTERNALCACHESERVICE_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <map>
#include <mutex>
#include <string>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_EXPORT VELK_InternalCacheService
{
public:
    // The one cache of the process.
    static VELK_InternalCacheService* getInstance();

    // The class definition that handle.getClass gives for the same
    // arguments. Definitions are kept per namespace, class, flags and
    // property list; each caller gets its own copy. Failures of getClass
    // pass through and are not kept.
    CIMClass getStoredCIMClass(
        CIMOMHandle& handle,
        const OperationContext& context,
        const CIMNamespaceName& nameSpace,
        const CIMName& className,
        Boolean localOnly,
        Boolean includeQualifiers,
        Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    // Forgets every kept definition.
    void clear();

    // Number of kept definitions.
    Uint32 size();

private:
    VELK_InternalCacheService();
    VELK_InternalCacheService(const VELK_InternalCacheService&);
    VELK_InternalCacheService& operator=(const VELK_InternalCacheService&);

    std::mutex _mutex;
    std::map<std::string, CIMClass> _classes;
};

PEGASUS_NAMESPACE_END

#endif
