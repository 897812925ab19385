#include <Pegasus/Common/CIMInstance.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

//
// CIMInstanceRep
//

CIMInstanceRep::CIMInstanceRep(const CIMName& className)
    : CIMObjectRep(className)
{
}

CIMInstanceRep::CIMInstanceRep(const CIMObjectPath& reference_)
    : CIMObjectRep(reference_)
{
}

CIMInstanceRep::CIMInstanceRep(const CIMInstanceRep& x) : CIMObjectRep(x) {}

CIMObjectRep* CIMInstanceRep::cloneRep() const
{
    return new CIMInstanceRep(*this);
}

CIMObjectPath CIMInstanceRep::buildPath(const CIMClassRep* cimClass) const
{
    Array<CIMName> keyNames;
    cimClass->getKeyNames(keyNames);
    Array<CIMKeyBinding> keyBindings;
    keyBindings.reserveCapacity(keyNames.size());
    for (Uint32 i = 0; i < keyNames.size(); i++)
    {
        const CIMName& keyName = keyNames[i];
        Uint32 pos = findProperty(keyName);
        if (pos == PEG_NOT_FOUND)
            throw NoSuchProperty(keyName.getString());
        keyBindings.append(
            CIMKeyBinding(keyName, properties.at(pos)->value));
    }
    return CIMObjectPath(
        String(), CIMNamespaceName(), getClassName(), keyBindings);
}

void CIMInstanceRep::instanceFilter(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    if (!includeQualifiers)
        qualifiers.clear();
    if (!propertyList.isNull())
    {
        dropIndex();
        std::vector<CIMProperty>& handles = properties.handles();
        size_t kept = 0;
        for (size_t i = 0; i < handles.size(); i++)
        {
            CIMPropertyRep* rep = CIMRepAccess::rep(handles[i]);
            if (propertyList.contains(rep->name()))
            {
                if (kept != i)
                    handles[kept] = handles[i];
                kept++;
            }
            else
            {
                rep->dropOwner();
            }
        }
        handles.resize(kept);
    }
    if (!includeQualifiers || !includeClassOrigin)
    {
        properties.forEach([&](CIMPropertyRep* rep) {
            rep->strip(includeQualifiers, includeClassOrigin);
        });
    }
}

//
// CIMInstance
//

CIMInstance::CIMInstance() : _rep(0) {}

CIMInstance::CIMInstance(const CIMInstance& x) : _rep(repRef(x._rep)) {}

CIMInstance::CIMInstance(const CIMObject& x) : _rep(0)
{
    if (!x._rep || x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMInstanceRep*>(repRef(x._rep));
}

CIMInstance::CIMInstance(const CIMName& className)
    : _rep(new CIMInstanceRep(className))
{
}

CIMInstance& CIMInstance::operator=(const CIMInstance& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMInstance::~CIMInstance()
{
    repUnref(_rep);
}

const CIMName& CIMInstance::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMInstance::getPath() const
{
    return checkedRep(_rep)->reference;
}

void CIMInstance::setPath(const CIMObjectPath& path)
{
    checkedRep(_rep)->setPath(path);
}

CIMInstance& CIMInstance::addQualifier(const CIMQualifier& qualifier)
{
    checkedRep(_rep)->qualifiers.add(qualifier);
    return *this;
}

Uint32 CIMInstance::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMInstance::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMInstance::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMInstance::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMInstance::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

CIMInstance& CIMInstance::addProperty(const CIMProperty& x)
{
    checkedRep(_rep)->addProperty(x);
    return *this;
}

Uint32 CIMInstance::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMProperty CIMInstance::getProperty(Uint32 index)
{
    return CIMRepAccess::share<CIMProperty>(
        checkedRep(_rep)->propertyAt(index));
}

CIMConstProperty CIMInstance::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

void CIMInstance::removeProperty(Uint32 index)
{
    checkedRep(_rep)->removeProperty(index);
}

Uint32 CIMInstance::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

CIMObjectPath CIMInstance::buildPath(const CIMConstClass& cimClass) const
{
    return checkedRep(_rep)->buildPath(checkedRep(cimClass._rep));
}

CIMInstance CIMInstance::clone() const
{
    return CIMRepAccess::adopt<CIMInstance>(
        new CIMInstanceRep(*checkedRep(_rep)));
}

Boolean CIMInstance::identical(const CIMConstInstance& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMInstance::isUninitialized() const
{
    return _rep == 0;
}

void CIMInstance::filter(Boolean, Boolean, const CIMPropertyList&)
{
}

void CIMInstance::instanceFilter(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    checkedRep(_rep)->instanceFilter(
        includeQualifiers, includeClassOrigin, propertyList);
}

//
// CIMConstInstance
//

CIMConstInstance::CIMConstInstance() : _rep(0) {}

CIMConstInstance::CIMConstInstance(const CIMConstInstance& x)
    : _rep(repRef(x._rep))
{
}

CIMConstInstance::CIMConstInstance(const CIMInstance& x)
    : _rep(repRef(x._rep))
{
}

CIMConstInstance::CIMConstInstance(const CIMObject& x) : _rep(0)
{
    if (!x._rep || x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMInstanceRep*>(repRef(x._rep));
}

CIMConstInstance::CIMConstInstance(const CIMConstObject& x) : _rep(0)
{
    if (!x._rep || x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMInstanceRep*>(repRef(x._rep));
}

CIMConstInstance::CIMConstInstance(const CIMName& className)
    : _rep(new CIMInstanceRep(className))
{
}

CIMConstInstance& CIMConstInstance::operator=(const CIMConstInstance& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstInstance& CIMConstInstance::operator=(const CIMInstance& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstInstance::~CIMConstInstance()
{
    repUnref(_rep);
}

const CIMName& CIMConstInstance::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMConstInstance::getPath() const
{
    return checkedRep(_rep)->reference;
}

Uint32 CIMConstInstance::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstInstance::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstInstance::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Uint32 CIMConstInstance::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMConstProperty CIMConstInstance::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

Uint32 CIMConstInstance::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

CIMObjectPath CIMConstInstance::buildPath(const CIMConstClass& cimClass) const
{
    return checkedRep(_rep)->buildPath(checkedRep(cimClass._rep));
}

CIMInstance CIMConstInstance::clone() const
{
    return CIMRepAccess::adopt<CIMInstance>(
        new CIMInstanceRep(*checkedRep(_rep)));
}

Boolean CIMConstInstance::identical(const CIMConstInstance& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMConstInstance::isUninitialized() const
{
    return _rep == 0;
}

PEGASUS_NAMESPACE_END
