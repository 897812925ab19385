#include "VELK_StorageSynchronizedProvider.h"

#include "VELK_ArrayReader.h"
#include "VELK_InternalCacheService.h"
#include "VELK_ProviderSupport.h"
#include "VELK_StorageVolumeProvider.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Provider/ProviderException.h>

#include <cstring>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char SYNC_CLASS[] = "VELK_StorageSynchronized";
const char VOLUME_CLASS[] = "VELK_StorageVolume";

// Classes a volume can be asked for as (associators' result class).
const char* const VOLUME_CLASSES[] = {"VELK_StorageVolume", "CIM_StorageVolume", "CIM_StorageExtent",
    "CIM_LogicalDevice", "CIM_EnabledLogicalElement", "CIM_LogicalElement", "CIM_ManagedSystemElement",
    "CIM_ManagedElement"};
// Classes the association can be asked for as (references' result class).
const char* const SYNC_CLASSES[] = {"VELK_StorageSynchronized", "CIM_StorageSynchronized",
    "CIM_Synchronized"};

template <size_t N>
Boolean oneOf(const CIMName& name, const char* const (&names)[N])
{
    if (name.isNull())
        return true;
    for (size_t i = 0; i < N; i++)
        if (name.equal(CIMName(names[i])))
            return true;
    return false;
}

Boolean roleMatches(const String& wanted, const char* role)
{
    return wanted.size() == 0 || String::equalNoCase(wanted, role);
}

CIMDateTime timeStamp(velk_time_t t)
{
    return CIMDateTime(Uint64(t) * 1000000 + PEGASUS_UINT64_LITERAL(62167219200000000), false);
}

} // namespace

VELK_StorageSynchronizedProvider::VELK_StorageSynchronizedProvider()
{
}

VELK_StorageSynchronizedProvider::~VELK_StorageSynchronizedProvider()
{
}

void VELK_StorageSynchronizedProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void VELK_StorageSynchronizedProvider::terminate()
{
    delete this;
}

CIMObjectPath VELK_StorageSynchronizedProvider::_path(const api_vvsync_t& sync, const api_sysinfo_t& sys)
{
    const CIMObjectPath system = VELK_StorageVolumeProvider::buildVVPath(String(sync.system_vv),
        String(sys.sys_name), String(sys.host_name));
    const CIMObjectPath synced = VELK_StorageVolumeProvider::buildVVPath(String(sync.synced_vv),
        String(sys.sys_name), String(sys.host_name));
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("SystemElement"), CIMValue(system)));
    keys.append(CIMKeyBinding(CIMName("SyncedElement"), CIMValue(synced)));
    return CIMObjectPath(String(sys.host_name), CIMNamespaceName(VELK_NAMESPACE), CIMName(SYNC_CLASS), keys);
}

CIMInstance VELK_StorageSynchronizedProvider::_instance(const api_vvsync_t& sync, const api_sysinfo_t& sys,
    Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(VELK_NAMESPACE), CIMName(SYNC_CLASS), false,
        includeQualifiers, includeClassOrigin, propertyList);
    CIMInstance inst = cls.buildInstance(includeQualifiers, includeClassOrigin, CIMPropertyList());
    const CIMObjectPath path = _path(sync, sys);
    const Array<CIMKeyBinding> keys = path.getKeyBindings();
    setIfPresent(inst, "SystemElement", CIMValue(CIMObjectPath(keys[0].getValue())));
    setIfPresent(inst, "SyncedElement", CIMValue(CIMObjectPath(keys[1].getValue())));
    setIfPresent(inst, "SyncType", CIMValue(Uint16(sync.sync_type)));
    setIfPresent(inst, "SyncState", CIMValue(Uint16(sync.sync_state)));
    if (sync.copy_type)
        setIfPresent(inst, "CopyType", CIMValue(Uint16(sync.copy_type)));
    setIfPresent(inst, "SyncMaintained", CIMValue(Boolean(sync.sync_maintained != 0)));
    setIfPresent(inst, "PercentSynced", CIMValue(Uint16(sync.percent_synced)));
    if (sync.when_synced > 0)
        setIfPresent(inst, "WhenSynced", CIMValue(timeStamp(sync.when_synced)));
    inst.setPath(path);
    return inst;
}

std::vector<VELK_StorageSynchronizedProvider::Match> VELK_StorageSynchronizedProvider::_related(
    const CIMObjectPath& objectName, const String& role, const String& resultRole, const String& systemName)
{
    std::vector<Match> out;
    if (!oneOf(objectName.getClassName(), VOLUME_CLASSES) || keyValue(objectName, "SystemName") != systemName)
        return out;
    const String volume = keyValue(objectName, "DeviceID");
    const std::vector<api_vvsync_t> syncs = VELK_ArrayReader::synchronizations();
    for (size_t i = 0; i < syncs.size(); i++)
    {
        if (String(syncs[i].system_vv) == volume && roleMatches(role, "SystemElement")
            && roleMatches(resultRole, "SyncedElement"))
        {
            Match m = {syncs[i], true};
            out.push_back(m);
        }
        else if (String(syncs[i].synced_vv) == volume && roleMatches(role, "SyncedElement")
            && roleMatches(resultRole, "SystemElement"))
        {
            Match m = {syncs[i], false};
            out.push_back(m);
        }
    }
    return out;
}

