#include "VELK_AffectedJobElementProvider.h"

#include "VELK_ArrayReader.h"
#include "VELK_AssociationWalker.h"
#include "VELK_InternalCacheService.h"
#include "VELK_ProviderSupport.h"
#include "VELK_StorageVolumeProvider.h"

#include <Pegasus/Provider/ProviderException.h>

#include <set>
#include <string>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char ASSOC_CLASS[] = "VELK_AffectedJobElement";
const char JOB_CLASS[] = "VELK_ConcreteJob";
const char VOLUME_CLASS[] = "VELK_StorageVolume";

// ElementEffects values.
const Uint16 EXCLUSIVE_USE = 2;
const Uint16 PERFORMANCE_IMPACT = 3;
const Uint16 ELEMENT_INTEGRITY = 4;

String stringProperty(const CIMInstance& inst, const char* name)
{
    const Uint32 pos = inst.findProperty(CIMName(name));
    String value;
    if (pos != PEG_NOT_FOUND && !inst.getProperty(pos).getValue().isNull()
        && inst.getProperty(pos).getValue().getType() == CIMTYPE_STRING)
        inst.getProperty(pos).getValue().get(value);
    return value;
}

Sint32 jobType(const CIMInstance& job)
{
    const Uint32 pos = job.findProperty(CIMName("JobType"));
    if (pos == PEG_NOT_FOUND || job.getProperty(pos).getValue().isNull()
        || job.getProperty(pos).getValue().getType() != CIMTYPE_UINT16)
        return -1;
    Uint16 type = 0;
    job.getProperty(pos).getValue().get(type);
    return type;
}

Boolean isClass(const CIMObjectPath& path, const char* name)
{
    return String::equalNoCase(path.getClassName().getString(), name);
}

} // namespace

VELK_AffectedJobElementProvider::VELK_AffectedJobElementProvider()
{
}

VELK_AffectedJobElementProvider::~VELK_AffectedJobElementProvider()
{
}

void VELK_AffectedJobElementProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void VELK_AffectedJobElementProvider::terminate()
{
    delete this;
}

std::vector<VELK_AffectedJobElementProvider::Affected> VELK_AffectedJobElementProvider::_affected(
    const Array<CIMInstance>& jobs, const api_sysinfo_t& sys)
{
    std::vector<Affected> out;
    if (jobs.size() == 0)
        return out;
    std::set<std::string> volumes;
    const std::vector<api_vv_t> vvs = VELK_ArrayReader::volumes();
    for (size_t i = 0; i < vvs.size(); i++)
        volumes.insert(vvs[i].vv_name);

    for (Uint32 i = 0; i < jobs.size(); i++)
    {
        // Local copies name their volumes; a remote copy's source is a
        // group, and snapshot space accounting names nothing.
        const Sint32 type = jobType(jobs[i]);
        if (type != TASK_VVCOPY && type != TASK_PROMOTESV && type != TASK_PHYSCOPY_RESYNC
            && type != TASK_ONLINE_COPY)
            continue;
        const String source = stringProperty(jobs[i], "SourceElementName");
        const String target = stringProperty(jobs[i], "TargetElementName");
        if (source.size() && volumes.count((const char*)source.getCString()))
        {
            Affected a;
            a.job = jobs[i].getPath();
            a.volume = VELK_StorageVolumeProvider::buildVVPath(source, String(sys.sys_name),
                String(sys.host_name));
            a.effects.append(PERFORMANCE_IMPACT);   // read while the job runs
            out.push_back(a);
        }
        if (target.size() && volumes.count((const char*)target.getCString()))
        {
            Affected a;
            a.job = jobs[i].getPath();
            a.volume = VELK_StorageVolumeProvider::buildVVPath(target, String(sys.sys_name),
                String(sys.host_name));
            a.effects.append(EXCLUSIVE_USE);        // written by the job
            if (type == TASK_PROMOTESV)
                a.effects.append(ELEMENT_INTEGRITY);   // its data replaced by the snapshot's
            out.push_back(a);
        }
    }
    return out;
}

std::vector<VELK_AffectedJobElementProvider::Affected> VELK_AffectedJobElementProvider::_all(
    const OperationContext& context, const api_sysinfo_t& sys)
{
    const Array<CIMInstance> jobs = _cimom.enumerateInstances(context,
        CIMNamespaceName(VELK_NAMESPACE), CIMName(JOB_CLASS), true, false, false, false,
        CIMPropertyList());
    return _affected(jobs, sys);
}

