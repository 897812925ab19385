#include <Pegasus/Common/CIMProperty.h>
#include "ObjectModelReps.h"
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

//
// CIMPropertyDefinition
//

CIMPropertyDefinition::CIMPropertyDefinition(const CIMName& name_,
    Uint32 arraySize_, const CIMName& referenceClassName_,
    const CIMName& classOrigin_, Boolean propagated_)
    : name(name_), hash(0), arraySize(arraySize_),
      referenceClassName(referenceClassName_), classOrigin(classOrigin_),
      propagated(propagated_), _variants{}
{
    checkName(name);
    internName(name);
    hash = nameHash(name);
}

CIMPropertyDefinition::CIMPropertyDefinition(const CIMPropertyDefinition& x,
    Boolean withQualifiers, Boolean withClassOrigin)
    : RefCountedRep(), name(x.name), hash(x.hash), arraySize(x.arraySize),
      referenceClassName(x.referenceClassName),
      classOrigin(withClassOrigin ? x.classOrigin : CIMName()),
      propagated(x.propagated), _variants{}
{
    if (withQualifiers)
        qualifiers.cloneFrom(x.qualifiers);
}

CIMPropertyDefinition::~CIMPropertyDefinition()
{
    forgetVariants();
}

CIMPropertyDefinition* CIMPropertyDefinition::shareLeavingOut(
    CIMPropertyDefinition* x, Boolean withQualifiers, Boolean withClassOrigin)
{
    const Boolean noQualifiers = !withQualifiers && x->qualifiers.size() != 0;
    const Boolean noClassOrigin = !withClassOrigin && !x->classOrigin.isNull();
    // Qualifiers that a handle outside may still change are copied afresh
    // every time; without them, nothing of x can change under the copy.
    if (!noQualifiers && x->qualifiers.heldElsewhere())
    {
        return new CIMPropertyDefinition(*x, true, !noClassOrigin);
    }
    if (!noQualifiers && !noClassOrigin)
        return repRef(x);
    std::atomic<CIMPropertyDefinition*>& slot =
        x->_variants[noQualifiers && noClassOrigin ? 2 : noQualifiers ? 0 : 1];
    CIMPropertyDefinition* known = slot.load(std::memory_order_acquire);
    if (!known)
    {
        CIMPropertyDefinition* made =
            new CIMPropertyDefinition(*x, !noQualifiers, !noClassOrigin);
        // Another thread may have made one first; either serves.
        if (slot.compare_exchange_strong(known, made,
                std::memory_order_acq_rel, std::memory_order_acquire))
        {
            known = made;
        }
        else
        {
            repUnref(made);
        }
    }
    return repRef(known);
}

void CIMPropertyDefinition::forgetVariants()
{
    for (std::atomic<CIMPropertyDefinition*>& slot : _variants)
    {
        if (slot.load(std::memory_order_acquire))
            repUnref(slot.exchange(0, std::memory_order_acq_rel));
    }
}

void CIMPropertyDefinition::setName(const CIMName& name_)
{
    name = name_;
    internName(name);
    hash = nameHash(name);
}

Boolean CIMPropertyDefinition::identical(const CIMPropertyDefinition* x) const
{
    if (this == x)
        return true;
    return name.equal(x->name) &&
        referenceClassName.equal(x->referenceClassName) &&
        qualifiers.identical(x->qualifiers) &&
        classOrigin.equal(x->classOrigin) && propagated == x->propagated;
}

//
// CIMPropertyRep
//

CIMPropertyRep::CIMPropertyRep(const CIMName& name_, const CIMValue& value_,
    Uint32 arraySize_, const CIMName& referenceClassName_,
    const CIMName& classOrigin_, Boolean propagated_)
    : _place(0), def(0), value(value_)
{
    // The checks come first: a throw from here frees only the value.
    checkName(name_);
    if (arraySize_ &&
        (!value.isArray() || value.getArraySize() != arraySize_))
    {
        throw TypeMismatchException();
    }
    // Arrays of references are not allowed.
    if (value.isArray() && value.getType() == CIMTYPE_REFERENCE)
        throw TypeMismatchException();
    if (!referenceClassName_.isNull() && value.getType() != CIMTYPE_REFERENCE)
        throw TypeMismatchException();
    def = new CIMPropertyDefinition(name_, arraySize_, referenceClassName_,
        classOrigin_, propagated_);
}