void VELK_StorageSynchronizedProvider::getInstance(const OperationContext&,
    const CIMObjectPath& instanceReference, const Boolean includeQualifiers,
    const Boolean includeClassOrigin, const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const CIMObjectPath system(keyValue(instanceReference, "SystemElement"));
    const CIMObjectPath synced(keyValue(instanceReference, "SyncedElement"));
    const std::vector<api_vvsync_t> syncs = VELK_ArrayReader::synchronizations();
    for (size_t i = 0; i < syncs.size(); i++)
    {
        if (keyValue(system, "DeviceID") == String(syncs[i].system_vv)
            && keyValue(synced, "DeviceID") == String(syncs[i].synced_vv)
            && keyValue(system, "SystemName") == String(sys.sys_name)
            && keyValue(synced, "SystemName") == String(sys.sys_name))
        {
            CIMInstance inst = _instance(syncs[i], sys, includeQualifiers, includeClassOrigin, propertyList);
            handler.processing();
            handler.deliver(inst);
            handler.complete();
            return;
        }
    }
    throw CIMObjectNotFoundException(instanceReference.toString());
}

void VELK_StorageSynchronizedProvider::enumerateInstances(const OperationContext&, const CIMObjectPath&,
    const Boolean includeQualifiers, const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<api_vvsync_t> syncs = VELK_ArrayReader::synchronizations();
    Array<CIMInstance> result;
    for (size_t i = 0; i < syncs.size(); i++)
        result.append(_instance(syncs[i], sys, includeQualifiers, includeClassOrigin, propertyList));
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_StorageSynchronizedProvider::enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
    ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<api_vvsync_t> syncs = VELK_ArrayReader::synchronizations();
    handler.processing();
    for (size_t i = 0; i < syncs.size(); i++)
        handler.deliver(_path(syncs[i], sys));
    handler.complete();
}

void VELK_StorageSynchronizedProvider::associators(const OperationContext&, const CIMObjectPath& objectName,
    const CIMName&, const CIMName& resultClass, const String& role, const String& resultRole,
    const Boolean includeQualifiers, const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    ObjectResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMInstance> result;
    if (oneOf(resultClass, VOLUME_CLASSES))
    {
        const std::vector<Match> related = _related(objectName, role, resultRole, String(sys.sys_name));
        if (!related.empty())
        {
            const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
                OperationContext(), CIMNamespaceName(VELK_NAMESPACE), CIMName(VOLUME_CLASS), false,
                includeQualifiers, includeClassOrigin, propertyList);
            for (size_t i = 0; i < related.size(); i++)
            {
                const char* other = related[i].sourceIsSystem ? related[i].sync.synced_vv
                                                              : related[i].sync.system_vv;
                CIMInstance inst = VELK_StorageVolumeProvider::buildVVInstance(String(other),
                    String(sys.sys_name), String(sys.host_name), cls, includeQualifiers);
                if (!inst.isUninitialized())
                    result.append(inst);
            }
        }
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(CIMObject(result[i]));
    handler.complete();
}

void VELK_StorageSynchronizedProvider::associatorNames(const OperationContext&,
    const CIMObjectPath& objectName, const CIMName&, const CIMName& resultClass, const String& role,
    const String& resultRole, ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMObjectPath> result;
    if (oneOf(resultClass, VOLUME_CLASSES))
    {
        const std::vector<Match> related = _related(objectName, role, resultRole, String(sys.sys_name));
        for (size_t i = 0; i < related.size(); i++)
        {
            const char* other = related[i].sourceIsSystem ? related[i].sync.synced_vv
                                                          : related[i].sync.system_vv;
            result.append(VELK_StorageVolumeProvider::buildVVPath(String(other), String(sys.sys_name),
                String(sys.host_name)));
        }
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_StorageSynchronizedProvider::references(const OperationContext&, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
    const Boolean includeClassOrigin, const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMInstance> result;
    if (oneOf(resultClass, SYNC_CLASSES))
    {
        const std::vector<Match> related = _related(objectName, role, String(), String(sys.sys_name));
        for (size_t i = 0; i < related.size(); i++)
            result.append(_instance(related[i].sync, sys, includeQualifiers, includeClassOrigin, propertyList));
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(CIMObject(result[i]));
    handler.complete();
}

void VELK_StorageSynchronizedProvider::referenceNames(const OperationContext&,
    const CIMObjectPath& objectName, const CIMName& resultClass, const String& role,
    ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMObjectPath> result;
    if (oneOf(resultClass, SYNC_CLASSES))
    {
        const std::vector<Match> related = _related(objectName, role, String(), String(sys.sys_name));
        for (size_t i = 0; i < related.size(); i++)
            result.append(_path(related[i].sync, sys));
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_StorageSynchronizedProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageSynchronizedProvider does not support modifyInstance.");
}

void VELK_StorageSynchronizedProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageSynchronizedProvider does not support createInstance.");
}

void VELK_StorageSynchronizedProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_StorageSynchronizedProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
