#include <Pegasus/Common/CIMObject.h>
#include <CimXml/XmlWriter.h>
#include "ObjectModelReps.h"
#include "CIMPropertyIndex.h"

PEGASUS_NAMESPACE_BEGIN

//
// CIMObjectRep
//

CIMObjectRep::CIMObjectRep(const CIMName& className) : nameIndex(0)
{
    checkName(className);
    CIMName name(className);
    internName(name);
    reference.setClassName(name);
}

CIMObjectRep::CIMObjectRep(const CIMObjectPath& reference_)
    : reference(reference_), nameIndex(0)
{
}

CIMObjectRep::CIMObjectRep(const CIMObjectRep& x)
    : RefCountedRep(), reference(x.reference),
      nameIndex(CIMPropertyIndex::ref(x.nameIndex.load(std::memory_order_acquire)))
{
    qualifiers.cloneFrom(x.qualifiers);
    properties.copyFrom(x.properties, x.properties.size(), true, true,
        [](const CIMPropertyRep*) { return true; });
}

CIMObjectRep::~CIMObjectRep()
{
    CIMPropertyIndex::unref(nameIndex.load(std::memory_order_acquire));
}

CIMPropertyIndex* CIMObjectRep::propertyIndex() const
{
    CIMPropertyIndex* current = nameIndex.load(std::memory_order_acquire);
    if (current || properties.size() < CIMPropertyIndex::MIN_PROPERTIES)
        return current;
    CIMPropertyIndex* made = CIMPropertyIndex::make(properties);
    if (nameIndex.compare_exchange_strong(current, made,
            std::memory_order_acq_rel, std::memory_order_acquire))
    {
        return made;
    }
    // Another thread made one first.
    CIMPropertyIndex::unref(made);
    return current;
}

void CIMObjectRep::dropIndex()
{
    CIMPropertyIndex::unref(nameIndex.exchange(0, std::memory_order_acq_rel));
}

void CIMObjectRep::setPath(const CIMObjectPath& path)
{
    const CIMName& className = path.getClassName();
    if (className.isNull())
        throw UninitializedObjectException();
    if (!className.equal(getClassName()))
        throw TypeMismatchException();
    reference = path;
}

void CIMObjectRep::addProperty(const CIMProperty& x)
{
    const CIMPropertyRep* rep = checkedRep(CIMRepAccess::rep(x));
    if (findProperty(rep->name()) != PEG_NOT_FOUND)
        throw AlreadyExistsException(quotedName("property", rep->name()));
    appendProperty(x);
}

void CIMObjectRep::appendProperty(const CIMProperty& p)
{
    if (properties.size() >= MAX_CONTAINER_ELEMENTS)
        throw TooManyElementsException();
    properties.append(p);
    CIMRepAccess::rep(p)->addOwner();
    dropIndex();
}

Uint32 CIMObjectRep::findProperty(const CIMName& name) const
{
    const Uint32 hash = nameHash(name);
    if (const CIMPropertyIndex* known = nameIndex.load(std::memory_order_acquire))
        return known->find(properties, name, hash);
    for (Uint32 i = 0, n = properties.size(); i < n; i++)
    {
        const CIMPropertyRep* rep = properties.at(i);
        if (rep->hash() == hash && rep->name().equal(name))
            return i;
    }
    return PEG_NOT_FOUND;
}

CIMPropertyRep* CIMObjectRep::propertyAt(Uint32 index) const
{
    checkIndex(index, propertyCount());
    return properties.at(index);
}

void CIMObjectRep::removeProperty(Uint32 index)
{
    propertyAt(index)->dropOwner();
    properties.erase(index);
    dropIndex();
}

Boolean CIMObjectRep::identical(const CIMObjectRep* x) const
{
    if (this == x)
        return true;
    if (isClass() != x->isClass() || !reference.identical(x->reference) ||
        !qualifiers.identical(x->qualifiers) ||
        properties.size() != x->properties.size())
    {
        return false;
    }
    for (Uint32 i = 0; i < properties.size(); i++)
    {
        if (!properties.at(i)->identical(x->properties.at(i)))
        {
            return false;
        }
    }
    return true;
}

