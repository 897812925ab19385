#include <Pegasus/Common/CIMClass.h>
#include "ObjectModelReps.h"
#include "CIMPropertyIndex.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

const CIMName& keyQualifierName()
{
    static const CIMName name("Key");
    return name;
}

const CIMName& associationQualifierName()
{
    static const CIMName name("Association");
    return name;
}

const CIMName& abstractQualifierName()
{
    static const CIMName name("Abstract");
    return name;
}

}

//
// CIMClassRep
//

CIMClassRep::CIMClassRep(const CIMName& className,
    const CIMName& superClassName_)
    : CIMObjectRep(className), superClassName(superClassName_)
{
    makeInstanceReference();
}

CIMClassRep::CIMClassRep(const CIMClassRep& x)
    : CIMObjectRep(x), superClassName(x.superClassName),
      instanceReference(x.instanceReference)
{
    methods.reserve(x.methods.size());
    for (const CIMMethod& m : x.methods)
    {
        CIMMethodRep* rep = new CIMMethodRep(*CIMRepAccess::rep(m));
        rep->ownerCount = 1;
        methods.push_back(CIMRepAccess::adopt<CIMMethod>(rep));
    }
}

void CIMClassRep::makeInstanceReference()
{
    CIMObjectPath path;
    path.setClassName(getClassName());
    instanceReference = path;
}

void CIMClassRep::setPath(const CIMObjectPath& path)
{
    CIMObjectRep::setPath(path);
    makeInstanceReference();
}

CIMClassRep::~CIMClassRep()
{
    for (const CIMMethod& m : methods)
        CIMRepAccess::rep(m)->ownerCount--;
}

CIMObjectRep* CIMClassRep::cloneRep() const
{
    return new CIMClassRep(*this);
}

Boolean CIMClassRep::identical(const CIMObjectRep* x) const
{
    if (this == x)
        return true;
    if (!CIMObjectRep::identical(x))
        return false;
    const CIMClassRep* c = static_cast<const CIMClassRep*>(x);
    if (!superClassName.equal(c->superClassName) ||
        methods.size() != c->methods.size())
    {
        return false;
    }
    for (size_t i = 0; i < methods.size(); i++)
    {
        if (!CIMRepAccess::rep(methods[i])->identical(
                CIMRepAccess::rep(c->methods[i])))
        {
            return false;
        }
    }
    return true;
}

void CIMClassRep::addProperty(const CIMProperty& x)
{
    const CIMPropertyRep* rep = checkedRep(CIMRepAccess::rep(x));
    // A reference property of a class must name the class it refers to.
    if (rep->value.getType() == CIMTYPE_REFERENCE &&
        rep->def->referenceClassName.isNull())
    {
        throw TypeMismatchException();
    }
    CIMObjectRep::addProperty(x);
}

void CIMClassRep::addMethod(const CIMMethod& x)
{
    CIMMethodRep* rep = checkedRep(CIMRepAccess::rep(x));
    if (findMethod(rep->name) != PEG_NOT_FOUND)
        throw AlreadyExistsException(quotedName("method", rep->name));
    if (methods.size() >= MAX_CONTAINER_ELEMENTS)
        throw TooManyElementsException();
    methods.push_back(x);
    rep->ownerCount++;
}

Uint32 CIMClassRep::findMethod(const CIMName& name) const
{
    for (size_t i = 0, n = methods.size(); i < n; i++)
    {
        if (CIMRepAccess::rep(methods[i])->name.equal(name))
            return Uint32(i);
    }
    return PEG_NOT_FOUND;
}

CIMMethodRep* CIMClassRep::methodAt(Uint32 index) const
{
    checkIndex(index, Uint32(methods.size()));
    return CIMRepAccess::rep(methods[index]);
}

void CIMClassRep::removeMethod(Uint32 index)
{
    methodAt(index)->ownerCount--;
    methods.erase(methods.begin() + index);
}

void CIMClassRep::getKeyNames(Array<CIMName>& keyNames) const
{
    keyNames.clear();
    properties.forEach([&](const CIMPropertyRep* rep) {
        if (rep->def->qualifiers.isTrue(keyQualifierName()))
            keyNames.append(rep->name());
    });
}

