// Virtual volumes of the array as VELK_StorageVolume instances.
#ifndef VELK_STORAGEVOLUMEPROVIDER_H
#define VELK_STORAGEVOLUMEPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_EXPORT VELK_StorageVolumeProvider : public CIMInstanceProvider
{
public:
    VELK_StorageVolumeProvider();
    virtual ~VELK_StorageVolumeProvider();

    // The full instance of the named volume, built from volumeClass (with
    // the class's qualifiers when includeQualifiers is true), with its
    // object path (host `host`, namespace root/velk, the four keys); an
    // uninitialized instance when the array has no such volume. A failed
    // array read throws CIMOperationFailedException.
    static CIMInstance buildVVInstance(
        const String& volumeName,
        const String& systemName,
        const String& host,
        const CIMClass& volumeClass,
        Boolean includeQualifiers);

    // The object path of a volume, as buildVVInstance sets it.
    static CIMObjectPath buildVVPath(
        const String& volumeName,
        const String& systemName,
        const String& host);

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

private:
    CIMClass _volumeClass(Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
};

PEGASUS_NAMESPACE_END

#endif