std::vector<VELK_AffectedJobElementProvider::Affected> VELK_AffectedJobElementProvider::_touching(
    const OperationContext& context, const CIMObjectPath& objectName, const api_sysinfo_t& sys)
{
    if (isClass(objectName, JOB_CLASS))
    {
        const CIMObjectPath job(String(), CIMNamespaceName(VELK_NAMESPACE), CIMName(JOB_CLASS),
            objectName.getKeyBindings());
        Array<CIMInstance> jobs;
        try
        {
            jobs.append(_cimom.getInstance(context, CIMNamespaceName(VELK_NAMESPACE), job, false,
                false, false, CIMPropertyList()));
        }
        catch (const CIMException& e)
        {
            if (e.getCode() != CIM_ERR_NOT_FOUND)
                throw;
        }
        return _affected(jobs, sys);
    }
    api_vv_t vv;
    if (isClass(objectName, VOLUME_CLASS) && keyValue(objectName, "SystemName") == String(sys.sys_name)
        && VELK_ArrayReader::volume(keyValue(objectName, "DeviceID"), vv))
        return _all(context, sys);
    return std::vector<Affected>();
}

Array<CIMInstance> VELK_AffectedJobElementProvider::_walkable(const std::vector<Affected>& affected)
{
    Array<CIMInstance> out;
    for (size_t i = 0; i < affected.size(); i++)
    {
        CIMInstance inst{CIMName(ASSOC_CLASS)};
        inst.addProperty(CIMProperty(CIMName("AffectedElement"), CIMValue(affected[i].volume)));
        inst.addProperty(CIMProperty(CIMName("AffectingElement"), CIMValue(affected[i].job)));
        out.append(inst);
    }
    return out;
}

CIMObjectPath VELK_AffectedJobElementProvider::_path(const Affected& affected,
    const api_sysinfo_t& sys) const
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("AffectedElement"), CIMValue(affected.volume)));
    keys.append(CIMKeyBinding(CIMName("AffectingElement"), CIMValue(affected.job)));
    return CIMObjectPath(String(sys.host_name), CIMNamespaceName(VELK_NAMESPACE), CIMName(ASSOC_CLASS),
        keys);
}

CIMInstance VELK_AffectedJobElementProvider::_instance(const Affected& affected,
    const api_sysinfo_t& sys, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(VELK_NAMESPACE), CIMName(ASSOC_CLASS), false,
        includeQualifiers, includeClassOrigin, propertyList);
    CIMInstance inst = cls.buildInstance(includeQualifiers, includeClassOrigin, CIMPropertyList());
    setIfPresent(inst, "AffectedElement", CIMValue(affected.volume));
    setIfPresent(inst, "AffectingElement", CIMValue(affected.job));
    setIfPresent(inst, "ElementEffects", CIMValue(affected.effects));
    inst.setPath(_path(affected, sys));
    return inst;
}

CIMObject VELK_AffectedJobElementProvider::_resultObject(const OperationContext& context,
    const CIMObjectPath& path, const api_sysinfo_t& sys, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    if (isClass(path, VOLUME_CLASS))
    {
        const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
            OperationContext(), CIMNamespaceName(VELK_NAMESPACE), CIMName(VOLUME_CLASS), false,
            includeQualifiers, includeClassOrigin, propertyList);
        const CIMInstance inst = VELK_StorageVolumeProvider::buildVVInstance(
            keyValue(path, "DeviceID"), String(sys.sys_name), String(sys.host_name), cls,
            includeQualifiers);
        return inst.isUninitialized() ? CIMObject() : CIMObject(inst);
    }
    try
    {
        const CIMObjectPath job(String(), CIMNamespaceName(VELK_NAMESPACE), path.getClassName(),
            path.getKeyBindings());
        return CIMObject(_cimom.getInstance(context, CIMNamespaceName(VELK_NAMESPACE), job, false,
            includeQualifiers, includeClassOrigin, propertyList));
    }
    catch (const CIMException& e)
    {
        if (e.getCode() != CIM_ERR_NOT_FOUND)
            throw;
    }
    return CIMObject();
}

