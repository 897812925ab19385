#include "VELK_ServiceProvider.h"

#include "VELK_ArrayReader.h"
#include "VELK_InternalCacheService.h"
#include "VELK_ProviderSupport.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_NAMESPACE_BEGIN

VELK_ServiceProvider::VELK_ServiceProvider(const String& className, const String& serviceName,
    const String& elementName)
    : _className(className), _serviceName(serviceName), _elementName(elementName)
{
}

VELK_ServiceProvider::~VELK_ServiceProvider()
{
}

void VELK_ServiceProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void VELK_ServiceProvider::terminate()
{
    delete this;
}

CIMObjectPath VELK_ServiceProvider::_path(const String& systemName, const String& host) const
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("CreationClassName"), _className, CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("Name"), systemName + ":" + _serviceName, CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemCreationClassName"), String(VELK_SYSTEM_CLASS),
        CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemName"), systemName, CIMKeyBinding::STRING));
    return CIMObjectPath(host, CIMNamespaceName(VELK_NAMESPACE), CIMName(_className), keys);
}

CIMInstance VELK_ServiceProvider::_instance(Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const String systemName(sys.sys_name);
    const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(VELK_NAMESPACE), CIMName(_className), false,
        includeQualifiers, includeClassOrigin, propertyList);
    CIMInstance inst = cls.buildInstance(includeQualifiers, includeClassOrigin, CIMPropertyList());
    setIfPresent(inst, "SystemCreationClassName", CIMValue(String(VELK_SYSTEM_CLASS)));
    setIfPresent(inst, "SystemName", CIMValue(systemName));
    setIfPresent(inst, "CreationClassName", CIMValue(_className));
    setIfPresent(inst, "Name", CIMValue(systemName + ":" + _serviceName));
    setIfPresent(inst, "ElementName", CIMValue(_elementName));
    setIfPresent(inst, "Caption", CIMValue(_elementName));
    setIfPresent(inst, "Description", CIMValue(_elementName + " of " + systemName));
    setIfPresent(inst, "Started", CIMValue(Boolean(true)));
    setIfPresent(inst, "StartMode", CIMValue(String("Automatic")));
    setIfPresent(inst, "EnabledState", CIMValue(Uint16(2)));
    setIfPresent(inst, "RequestedState", CIMValue(Uint16(12)));  // Not Applicable
    Array<Uint16> status;
    status.append(2);
    setIfPresent(inst, "OperationalStatus", CIMValue(status));
    setIfPresent(inst, "HealthState", CIMValue(Uint16(5)));
    inst.setPath(_path(systemName, String(sys.host_name)));
    return inst;
}

void VELK_ServiceProvider::getInstance(const OperationContext&, const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers, const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    CIMInstance inst = _instance(includeQualifiers, includeClassOrigin, propertyList);
    const CIMObjectPath& ours = inst.getPath();
    const char* const keys[] = {"CreationClassName", "Name", "SystemCreationClassName", "SystemName"};
    for (size_t i = 0; i < 4; i++)
    {
        const String given = keyValue(instanceReference, keys[i]);
        const String have = keyValue(ours, keys[i]);
        const Boolean same = i == 0 || i == 2 ? String::equalNoCase(given, have) : given == have;
        if (!same)
            throw CIMObjectNotFoundException(instanceReference.toString());
    }
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void VELK_ServiceProvider::enumerateInstances(const OperationContext&, const CIMObjectPath&,
    const Boolean includeQualifiers, const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    CIMInstance inst = _instance(includeQualifiers, includeClassOrigin, propertyList);
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void VELK_ServiceProvider::enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
    ObjectPathResponseHandler& handler)
{
    const api_sysinfo_t sys = VELK_ArrayReader::sysInfo();
    const CIMObjectPath path = _path(String(sys.sys_name), String(sys.host_name));
    handler.processing();
    handler.deliver(path);
    handler.complete();
}

void VELK_ServiceProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException(_className + " does not support modifyInstance.");
}

void VELK_ServiceProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException(_className + " does not support createInstance.");
}

void VELK_ServiceProvider::deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&)
{
    throw CIMNotSupportedException(_className + " does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
