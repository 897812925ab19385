// Copy relationships between volumes as VELK_StorageSynchronized.
#ifndef VELK_STORAGESYNCHRONIZEDPROVIDER_H
#define VELK_STORAGESYNCHRONIZEDPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <velkapi.h>

#include <vector>

PEGASUS_NAMESPACE_BEGIN

class VELK_StorageSynchronizedProvider : public CIMInstanceProvider, public CIMAssociationProvider
{
public:
    VELK_StorageSynchronizedProvider();
    virtual ~VELK_StorageSynchronizedProvider();

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
    // One synchronization that touches the source volume, and which end
    // the source is.
    struct Match
    {
        api_vvsync_t sync;
        Boolean sourceIsSystem;
    };

    std::vector<Match> _related(const CIMObjectPath& objectName, const String& role,
        const String& resultRole, const String& systemName);
    CIMObjectPath _path(const api_vvsync_t& sync, const api_sysinfo_t& sys);
    CIMInstance _instance(const api_vvsync_t& sync, const api_sysinfo_t& sys,
        Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
};

PEGASUS_NAMESPACE_END

#endif
