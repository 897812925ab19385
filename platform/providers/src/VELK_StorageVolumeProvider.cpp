#include "VELK_StorageVolumeProvider.h"

#include "VELK_ArrayReader.h"
#include "VELK_InternalCacheService.h"
#include "VELK_ProviderSupport.h"

#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Provider/ProviderException.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char VOLUME_CLASS[] = "VELK_StorageVolume";

Array<Uint16> operationalStatus(int state)
{
    Array<Uint16> status;
    switch (state)
    {
        case VV_STATE_NORMAL: status.append(2); break;    // OK
        case VV_STATE_DEGRADED: status.append(3); break;  // Degraded
        default: status.append(6); break;                 // Error
    }
    return status;
}

Uint16 healthState(int state)
{
    switch (state)
    {
        case VV_STATE_NORMAL: return 5;     // OK
        case VV_STATE_DEGRADED: return 10;  // Degraded/Warning
        default: return 25;                 // Critical failure
    }
}

} // namespace

VELK_StorageVolumeProvider::VELK_StorageVolumeProvider()
{
}

VELK_StorageVolumeProvider::~VELK_StorageVolumeProvider()
{
}

CIMObjectPath VELK_StorageVolumeProvider::buildVVPath(
    const String& volumeName,
    const String& systemName,
    const String& host)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("CreationClassName"), String(VOLUME_CLASS), CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("DeviceID"), volumeName, CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemCreationClassName"), String(VELK_SYSTEM_CLASS),
        CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemName"), systemName, CIMKeyBinding::STRING));
    return CIMObjectPath(host, CIMNamespaceName(VELK_NAMESPACE), CIMName(VOLUME_CLASS), keys);
}

CIMInstance VELK_StorageVolumeProvider::buildVVInstance(
    const String& volumeName,
    const String& systemName,
    const String& host,
    const CIMClass& volumeClass,
    Boolean includeQualifiers)
{
    api_vv_t vv;
    if (volumeName.size() == 0 || !VELK_ArrayReader::volume(volumeName, vv))
        return CIMInstance();

    CIMInstance inst = volumeClass.buildInstance(includeQualifiers, false, CIMPropertyList());
    const String name(vv.vv_name);
    const Uint64 blocks = vv.vv_block_size
        ? Uint64(vv.vv_size_mib) * 1024 * 1024 / vv.vv_block_size : 0;
    setIfPresent(inst, "SystemCreationClassName", CIMValue(String(VELK_SYSTEM_CLASS)));
    setIfPresent(inst, "SystemName", CIMValue(systemName));
    setIfPresent(inst, "CreationClassName", CIMValue(String(VOLUME_CLASS)));
    setIfPresent(inst, "DeviceID", CIMValue(name));
    setIfPresent(inst, "ElementName", CIMValue(name));
    setIfPresent(inst, "Caption", CIMValue(name));
    setIfPresent(inst, "Description", CIMValue(String("Virtual volume ") + name));
    setIfPresent(inst, "Name", CIMValue(String(vv.vv_wwn)));
    setIfPresent(inst, "NameFormat", CIMValue(Uint16(2)));      // VPD83NAA6
    setIfPresent(inst, "NameNamespace", CIMValue(Uint16(2)));   // VPD83Type3
    setIfPresent(inst, "BlockSize", CIMValue(Uint64(vv.vv_block_size)));
    setIfPresent(inst, "NumberOfBlocks", CIMValue(blocks));
    setIfPresent(inst, "ConsumableBlocks", CIMValue(blocks));
    setIfPresent(inst, "OperationalStatus", CIMValue(operationalStatus(vv.vv_state)));
    setIfPresent(inst, "HealthState", CIMValue(healthState(vv.vv_state)));
    setIfPresent(inst, "EnabledState", CIMValue(Uint16(vv.vv_state == VV_STATE_FAILED ? 3 : 2)));
    setIfPresent(inst, "Primordial", CIMValue(Boolean(false)));
    setIfPresent(inst, "VolumeType", CIMValue(Uint16(vv.vv_type)));
    setIfPresent(inst, "CopyOf", CIMValue(String(vv.vv_copy_of)));
    setIfPresent(inst, "ProvisioningGroup", CIMValue(String(vv.vv_cpg)));
    inst.setPath(buildVVPath(name, systemName, host));
    return inst;
}

void VELK_StorageVolumeProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void VELK_StorageVolumeProvider::terminate()
{
    delete this;
}

CIMClass VELK_StorageVolumeProvider::_volumeClass(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    return VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom, OperationContext(),
        CIMNamespaceName(VELK_NAMESPACE), CIMName(VOLUME_CLASS), false, includeQualifiers,
        includeClassOrigin, propertyList);
}

void VELK_StorageVolumeProvider::getInstance(
    const OperationContext&,
    const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const String deviceID = keyValue(instanceReference, "DeviceID");
    CIMInstance inst;
    if (keyValue(instanceReference, "SystemName") == String(sys.sys_name)
        && String::equalNoCase(keyValue(instanceReference, "CreationClassName"), VOLUME_CLASS)
        && String::equalNoCase(keyValue(instanceReference, "SystemCreationClassName"), VELK_SYSTEM_CLASS))
    {
        inst = buildVVInstance(deviceID, String(sys.sys_name), String(sys.host_name),
            _volumeClass(includeQualifiers, includeClassOrigin, propertyList), includeQualifiers);
    }
    if (inst.isUninitialized())
        throw CIMObjectNotFoundException(instanceReference.toString());
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void VELK_StorageVolumeProvider::enumerateInstances(
    const OperationContext&,
    const CIMObjectPath&,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const CIMClass cls = _volumeClass(includeQualifiers, includeClassOrigin, propertyList);
    const std::vector<api_vv_t> vvs = VELK_ArrayReader::volumes();
    Array<CIMInstance> result;
    for (size_t i = 0; i < vvs.size(); i++)
    {
        CIMInstance inst = buildVVInstance(String(vvs[i].vv_name), String(sys.sys_name),
            String(sys.host_name), cls, includeQualifiers);
        if (!inst.isUninitialized())   // removed in between
            result.append(inst);
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_StorageVolumeProvider::enumerateInstanceNames(
    const OperationContext&,
    const CIMObjectPath&,
    ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<api_vv_t> vvs = VELK_ArrayReader::volumes();
    handler.processing();
    for (size_t i = 0; i < vvs.size(); i++)
        handler.deliver(buildVVPath(String(vvs[i].vv_name), String(sys.sys_name), String(sys.host_name)));
    handler.complete();
}

void VELK_StorageVolumeProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageVolumeProvider does not support modifyInstance.");
}

void VELK_StorageVolumeProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageVolumeProvider does not support createInstance.");
}

void VELK_StorageVolumeProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageVolumeProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