Boolean CIMClassRep::hasKeys() const
{
    for (Uint32 i = 0, n = properties.size(); i < n; i++)
    {
        if (properties.at(i)->def->qualifiers.isTrue(keyQualifierName()))
            return true;
    }
    return false;
}

CIMInstance CIMClassRep::buildInstance(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList) const
{
    CIMInstanceRep* rep = new CIMInstanceRep(instanceReference);
    CIMInstance instance = CIMRepAccess::adopt<CIMInstance>(rep);
    if (includeQualifiers)
        rep->qualifiers.cloneFrom(qualifiers);

    const Boolean all = propertyList.isNull();
    const Uint32 n = propertyCount();
    const Uint32 most = all || propertyList.size() > n ? n : propertyList.size();
    rep->properties.copyFrom(properties, most, includeQualifiers,
        includeClassOrigin, [&](const CIMPropertyRep* source) {
            return all || propertyList.contains(source->name());
        });
    // With every property, the instance's names stand where the class's do.
    if (all)
        rep->nameIndex.store(CIMPropertyIndex::ref(propertyIndex()), std::memory_order_release);
    return instance;
}

//
// CIMClass
//

CIMClass::CIMClass() : _rep(0) {}

CIMClass::CIMClass(const CIMClass& x) : _rep(repRef(x._rep)) {}

