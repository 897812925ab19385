#include <Pegasus/Common/CIMProperty.h>
#include "ObjectModelReps.h"
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

CIMPropertyRep::CIMPropertyRep(const CIMName& name_, const CIMValue& value_,
    Uint32 arraySize_, const CIMName& referenceClassName_,
    const CIMName& classOrigin_, Boolean propagated_)
    : name(name_), value(value_), arraySize(arraySize_),
      referenceClassName(referenceClassName_), classOrigin(classOrigin_),
      propagated(propagated_), ownerCount(0), block(0)
{
    checkName(name);
    hash = nameHash(name);
    if (arraySize &&
        (!value.isArray() || value.getArraySize() != arraySize))
    {
        throw TypeMismatchException();
    }
    // Arrays of references are not allowed.
    if (value.isArray() && value.getType() == CIMTYPE_REFERENCE)
        throw TypeMismatchException();
    if (!referenceClassName.isNull() && value.getType() != CIMTYPE_REFERENCE)
        throw TypeMismatchException();
}

CIMPropertyRep::CIMPropertyRep(const CIMPropertyRep& x,
    Boolean withQualifiers, Boolean withClassOrigin)
    : RefCountedRep(), name(x.name), hash(x.hash), value(x.value),
      arraySize(x.arraySize),
      referenceClassName(x.referenceClassName),
      classOrigin(withClassOrigin ? x.classOrigin : CIMName()),
      propagated(x.propagated), ownerCount(0), block(0)
{
    if (withQualifiers)
        qualifiers.cloneFrom(x.qualifiers);
}

void repDelete(CIMPropertyRep* rep)
{
    if (rep->block)
        CIMPropertyBlock::release(rep);
    else
        delete rep;
}

void CIMPropertyRep::setName(const CIMName& name_)
{
    name = name_;
    hash = nameHash(name);
}

Boolean CIMPropertyRep::identical(const CIMPropertyRep* x) const
{
    if (this == x)
        return true;
    return name.equal(x->name) && value.equal(x->value) &&
        referenceClassName.equal(x->referenceClassName) &&
        qualifiers.identical(x->qualifiers) &&
        classOrigin.equal(x->classOrigin) && propagated == x->propagated;
}

//
// CIMProperty
//

CIMProperty::CIMProperty() : _rep(0) {}

CIMProperty::CIMProperty(const CIMProperty& x) : _rep(repRef(x._rep)) {}

CIMProperty::CIMProperty(const CIMName& name, const CIMValue& value,
    Uint32 arraySize, const CIMName& referenceClassName,
    const CIMName& classOrigin, Boolean propagated)
    : _rep(new CIMPropertyRep(name, value, arraySize, referenceClassName,
          classOrigin, propagated))
{
}

CIMProperty::~CIMProperty()
{
    repUnref(_rep);
}

CIMProperty& CIMProperty::operator=(const CIMProperty& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMProperty::getName() const
{
    return checkedRep(_rep)->name;
}

void CIMProperty::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    if (_rep->ownerCount)
    {
        throw Exception(String(
            "Attempted to change the name of a property already in a "
            "container."));
    }
    _rep->setName(name);
}

const CIMValue& CIMProperty::getValue() const
{
    return checkedRep(_rep)->value;
}

CIMType CIMProperty::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMProperty::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

void CIMProperty::setValue(const CIMValue& value)
{
    checkedRep(_rep);
    if (!value.typeCompatible(_rep->value))
        throw TypeMismatchException();
    if (_rep->arraySize && !value.isNull() &&
        value.getArraySize() != _rep->arraySize)
    {
        throw TypeMismatchException();
    }
    _rep->value = value;
}

Uint32 CIMProperty::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

const CIMName& CIMProperty::getReferenceClassName() const
{
    return checkedRep(_rep)->referenceClassName;
}

const CIMName& CIMProperty::getClassOrigin() const
{
    return checkedRep(_rep)->classOrigin;
}

void CIMProperty::setClassOrigin(const CIMName& classOrigin)
{
    checkedRep(_rep)->classOrigin = classOrigin;
}

Boolean CIMProperty::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

void CIMProperty::setPropagated(Boolean propagated)
{
    checkedRep(_rep)->propagated = propagated;
}

CIMProperty& CIMProperty::addQualifier(const CIMQualifier& x)
{
    checkedRep(_rep)->qualifiers.add(x);
    return *this;
}

Uint32 CIMProperty::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMProperty::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMProperty::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMProperty::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMProperty::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Boolean CIMProperty::identical(const CIMConstProperty& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMProperty CIMProperty::clone() const
{
    return CIMRepAccess::adopt<CIMProperty>(
        new CIMPropertyRep(*checkedRep(_rep), true, true));
}

Boolean CIMProperty::isUninitialized() const
{
    return _rep == 0;
}

//
// CIMConstProperty
//

CIMConstProperty::CIMConstProperty() : _rep(0) {}

CIMConstProperty::CIMConstProperty(const CIMConstProperty& x)
    : _rep(repRef(x._rep))
{
}

CIMConstProperty::CIMConstProperty(const CIMProperty& x)
    : _rep(repRef(x._rep))
{
}

CIMConstProperty::CIMConstProperty(const CIMName& name, const CIMValue& value,
    Uint32 arraySize, const CIMName& referenceClassName,
    const CIMName& classOrigin, Boolean propagated)
    : _rep(new CIMPropertyRep(name, value, arraySize, referenceClassName,
          classOrigin, propagated))
{
}

CIMConstProperty::~CIMConstProperty()
{
    repUnref(_rep);
}

CIMConstProperty& CIMConstProperty::operator=(const CIMConstProperty& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstProperty& CIMConstProperty::operator=(const CIMProperty& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMConstProperty::getName() const
{
    return checkedRep(_rep)->name;
}

const CIMValue& CIMConstProperty::getValue() const
{
    return checkedRep(_rep)->value;
}

CIMType CIMConstProperty::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMConstProperty::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

Uint32 CIMConstProperty::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

const CIMName& CIMConstProperty::getReferenceClassName() const
{
    return checkedRep(_rep)->referenceClassName;
}

const CIMName& CIMConstProperty::getClassOrigin() const
{
    return checkedRep(_rep)->classOrigin;
}

Boolean CIMConstProperty::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

Uint32 CIMConstProperty::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstProperty::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstProperty::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Boolean CIMConstProperty::identical(const CIMConstProperty& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMProperty CIMConstProperty::clone() const
{
    return CIMRepAccess::adopt<CIMProperty>(
        new CIMPropertyRep(*checkedRep(_rep), true, true));
}

Boolean CIMConstProperty::isUninitialized() const
{
    return _rep == 0;
}

PEGASUS_NAMESPACE_END
