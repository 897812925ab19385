// Association provider of VELK_OwningJobElement: the service that owns a job
// (OwningElement) to the job (OwnedElement). Remote-copy tasks are owned by
// the replication service, every other supported task by the storage
// configuration service.
#ifndef VELK_OwningJobElementProvider_h
#define VELK_OwningJobElementProvider_h

#include <mutex>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include "VELK_Common.h"

PEGASUS_NAMESPACE_BEGIN

class VELK_OwningJobElementProvider :
    public CIMAssociationProvider,
    public CIMInstanceProvider
{
public:
    VELK_OwningJobElementProvider();
    virtual ~VELK_OwningJobElementProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

    virtual void associators(
        const OperationContext& context,
        const CIMObjectPath& objectName,
        const CIMName& associationClass,
        const CIMName& resultClass,
        const String& role,
        const String& resultRole,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler);

    virtual void associatorNames(
        const OperationContext& context,
        const CIMObjectPath& objectName,
        const CIMName& associationClass,
        const CIMName& resultClass,
        const String& role,
        const String& resultRole,
        ObjectPathResponseHandler& handler);

    virtual void references(
        const OperationContext& context,
        const CIMObjectPath& objectName,
        const CIMName& resultClass,
        const String& role,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler);

    virtual void referenceNames(
        const OperationContext& context,
        const CIMObjectPath& objectName,
        const CIMName& resultClass,
        const String& role,
        ObjectPathResponseHandler& handler);

    virtual void getInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        InstanceResponseHandler& handler);

    virtual void enumerateInstances(
        const OperationContext& context,
        const CIMObjectPath& classReference,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        InstanceResponseHandler& handler);

    virtual void enumerateInstanceNames(
        const OperationContext& context,
        const CIMObjectPath& classReference,
        ObjectPathResponseHandler& handler);

    virtual void modifyInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject,
        const Boolean includeQualifiers,
        const CIMPropertyList& propertyList,
        ResponseHandler& handler);

    virtual void createInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject,
        ObjectPathResponseHandler& handler);

    virtual void deleteInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        ResponseHandler& handler);

private:
    bool _sourceExists(const OperationContext& context, const CIMObjectPath& objectName,
        const char* operation);
    bool _invalidParms(
        const CIMObjectPath& objectName,
        const String& role,
        const String& resultRole,
        const CIMName& resultClass,
        const String& method);

    void _deliverRelatedInstances(
        const CIMObjectPath& objectName,
        const OperationContext& context,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        const CIMName& resultClass,
        cim_method_e method,
        cim_handler_u handler);

    // Fills the two service-path lists on first need; false when either
    // service class has no instance.
    bool _loadServicePaths(
        CIMObjectPath& replicationSvcsPath,
        CIMObjectPath& storageSvcsPath);

    CIMObjectPath _buildAssociationName(
        const CIMObjectPath& svcPath,
        const CIMObjectPath& jobPath);

    CIMInstance _buildAssociationInstance(
        const CIMObjectPath& svcPath,
        const CIMObjectPath& jobPath,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
    CIMName _assoClassName;
    CIMName _storageSvcsClassName;
    CIMName _replicaSvcsClassName;
    CIMName _jobClassName;
    Array<CIMObjectPath> _replicationSvcsPaths;
    Array<CIMObjectPath> _storageSvcsPaths;
    String _hostAddr;

    // Guards the two service-path lists, which requests fill on first use.
    std::mutex _svcsPathsMutex;
};

PEGASUS_NAMESPACE_END

#endif
