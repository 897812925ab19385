// Association provider of VELK_AssociatedJobMethodResult: a job (Job) to the
// method result of the call that started it (JobParameters). Both ends carry
// the same InstanceID; each end is found from the other by that value.
#ifndef VELK_AssociatedJobMethodResultProvider_h
#define VELK_AssociatedJobMethodResultProvider_h

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

PEGASUS_NAMESPACE_BEGIN

class VELK_AssociatedJobMethodResultProvider :
    public CIMAssociationProvider,
    public CIMInstanceProvider
{
public:
    VELK_AssociatedJobMethodResultProvider();
    virtual ~VELK_AssociatedJobMethodResultProvider();

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
    bool _invalidParms(
        const CIMObjectPath& objectName,
        const String& role,
        const String& resultRole,
        const CIMName& resultClass,
        const String& method);

    CIMObjectPath _buildAssociationName(
        const CIMObjectPath& jobParamPath,
        const CIMObjectPath& jobPath);

    CIMInstance _buildAssociationInstance(
        const CIMObjectPath& jobParamPath,
        const CIMObjectPath& jobPath,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    Array<CIMInstance> _getRelatedInstances(
        const CIMObjectPath& objectName,
        const OperationContext& context,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    Array<CIMObjectPath> _getRelatedInstanceNames(
        const CIMObjectPath& objectName,
        const OperationContext& context);

    Array<CIMInstance> _getInstances(
        const OperationContext& context,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    Array<CIMObjectPath> _getInstanceNames(const OperationContext& context);

    CIMOMHandle _cimom;
    CIMName _assoClassName;
    CIMName _methodResultClassName;
    CIMName _jobClassName;
    String _hostAddr;
};

PEGASUS_NAMESPACE_END

#endif
