// VELK_Common: response dispatch, association builders and the reading of
// the organisation prefix of an InstanceID.
#include "VELK_Common.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{
// Copy of a referenced path with its host replaced; namespace, class and
// keys stay as they are.
CIMObjectPath withHost(const CIMObjectPath& path, const String& host)
{
    CIMObjectPath copy(path);
    copy.setHost(host);
    return copy;
}
}

void VELK_Common::handleProcessing(cim_handler_u handler, cim_method_e method)
{
    switch (method)
    {
        case VELKCIM_GETINSTANCE:
        case VELKCIM_ENUMERATEINSTANCES:
            handler.instanceResponse->processing();
            break;
        case VELKCIM_ASSOCIATORNAMES:
        case VELKCIM_REFERENCENAMES:
        case VELKCIM_ENUMERATEINSTANCENAMES:
            handler.objectPathResponse->processing();
            break;
        case VELKCIM_ASSOCIATORS:
        case VELKCIM_REFERENCES:
            handler.objectResponse->processing();
            break;
        default:
            break;
    }
}

void VELK_Common::handleComplete(cim_handler_u handler, cim_method_e method)
{
    switch (method)
    {
        case VELKCIM_GETINSTANCE:
        case VELKCIM_ENUMERATEINSTANCES:
            handler.instanceResponse->complete();
            break;
        case VELKCIM_ASSOCIATORNAMES:
        case VELKCIM_REFERENCENAMES:
        case VELKCIM_ENUMERATEINSTANCENAMES:
            handler.objectPathResponse->complete();
            break;
        case VELKCIM_ASSOCIATORS:
        case VELKCIM_REFERENCES:
            handler.objectResponse->complete();
            break;
        default:
            break;
    }
}

void VELK_Common::handleDeliver(
    cim_handler_u handler,
    cim_method_e method,
    const CIMInstance& instance)
{
    switch (method)
    {
        case VELKCIM_GETINSTANCE:
        case VELKCIM_ENUMERATEINSTANCES:
            handler.instanceResponse->deliver(instance);
            break;
        case VELKCIM_ASSOCIATORNAMES:
        case VELKCIM_REFERENCENAMES:
        case VELKCIM_ENUMERATEINSTANCENAMES:
            handler.objectPathResponse->deliver(instance.getPath());
            break;
        case VELKCIM_ASSOCIATORS:
        case VELKCIM_REFERENCES:
            handler.objectResponse->deliver(CIMObject(instance));
            break;
        default:
            break;
    }
}

CIMObjectPath VELK_Common::buildAssocPath(
    const CIMName& assocClass,
    const String& assocName1,
    const String& assocName2,
    const CIMObjectPath& assocPath1,
    const CIMObjectPath& assocPath2,
    const String& hostAddress1,
    const String& hostAddress2,
    const String& localAddress,
    const String& nameSpace)
{
    CIMObjectPath path(localAddress, CIMNamespaceName(nameSpace), assocClass);

    CIMObjectPath ref1 = withHost(assocPath1, hostAddress1);
    CIMObjectPath ref2 = withHost(assocPath2, hostAddress2);

    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(
        CIMName(assocName1), ref1.toString(), CIMKeyBinding::REFERENCE));
    keys.append(CIMKeyBinding(
        CIMName(assocName2), ref2.toString(), CIMKeyBinding::REFERENCE));
    path.setKeyBindings(keys);
    return path;
}

CIMObjectPath VELK_Common::buildAssocPath(
    const CIMName& assocClass,
    const String& assocName1,
    const String& assocName2,
    const CIMObjectPath& assocPath1,
    const CIMObjectPath& assocPath2,
    const String& hostAddress,
    const String& nameSpace)
{
    return buildAssocPath(assocClass, assocName1, assocName2,
        assocPath1, assocPath2, hostAddress, hostAddress, hostAddress,
        nameSpace);
}

CIMInstance VELK_Common::buildAssocInstance(
    const CIMName& assocClass,
    const String& assocName1,
    const String& assocName2,
    const CIMObjectPath& assocPath1,
    const CIMObjectPath& assocPath2,
    const CIMClass& classSkeleton,
    const String& hostAddress1,
    const String& hostAddress2,
    const String& localAddress,
    const String& nameSpace)
{
    CIMInstance instance = buildInstanceSkeleton(classSkeleton);

    CIMObjectPath ref1 = withHost(assocPath1, hostAddress1);
    CIMObjectPath ref2 = withHost(assocPath2, hostAddress2);
    setPropertyValue(instance, CIMName(assocName1), ref1);
    setPropertyValue(instance, CIMName(assocName2), ref2);

    instance.setPath(buildAssocPath(assocClass, assocName1, assocName2,
        assocPath1, assocPath2, hostAddress1, hostAddress2, localAddress,
        nameSpace));
    return instance;
}

CIMInstance VELK_Common::buildAssocInstance(
    const CIMName& assocClass,
    const String& assocName1,
    const String& assocName2,
    const CIMObjectPath& assocPath1,
    const CIMObjectPath& assocPath2,
    const CIMClass& classSkeleton,
    const String& hostAddress,
    const String& nameSpace)
{
    return buildAssocInstance(assocClass, assocName1, assocName2,
        assocPath1, assocPath2, classSkeleton, hostAddress, hostAddress,
        hostAddress, nameSpace);
}

String VELK_Common::extractFromInstanceID(const String& instanceID)
{
    String result;
    const String marker = String("KORVANE") + String(":");
    Uint32 pos = instanceID.find(marker);
    if (pos != PEG_NOT_FOUND)
    {
        result = instanceID.subString(pos + marker.size());
    }
    return result;
}

PEGASUS_NAMESPACE_END
