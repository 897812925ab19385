#include "VELK_InternalCacheService.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

// Names compare without regard to ASCII case.
void appendLowerUtf8(std::string& key, const String& s)
{
    size_t start = key.size();
    key += (const char*)s.getCString();
    for (size_t i = start; i < key.size(); i++)
        if (key[i] >= 'A' && key[i] <= 'Z')
            key[i] = char(key[i] - 'A' + 'a');
}

std::string cacheKey(
    const CIMNamespaceName& nameSpace,
    const CIMName& className,
    Boolean localOnly,
    Boolean includeQualifiers,
    Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    std::string key;
    key.reserve(64);
    appendLowerUtf8(key, nameSpace.getString());
    key += '\n';
    appendLowerUtf8(key, className.getString());
    key += '\n';
    key += localOnly ? '1' : '0';
    key += includeQualifiers ? '1' : '0';
    key += includeClassOrigin ? '1' : '0';
    if (propertyList.isNull())
    {
        key += "\nNULL";
    }
    else
    {
        key += "\nLIST";
        for (Uint32 i = 0; i < propertyList.size(); i++)
        {
            key += '\n';
            appendLowerUtf8(key, propertyList[i].getString());
        }
    }
    return key;
}

} // namespace

VELK_InternalCacheService::VELK_InternalCacheService()
{
}

VELK_InternalCacheService* VELK_InternalCacheService::getInstance()
{
    static VELK_InternalCacheService service;
    return &service;
}

CIMClass VELK_InternalCacheService::getStoredCIMClass(
    CIMOMHandle& handle,
    const OperationContext& context,
    const CIMNamespaceName& nameSpace,
    const CIMName& className,
    Boolean localOnly,
    Boolean includeQualifiers,
    Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    const std::string key = cacheKey(nameSpace, className, localOnly,
        includeQualifiers, includeClassOrigin, propertyList);
    {
        std::lock_guard<std::mutex> lock(_mutex);
        std::map<std::string, CIMClass>::const_iterator it = _classes.find(key);
        if (it != _classes.end())
            return it->second.clone();
    }

    // Asked outside the lock: the up-call may take a while, and two
    // threads asking for the same class both get the same answer.
    CIMClass cls = handle.getClass(context, nameSpace, className, localOnly,
        includeQualifiers, includeClassOrigin, propertyList);

    std::lock_guard<std::mutex> lock(_mutex);
    std::map<std::string, CIMClass>::iterator it = _classes.find(key);
    if (it == _classes.end())
        _classes.insert(std::make_pair(key, cls.clone()));
    return cls;
}

void VELK_InternalCacheService::clear()
{
    std::lock_guard<std::mutex> lock(_mutex);
    _classes.clear();
}

Uint32 VELK_InternalCacheService::size()
{
    std::lock_guard<std::mutex> lock(_mutex);
    return Uint32(_classes.size());
}

PEGASUS_NAMESPACE_END
