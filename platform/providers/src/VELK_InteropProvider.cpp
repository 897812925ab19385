#include "VELK_InteropProvider.h"

#include "VELK_AssociationWalker.h"
#include "VELK_InternalCacheService.h"
#include "VELK_InteropModel.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Provider/ProviderException.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

// Whether answering about that class needs the array's services.
Boolean needsServices(const CIMName& className)
{
    return className.equal(CIMName("CIM_ElementConformsToProfile"));
}

// The namespace of a result path; the request's when it has none.
CIMNamespaceName namespaceOf(const CIMObjectPath& path, const CIMNamespaceName& requested)
{
    return path.getNameSpace().isNull() ? requested : path.getNameSpace();
}

template <class Handler, class Result>
void deliverAll(Handler& handler, const Array<Result>& results)
{
    handler.processing();
    for (Uint32 i = 0; i < results.size(); i++)
        handler.deliver(results[i]);
    handler.complete();
}

} // namespace

VELK_InteropProvider::VELK_InteropProvider()
{
}

VELK_InteropProvider::~VELK_InteropProvider()
{
}

void VELK_InteropProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void VELK_InteropProvider::terminate()
{
    delete this;
}

CIMInstance VELK_InteropProvider::_shaped(const CIMInstance& full, const CIMNamespaceName& nameSpace,
    Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
        OperationContext(), nameSpace, full.getClassName(), false, includeQualifiers, includeClassOrigin,
        propertyList);
    CIMInstance inst = cls.buildInstance(includeQualifiers, includeClassOrigin, CIMPropertyList());
    for (Uint32 i = 0; i < inst.getPropertyCount(); i++)
    {
        const Uint32 pos = full.findProperty(inst.getProperty(i).getName());
        if (pos != PEG_NOT_FOUND)
            inst.getProperty(i).setValue(full.getProperty(pos).getValue());
    }
    inst.setPath(full.getPath());
    return inst;
}

CIMObject VELK_InteropProvider::_resultObject(const OperationContext& context,
    const VELK_InteropModel& model, const CIMObjectPath& path, const CIMNamespaceName& nameSpace,
    Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    const CIMInstance here = model.find(path);
    if (!here.isUninitialized())
        return CIMObject(_shaped(here, nameSpace, includeQualifiers, includeClassOrigin, propertyList));
    try
    {
        const CIMObjectPath there(String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings());
        return CIMObject(_cimom.getInstance(context, namespaceOf(path, nameSpace), there, false,
            includeQualifiers, includeClassOrigin, propertyList));
    }
    catch (const CIMException& e)
    {
        if (e.getCode() != CIM_ERR_NOT_FOUND)
            throw;
    }
    return CIMObject();
}

void VELK_InteropProvider::getInstance(const OperationContext& context,
    const CIMObjectPath& instanceReference, const Boolean includeQualifiers,
    const Boolean includeClassOrigin, const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    const VELK_InteropModel model(_cimom, context, instanceReference.getNameSpace(),
        instanceReference.getHost(), needsServices(instanceReference.getClassName()));
    const CIMInstance found = model.find(instanceReference);
    if (found.isUninitialized())
        throw CIMObjectNotFoundException(instanceReference.toString());
    Array<CIMInstance> result;
    result.append(_shaped(found, instanceReference.getNameSpace(), includeQualifiers, includeClassOrigin,
        propertyList));
    deliverAll(handler, result);
}

void VELK_InteropProvider::enumerateInstances(const OperationContext& context,
    const CIMObjectPath& classReference, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    const VELK_InteropModel model(_cimom, context, classReference.getNameSpace(), classReference.getHost(),
        needsServices(classReference.getClassName()));
    const Array<CIMInstance> all = model.of(classReference.getClassName());
    Array<CIMInstance> result;
    for (Uint32 i = 0; i < all.size(); i++)
        result.append(_shaped(all[i], classReference.getNameSpace(), includeQualifiers, includeClassOrigin,
            propertyList));
    deliverAll(handler, result);
}

void VELK_InteropProvider::enumerateInstanceNames(const OperationContext& context,
    const CIMObjectPath& classReference, ObjectPathResponseHandler& handler)
{
    const VELK_InteropModel model(_cimom, context, classReference.getNameSpace(), classReference.getHost(),
        needsServices(classReference.getClassName()));
    const Array<CIMInstance> all = model.of(classReference.getClassName());
    Array<CIMObjectPath> result;
    for (Uint32 i = 0; i < all.size(); i++)
        result.append(all[i].getPath());
    deliverAll(handler, result);
}

void VELK_InteropProvider::associators(const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    const CIMNamespaceName& ns = objectName.getNameSpace();
    const VELK_InteropModel model(_cimom, context, ns, objectName.getHost(), needsServices(associationClass));
    const std::vector<VELK_AssociationWalker::Link> links =
        VELK_AssociationWalker::links(model.of(associationClass), objectName, role, resultRole);
    Array<CIMObject> result;
    for (size_t i = 0; i < links.size(); i++)
    {
        if (!VELK_AssociationWalker::isA(_cimom, namespaceOf(links[i].result, ns),
                links[i].result.getClassName(), resultClass))
            continue;
        const CIMObject object = _resultObject(context, model, links[i].result, ns, includeQualifiers,
            includeClassOrigin, propertyList);
        if (!object.isUninitialized())
            result.append(object);
    }
    deliverAll(handler, result);
}

void VELK_InteropProvider::associatorNames(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName& associationClass, const CIMName& resultClass,
    const String& role, const String& resultRole, ObjectPathResponseHandler& handler)
{
    const CIMNamespaceName& ns = objectName.getNameSpace();
    const VELK_InteropModel model(_cimom, context, ns, objectName.getHost(), needsServices(associationClass));
    const std::vector<VELK_AssociationWalker::Link> links =
        VELK_AssociationWalker::links(model.of(associationClass), objectName, role, resultRole);
    Array<CIMObjectPath> result;
    for (size_t i = 0; i < links.size(); i++)
        if (VELK_AssociationWalker::isA(_cimom, namespaceOf(links[i].result, ns),
                links[i].result.getClassName(), resultClass))
            result.append(links[i].result);
    deliverAll(handler, result);
}

void VELK_InteropProvider::references(const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
    const Boolean includeClassOrigin, const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    const CIMNamespaceName& ns = objectName.getNameSpace();
    const VELK_InteropModel model(_cimom, context, ns, objectName.getHost(), needsServices(resultClass));
    const Array<CIMInstance> associations = model.of(resultClass);
    const std::vector<Uint32> found = VELK_AssociationWalker::referencing(associations, objectName, role);
    Array<CIMObject> result;
    for (size_t i = 0; i < found.size(); i++)
        result.append(CIMObject(_shaped(associations[found[i]], ns, includeQualifiers, includeClassOrigin,
            propertyList)));
    deliverAll(handler, result);
}

void VELK_InteropProvider::referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, ObjectPathResponseHandler& handler)
{
    const VELK_InteropModel model(_cimom, context, objectName.getNameSpace(), objectName.getHost(),
        needsServices(resultClass));
    const Array<CIMInstance> associations = model.of(resultClass);
    const std::vector<Uint32> found = VELK_AssociationWalker::referencing(associations, objectName, role);
    Array<CIMObjectPath> result;
    for (size_t i = 0; i < found.size(); i++)
        result.append(associations[found[i]].getPath());
    deliverAll(handler, result);
}

void VELK_InteropProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InteropProvider does not support modifyInstance.");
}

void VELK_InteropProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InteropProvider does not support createInstance.");
}

void VELK_InteropProvider::deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InteropProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
