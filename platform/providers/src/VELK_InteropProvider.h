// The interop namespace (root/interop, also named interop): every
// class of it, instances and associations, served from VELK_InteropModel.
#ifndef VELK_INTEROPPROVIDER_H
#define VELK_INTEROPPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_InteropModel;

class VELK_InteropProvider : public CIMInstanceProvider, public CIMAssociationProvider
{
public:
    VELK_InteropProvider();
    virtual ~VELK_InteropProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

    virtual void getInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler);
    virtual void enumerateInstances(const OperationContext& context, const CIMObjectPath& classReference,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler);
    virtual void enumerateInstanceNames(const OperationContext& context,
        const CIMObjectPath& classReference, ObjectPathResponseHandler& handler);
    virtual void modifyInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject, const Boolean includeQualifiers,
        const CIMPropertyList& propertyList, ResponseHandler& handler);
    virtual void createInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject, ObjectPathResponseHandler& handler);
    virtual void deleteInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        ResponseHandler& handler);

    virtual void associators(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, ObjectResponseHandler& handler);
    virtual void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, ObjectPathResponseHandler& handler);
    virtual void references(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
        const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler);
    virtual void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, ObjectPathResponseHandler& handler);

private:
    // The instance as the request wants it: qualifiers, class origins and
    // properties as asked, values and path from the full instance.
    CIMInstance _shaped(const CIMInstance& full, const CIMNamespaceName& nameSpace,
        Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList);
    // The object at the far end of a link: from the model, or from the
    // server when it lives in another namespace; uninitialized when gone.
    CIMObject _resultObject(const OperationContext& context, const VELK_InteropModel& model,
        const CIMObjectPath& path, const CIMNamespaceName& nameSpace, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
};

PEGASUS_NAMESPACE_END

#endif
