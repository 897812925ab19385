#include "VELK_InternalCacheProvider.h"

#include "VELK_ArrayReader.h"
#include "VELK_ProviderSupport.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Provider/ProviderException.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char CACHE_CLASS[] = "VELK_InternalCache";
const char CACHE_NAMESPACE[] = "root/PG_Internal";

} // namespace

const char VELK_InternalCacheProvider::INSTANCE_ID[] = "localhost-InternalCache";

VELK_InternalCacheProvider::VELK_InternalCacheProvider()
{
}

VELK_InternalCacheProvider::~VELK_InternalCacheProvider()
{
}

void VELK_InternalCacheProvider::initialize(CIMOMHandle&)
{
}

void VELK_InternalCacheProvider::terminate()
{
    delete this;
}

CIMObjectPath VELK_InternalCacheProvider::_path() const
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), String(INSTANCE_ID), CIMKeyBinding::STRING));
    return CIMObjectPath(String(), CIMNamespaceName(CACHE_NAMESPACE), CIMName(CACHE_CLASS), keys);
}

void VELK_InternalCacheProvider::_checkPath(const CIMObjectPath& path) const
{
    if (path.getKeyBindings().size() != 1 || keyValue(path, "InstanceID") != String(INSTANCE_ID))
        throw CIMObjectNotFoundException(path.toString());
}

void VELK_InternalCacheProvider::getInstance(const OperationContext&, const CIMObjectPath& instanceReference,
    const Boolean, const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler)
{
    _checkPath(instanceReference);
    CIMInstance inst = CIMInstance(CIMName(CACHE_CLASS));
    inst.addProperty(CIMProperty(CIMName("InstanceID"), CIMValue(String(INSTANCE_ID))));
    inst.setPath(_path());
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void VELK_InternalCacheProvider::enumerateInstances(const OperationContext& context,
    const CIMObjectPath&, const Boolean includeQualifiers, const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, InstanceResponseHandler& handler)
{
    getInstance(context, _path(), includeQualifiers, includeClassOrigin, propertyList, handler);
}

void VELK_InternalCacheProvider::enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
    ObjectPathResponseHandler& handler)
{
    handler.processing();
    handler.deliver(_path());
    handler.complete();
}

void VELK_InternalCacheProvider::invokeMethod(const OperationContext&, const CIMObjectPath& objectReference,
    const CIMName& methodName, const Array<CIMParamValue>&, MethodResultResponseHandler& handler)
{
    _checkPath(objectReference);
    String outName;
    String value;
    if (methodName.equal(CIMName("GetSystemName")))
    {
        outName = "SystemName";
        value = String(VELK_ArrayReader::sysInfo().sys_name);
    }
    else if (methodName.equal(CIMName("GetSystemHostName")))
    {
        outName = "SystemHostName";
        value = String(VELK_ArrayReader::sysInfo().host_name);
    }
    else
    {
        throw CIMException(CIM_ERR_METHOD_NOT_AVAILABLE, methodName.getString());
    }
    handler.processing();
    handler.deliverParamValue(CIMParamValue(outName, CIMValue(value)));
    handler.deliver(CIMValue(Uint32(0)));
    handler.complete();
}

void VELK_InternalCacheProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InternalCacheProvider does not support modifyInstance.");
}

void VELK_InternalCacheProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InternalCacheProvider does not support createInstance.");
}

void VELK_InternalCacheProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("VELK_InternalCacheProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