void CIMPropertyRep::addOwner()
{
    // The count must not run into the slot; no property belongs to that many
    // containers but by mistake.
    if ((_place.fetch_add(1, std::memory_order_relaxed) & OWNERS) == OWNERS)
    {
        _place.fetch_sub(1, std::memory_order_relaxed);
        throw TooManyElementsException();
    }
}

CIMPropertyDefinition* CIMPropertyRep::ownDefinition()
{
    if (def->refs.load(std::memory_order_acquire) != 1)
    {
        CIMPropertyDefinition* mine = new CIMPropertyDefinition(*def, true, true);
        repUnref(def);
        def = mine;
    }
    else
    {
        def->forgetVariants();
    }
    return def;
}

void CIMPropertyRep::strip(Boolean withQualifiers, Boolean withClassOrigin)
{
    if ((withQualifiers || def->qualifiers.size() == 0) &&
        (withClassOrigin || def->classOrigin.isNull()))
    {
        return;
    }
    CIMPropertyDefinition* stripped =
        CIMPropertyDefinition::share(def, withQualifiers, withClassOrigin);
    repUnref(def);
    def = stripped;
}

void repDelete(CIMPropertyRep* rep)
{
    if (rep->slot())
        CIMPropertyBlock::release(rep);
    else
        delete rep;
}

Boolean CIMPropertyRep::identical(const CIMPropertyRep* x) const
{
    if (this == x)
        return true;
    return value.equal(x->value) && def->identical(x->def);
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
    return checkedRep(_rep)->def->name;
}

void CIMProperty::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    if (_rep->owned())
    {
        throw Exception(String(
            "Attempted to change the name of a property already in a "
            "container."));
    }
    _rep->ownDefinition()->setName(name);
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
    const Uint32 arraySize = _rep->def->arraySize;
    if (arraySize && !value.isNull() && value.getArraySize() != arraySize)
    {
        throw TypeMismatchException();
    }
    _rep->value = value;
}

Uint32 CIMProperty::getArraySize() const
{
    return checkedRep(_rep)->def->arraySize;
}

const CIMName& CIMProperty::getReferenceClassName() const
{
    return checkedRep(_rep)->def->referenceClassName;
}

const CIMName& CIMProperty::getClassOrigin() const
{
    return checkedRep(_rep)->def->classOrigin;
}

void CIMProperty::setClassOrigin(const CIMName& classOrigin)
{
    checkedRep(_rep)->ownDefinition()->classOrigin = classOrigin;
}

Boolean CIMProperty::getPropagated() const
{
    return checkedRep(_rep)->def->propagated;
}

void CIMProperty::setPropagated(Boolean propagated)
{
    checkedRep(_rep)->ownDefinition()->propagated = propagated;
}

CIMProperty& CIMProperty::addQualifier(const CIMQualifier& x)
{
    CIMPropertyDefinition* def = checkedRep(_rep)->ownDefinition();
    def->qualifiers.add(x);
    return *this;
}

Uint32 CIMProperty::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->def->qualifiers.find(name);
}

CIMQualifier CIMProperty::getQualifier(Uint32 index)
{
    CIMPropertyRep* rep = checkedRep(_rep);
    rep->def->qualifiers.at(index);
    // The handle may change the qualifier: it must be this property's alone.
    return CIMRepAccess::share<CIMQualifier>(
        rep->ownDefinition()->qualifiers.at(index));
}

CIMConstQualifier CIMProperty::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->def->qualifiers.at(index));
}

void CIMProperty::removeQualifier(Uint32 index)
{
    CIMPropertyRep* rep = checkedRep(_rep);
    checkIndex(index, rep->def->qualifiers.size());
    rep->ownDefinition()->qualifiers.remove(index);
}

Uint32 CIMProperty::getQualifierCount() const
{
    return checkedRep(_rep)->def->qualifiers.size();
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
    return checkedRep(_rep)->def->name;
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
    return checkedRep(_rep)->def->arraySize;
}

const CIMName& CIMConstProperty::getReferenceClassName() const
{
    return checkedRep(_rep)->def->referenceClassName;
}

const CIMName& CIMConstProperty::getClassOrigin() const
{
    return checkedRep(_rep)->def->classOrigin;
}

Boolean CIMConstProperty::getPropagated() const
{
    return checkedRep(_rep)->def->propagated;
}

Uint32 CIMConstProperty::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->def->qualifiers.find(name);
}

CIMConstQualifier CIMConstProperty::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->def->qualifiers.at(index));
}

Uint32 CIMConstProperty::getQualifierCount() const
{
    return checkedRep(_rep)->def->qualifiers.size();
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