void VELK_AffectedJobElementProvider::getInstance(const OperationContext& context,
    const CIMObjectPath& instanceReference, const Boolean includeQualifiers,
    const Boolean includeClassOrigin, const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    CIMObjectPath job;
    try
    {
        job = CIMObjectPath(keyValue(instanceReference, "AffectingElement"));
    }
    catch (const Exception&)
    {
        throw CIMObjectNotFoundException(instanceReference.toString());
    }
    const std::vector<Affected> affected = _touching(context, job, sys);
    for (size_t i = 0; i < affected.size(); i++)
    {
        if (VELK_AssociationWalker::samePath(_path(affected[i], sys), instanceReference))
        {
            CIMInstance inst = _instance(affected[i], sys, includeQualifiers, includeClassOrigin,
                propertyList);
            handler.processing();
            handler.deliver(inst);
            handler.complete();
            return;
        }
    }
    throw CIMObjectNotFoundException(instanceReference.toString());
}

void VELK_AffectedJobElementProvider::enumerateInstances(const OperationContext& context,
    const CIMObjectPath&, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<Affected> affected = _all(context, sys);
    Array<CIMInstance> result;
    for (size_t i = 0; i < affected.size(); i++)
        result.append(_instance(affected[i], sys, includeQualifiers, includeClassOrigin, propertyList));
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_AffectedJobElementProvider::enumerateInstanceNames(const OperationContext& context,
    const CIMObjectPath&, ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<Affected> affected = _all(context, sys);
    handler.processing();
    for (size_t i = 0; i < affected.size(); i++)
        handler.deliver(_path(affected[i], sys));
    handler.complete();
}

void VELK_AffectedJobElementProvider::associators(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName&, const CIMName& resultClass, const String& role,
    const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<Affected> affected = _touching(context, objectName, sys);
    const std::vector<VELK_AssociationWalker::Link> links =
        VELK_AssociationWalker::links(_walkable(affected), objectName, role, resultRole);
    Array<CIMObject> result;
    for (size_t i = 0; i < links.size(); i++)
    {
        if (!VELK_AssociationWalker::isA(_cimom, CIMNamespaceName(VELK_NAMESPACE),
                links[i].result.getClassName(), resultClass))
            continue;
        const CIMObject object = _resultObject(context, links[i].result, sys, includeQualifiers,
            includeClassOrigin, propertyList);
        if (!object.isUninitialized())
            result.append(object);
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_AffectedJobElementProvider::associatorNames(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName&, const CIMName& resultClass, const String& role,
    const String& resultRole, ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const std::vector<Affected> affected = _touching(context, objectName, sys);
    const std::vector<VELK_AssociationWalker::Link> links =
        VELK_AssociationWalker::links(_walkable(affected), objectName, role, resultRole);
    Array<CIMObjectPath> result;
    for (size_t i = 0; i < links.size(); i++)
        if (VELK_AssociationWalker::isA(_cimom, CIMNamespaceName(VELK_NAMESPACE),
                links[i].result.getClassName(), resultClass))
            result.append(links[i].result);
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_AffectedJobElementProvider::references(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName& resultClass, const String& role,
    const Boolean includeQualifiers, const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    ObjectResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMObject> result;
    if (VELK_AssociationWalker::isA(_cimom, CIMNamespaceName(VELK_NAMESPACE), CIMName(ASSOC_CLASS),
            resultClass))
    {
        const std::vector<Affected> affected = _touching(context, objectName, sys);
        const std::vector<Uint32> found =
            VELK_AssociationWalker::referencing(_walkable(affected), objectName, role);
        for (size_t i = 0; i < found.size(); i++)
            result.append(CIMObject(_instance(affected[found[i]], sys, includeQualifiers,
                includeClassOrigin, propertyList)));
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_AffectedJobElementProvider::referenceNames(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName& resultClass, const String& role,
    ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    Array<CIMObjectPath> result;
    if (VELK_AssociationWalker::isA(_cimom, CIMNamespaceName(VELK_NAMESPACE), CIMName(ASSOC_CLASS),
            resultClass))
    {
        const std::vector<Affected> affected = _touching(context, objectName, sys);
        const std::vector<Uint32> found =
            VELK_AssociationWalker::referencing(_walkable(affected), objectName, role);
        for (size_t i = 0; i < found.size(); i++)
            result.append(_path(affected[found[i]], sys));
    }
    handler.processing();
    for (Uint32 i = 0; i < result.size(); i++)
        handler.deliver(result[i]);
    handler.complete();
}

void VELK_AffectedJobElementProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_AffectedJobElementProvider does not support modifyInstance.");
}

void VELK_AffectedJobElementProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("VELK_AffectedJobElementProvider does not support createInstance.");
}

void VELK_AffectedJobElementProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_AffectedJobElementProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
