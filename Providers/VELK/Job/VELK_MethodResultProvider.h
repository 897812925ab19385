// Instance provider of VELK_MethodResult: one method result per job, derived
// from the jobs that the server lists, with the method-call indications that
// describe the call which started each job.
#ifndef VELK_MethodResultProvider_h
#define VELK_MethodResultProvider_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_MethodResultProvider : public CIMInstanceProvider
{
public:
    VELK_MethodResultProvider();
    VELK_MethodResultProvider(const CIMObjectPath& path);
    virtual ~VELK_MethodResultProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

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

    // Path of the method result with the given InstanceID on the given host,
    // in root/velk. Used by the other providers of the module as well.
    static CIMObjectPath buildObjectPath(
        const String& host,
        const String& instanceID);

private:
    Array<CIMInstance> _buildInstances(
        const OperationContext& context,
        const String& jobInstanceID,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    CIMInstance _buildInstance(
        const OperationContext& context,
        CIMClass methodResultClass,
        const CIMInstance& jobInstance,
        const String& host);

    Array<CIMObjectPath> _buildRef(const OperationContext& context);

    CIMInstance _constructInstMethodCallInst(
        const OperationContext& context,
        const CIMInstance& jobInstance,
        Boolean preCall);

    CIMObject _constructMethodParamObject(
        const OperationContext& context,
        const CIMInstance& jobInstance,
        Boolean preCall);

    CIMOMHandle _cimom;
    String _hostAddr;
    String _systemName;
};

PEGASUS_NAMESPACE_END

#endif