CIMClass::CIMClass(const CIMObject& x) : _rep(0)
{
    if (!x._rep || !x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMClassRep*>(repRef(x._rep));
}

CIMClass::CIMClass(const CIMName& className, const CIMName& superClassName)
    : _rep(new CIMClassRep(className, superClassName))
{
}

CIMClass& CIMClass::operator=(const CIMClass& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMClass::~CIMClass()
{
    repUnref(_rep);
}

Boolean CIMClass::isAssociation() const
{
    return checkedRep(_rep)->qualifiers.isTrue(associationQualifierName());
}

Boolean CIMClass::isAbstract() const
{
    return checkedRep(_rep)->qualifiers.isTrue(abstractQualifierName());
}

const CIMName& CIMClass::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMClass::getPath() const
{
    return checkedRep(_rep)->reference;
}

void CIMClass::setPath(const CIMObjectPath& path)
{
    checkedRep(_rep)->setPath(path);
}

const CIMName& CIMClass::getSuperClassName() const
{
    return checkedRep(_rep)->superClassName;
}

void CIMClass::setSuperClassName(const CIMName& superClassName)
{
    checkedRep(_rep)->superClassName = superClassName;
}

CIMClass& CIMClass::addQualifier(const CIMQualifier& qualifier)
{
    checkedRep(_rep)->qualifiers.add(qualifier);
    return *this;
}

Uint32 CIMClass::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMClass::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMClass::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMClass::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMClass::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

CIMClass& CIMClass::addProperty(const CIMProperty& x)
{
    checkedRep(_rep)->addProperty(x);
    return *this;
}

Uint32 CIMClass::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMProperty CIMClass::getProperty(Uint32 index)
{
    return CIMRepAccess::share<CIMProperty>(
        checkedRep(_rep)->propertyAt(index));
}

CIMConstProperty CIMClass::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

void CIMClass::removeProperty(Uint32 index)
{
    checkedRep(_rep)->removeProperty(index);
}

Uint32 CIMClass::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

CIMClass& CIMClass::addMethod(const CIMMethod& x)
{
    checkedRep(_rep)->addMethod(x);
    return *this;
}

Uint32 CIMClass::findMethod(const CIMName& name) const
{
    return checkedRep(_rep)->findMethod(name);
}

CIMMethod CIMClass::getMethod(Uint32 index)
{
    return CIMRepAccess::share<CIMMethod>(checkedRep(_rep)->methodAt(index));
}

CIMConstMethod CIMClass::getMethod(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstMethod>(
        checkedRep(_rep)->methodAt(index));
}

void CIMClass::removeMethod(Uint32 index)
{
    checkedRep(_rep)->removeMethod(index);
}

Uint32 CIMClass::getMethodCount() const
{
    return Uint32(checkedRep(_rep)->methods.size());
}

void CIMClass::getKeyNames(Array<CIMName>& keyNames) const
{
    checkedRep(_rep)->getKeyNames(keyNames);
}

Boolean CIMClass::hasKeys() const
{
    return checkedRep(_rep)->hasKeys();
}

CIMClass CIMClass::clone() const
{
    return CIMRepAccess::adopt<CIMClass>(new CIMClassRep(*checkedRep(_rep)));
}

Boolean CIMClass::identical(const CIMConstClass& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMClass::isUninitialized() const
{
    return _rep == 0;
}

CIMInstance CIMClass::buildInstance(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList) const
{
    return checkedRep(_rep)->buildInstance(
        includeQualifiers, includeClassOrigin, propertyList);
}

//
// CIMConstClass
//

CIMConstClass::CIMConstClass() : _rep(0) {}

CIMConstClass::CIMConstClass(const CIMConstClass& x) : _rep(repRef(x._rep)) {}

CIMConstClass::CIMConstClass(const CIMClass& x) : _rep(repRef(x._rep)) {}

CIMConstClass::CIMConstClass(const CIMObject& x) : _rep(0)
{
    if (!x._rep || !x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMClassRep*>(repRef(x._rep));
}

CIMConstClass::CIMConstClass(const CIMConstObject& x) : _rep(0)
{
    if (!x._rep || !x._rep->isClass())
        throw DynamicCastFailedException();
    _rep = static_cast<CIMClassRep*>(repRef(x._rep));
}

CIMConstClass::CIMConstClass(const CIMName& className,
    const CIMName& superClassName)
    : _rep(new CIMClassRep(className, superClassName))
{
}

CIMConstClass& CIMConstClass::operator=(const CIMConstClass& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstClass& CIMConstClass::operator=(const CIMClass& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstClass::~CIMConstClass()
{
    repUnref(_rep);
}

Boolean CIMConstClass::isAssociation() const
{
    return checkedRep(_rep)->qualifiers.isTrue(associationQualifierName());
}

Boolean CIMConstClass::isAbstract() const
{
    return checkedRep(_rep)->qualifiers.isTrue(abstractQualifierName());
}

const CIMName& CIMConstClass::getClassName() const
{
    return checkedRep(_rep)->getClassName();
}

const CIMObjectPath& CIMConstClass::getPath() const
{
    return checkedRep(_rep)->reference;
}

const CIMName& CIMConstClass::getSuperClassName() const
{
    return checkedRep(_rep)->superClassName;
}

Uint32 CIMConstClass::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstClass::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstClass::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Uint32 CIMConstClass::findProperty(const CIMName& name) const
{
    return checkedRep(_rep)->findProperty(name);
}

CIMConstProperty CIMConstClass::getProperty(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstProperty>(
        checkedRep(_rep)->propertyAt(index));
}

Uint32 CIMConstClass::getPropertyCount() const
{
    return checkedRep(_rep)->propertyCount();
}

Uint32 CIMConstClass::findMethod(const CIMName& name) const
{
    return checkedRep(_rep)->findMethod(name);
}

CIMConstMethod CIMConstClass::getMethod(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstMethod>(
        checkedRep(_rep)->methodAt(index));
}

Uint32 CIMConstClass::getMethodCount() const
{
    return Uint32(checkedRep(_rep)->methods.size());
}

void CIMConstClass::getKeyNames(Array<CIMName>& keyNames) const
{
    checkedRep(_rep)->getKeyNames(keyNames);
}

Boolean CIMConstClass::hasKeys() const
{
    return checkedRep(_rep)->hasKeys();
}

CIMClass CIMConstClass::clone() const
{
    return CIMRepAccess::adopt<CIMClass>(new CIMClassRep(*checkedRep(_rep)));
}

Boolean CIMConstClass::identical(const CIMConstClass& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

Boolean CIMConstClass::isUninitialized() const
{
    return _rep == 0;
}

PEGASUS_NAMESPACE_END
