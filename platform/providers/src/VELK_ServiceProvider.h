// The array's one storage configuration service or one replication service.
#ifndef VELK_SERVICEPROVIDER_H
#define VELK_SERVICEPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_ServiceProvider : public CIMInstanceProvider
{
public:
    // className: "VELK_StorageConfigurationService" or "VELK_ReplicationService";
    // serviceName: the Name key, after the system name and a colon;
    // elementName: ElementName and Caption.
    VELK_ServiceProvider(const String& className, const String& serviceName, const String& elementName);
    virtual ~VELK_ServiceProvider();

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

private:
    CIMObjectPath _path(const String& systemName, const String& host) const;
    CIMInstance _instance(Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
    String _className;
    String _serviceName;
    String _elementName;
};

PEGASUS_NAMESPACE_END

#endif
