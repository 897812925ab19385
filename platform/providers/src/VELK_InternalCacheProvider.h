// The internal cache object of root/PG_Internal: system name and host name
// of the array for the other providers of the server.
#ifndef VELK_INTERNALCACHEPROVIDER_H
#define VELK_INTERNALCACHEPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_InternalCacheProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    // InstanceID of the one object.
    static const char INSTANCE_ID[];

    VELK_InternalCacheProvider();
    virtual ~VELK_InternalCacheProvider();

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

    // GetSystemName (out SystemName) and GetSystemHostName (out
    // SystemHostName), both returning 0.
    virtual void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        MethodResultResponseHandler& handler);

private:
    CIMObjectPath _path() const;
    void _checkPath(const CIMObjectPath& path) const;
};

PEGASUS_NAMESPACE_END

#endif