//
// CIMObject
//

CIMObject::CIMObject() : _rep(0) {}

CIMObject::CIMObject(const CIMObject& x) : _rep(repRef(x._rep)) {}

CIMObject::CIMObject(const CIMClass& x) : _rep(repRef(x._rep)) {}

CIMObject::CIMObject(const CIMInstance& x) : _rep(repRef(x._rep)) {}

CIMObject& CIMObject::operator=(const CIMObject& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMObject::~CIMObject()
{
    repUnref(_rep);
}

const CIMName& CIMObject::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMObject::getPath() const
{
    return checkedRep(_rep)->reference;
}

void CIMObject::setPath(const CIMObjectPath& path)
{
    checkedRep(_rep)->setPath(path);
}

CIMObject& CIMObject::addQualifier(const CIMQualifier& qualifier)
{
    checkedRep(_rep)->qualifiers.add(qualifier);
    return *this;
}

Uint32 CIMObject::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMObject::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMObject::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMObject::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMObject::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

CIMObject& CIMObject::addProperty(const CIMProperty& x)
{
    checkedRep(_rep)->addProperty(x);
    return *this;
}

Uint32 CIMObject::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMProperty CIMObject::getProperty(Uint32 index)
{
    return CIMRepAccess::share<CIMProperty>(
        checkedRep(_rep)->propertyAt(index));
}

CIMConstProperty CIMObject::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

void CIMObject::removeProperty(Uint32 index)
{
    checkedRep(_rep)->removeProperty(index);
}

Uint32 CIMObject::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

CIMObject CIMObject::clone() const
{
    return CIMRepAccess::adopt<CIMObject>(checkedRep(_rep)->cloneRep());
}

Boolean CIMObject::identical(const CIMConstObject& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMObject::isUninitialized() const
{
    return _rep == 0;
}

String CIMObject::toString() const
{
    checkedRep(_rep);
    return XmlWriter::objectToXml(*this);
}

Boolean CIMObject::isClass() const
{
    return _rep && _rep->isClass();
}

Boolean CIMObject::isInstance() const
{
    return _rep && !_rep->isClass();
}

//
// CIMConstObject
//

CIMConstObject::CIMConstObject() : _rep(0) {}

CIMConstObject::CIMConstObject(const CIMConstObject& x) : _rep(repRef(x._rep))
{
}

CIMConstObject::CIMConstObject(const CIMObject& x) : _rep(repRef(x._rep)) {}

CIMConstObject::CIMConstObject(const CIMClass& x) : _rep(repRef(x._rep)) {}

CIMConstObject::CIMConstObject(const CIMInstance& x) : _rep(repRef(x._rep))
{
}

CIMConstObject::CIMConstObject(const CIMConstClass& x) : _rep(repRef(x._rep))
{
}

CIMConstObject::CIMConstObject(const CIMConstInstance& x)
    : _rep(repRef(x._rep))
{
}

CIMConstObject& CIMConstObject::operator=(const CIMConstObject& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstObject::~CIMConstObject()
{
    repUnref(_rep);
}

const CIMName& CIMConstObject::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMConstObject::getPath() const
{
    return checkedRep(_rep)->reference;
}

Uint32 CIMConstObject::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstObject::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstObject::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Uint32 CIMConstObject::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMConstProperty CIMConstObject::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

Uint32 CIMConstObject::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

CIMObject CIMConstObject::clone() const
{
    return CIMRepAccess::adopt<CIMObject>(checkedRep(_rep)->cloneRep());
}

Boolean CIMConstObject::identical(const CIMConstObject& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMConstObject::isUninitialized() const
{
    return _rep == 0;
}

String CIMConstObject::toString() const
{
    checkedRep(_rep);
    return XmlWriter::objectToXml(*this);
}

Boolean CIMConstObject::isClass() const
{
    return _rep && _rep->isClass();
}

Boolean CIMConstObject::isInstance() const
{
    return _rep && !_rep->isClass();
}

PEGASUS_NAMESPACE_END
