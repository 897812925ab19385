#include <Pegasus/Common/CIMQualifier.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

CIMQualifierRep::CIMQualifierRep(const CIMName& name_, const CIMValue& value_,
    const CIMFlavor& flavor_, Uint32 propagated_)
    : name(name_), value(value_), flavor(flavor_), propagated(propagated_)
{
    checkName(name);
}

Boolean CIMQualifierRep::identical(const CIMQualifierRep* x) const
{
    return this == x ||
        (name.equal(x->name) && value.equal(x->value) &&
         flavor.equal(x->flavor) && propagated == x->propagated);
}

//
// CIMQualifier
//

CIMQualifier::CIMQualifier() : _rep(0) {}

CIMQualifier::CIMQualifier(const CIMQualifier& x) : _rep(repRef(x._rep)) {}

CIMQualifier::CIMQualifier(const CIMName& name, const CIMValue& value,
    const CIMFlavor& flavor, Boolean propagated)
    : _rep(new CIMQualifierRep(name, value, flavor, propagated ? 1 : 0))
{
}

CIMQualifier::~CIMQualifier()
{
    repUnref(_rep);
}

CIMQualifier& CIMQualifier::operator=(const CIMQualifier& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMQualifier::getName() const
{
    return checkedRep(_rep)->name;
}

void CIMQualifier::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    _rep->name = name;
}

CIMType CIMQualifier::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMQualifier::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

const CIMValue& CIMQualifier::getValue() const
{
    return checkedRep(_rep)->value;
}

void CIMQualifier::setValue(const CIMValue& value)
{
    checkedRep(_rep)->value = value;
}

void CIMQualifier::setFlavor(const CIMFlavor& flavor)
{
    checkedRep(_rep)->flavor.addFlavor(flavor);
}

void CIMQualifier::unsetFlavor(const CIMFlavor& flavor)
{
    checkedRep(_rep)->flavor.removeFlavor(flavor);
}

const CIMFlavor& CIMQualifier::getFlavor() const
{
    return checkedRep(_rep)->flavor;
}

Uint32 CIMQualifier::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

void CIMQualifier::setPropagated(Boolean propagated)
{
    checkedRep(_rep)->propagated = propagated ? 1 : 0;
}

Boolean CIMQualifier::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMQualifier::identical(const CIMConstQualifier& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMQualifier CIMQualifier::clone() const
{
    return CIMRepAccess::adopt<CIMQualifier>(
        new CIMQualifierRep(*checkedRep(_rep)));
}

//
// CIMConstQualifier
//

CIMConstQualifier::CIMConstQualifier() : _rep(0) {}

CIMConstQualifier::CIMConstQualifier(const CIMConstQualifier& x)
    : _rep(repRef(x._rep))
{
}

CIMConstQualifier::CIMConstQualifier(const CIMQualifier& x)
    : _rep(repRef(x._rep))
{
}

CIMConstQualifier::CIMConstQualifier(const CIMName& name,
    const CIMValue& value, const CIMFlavor& flavor, Boolean propagated)
    : _rep(new CIMQualifierRep(name, value, flavor, propagated ? 1 : 0))
{
}

CIMConstQualifier::~CIMConstQualifier()
{
    repUnref(_rep);
}

CIMConstQualifier& CIMConstQualifier::operator=(const CIMConstQualifier& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstQualifier& CIMConstQualifier::operator=(const CIMQualifier& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMConstQualifier::getName() const
{
    return checkedRep(_rep)->name;
}

CIMType CIMConstQualifier::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMConstQualifier::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

const CIMValue& CIMConstQualifier::getValue() const
{
    return checkedRep(_rep)->value;
}

const CIMFlavor& CIMConstQualifier::getFlavor() const
{
    return checkedRep(_rep)->flavor;
}

Uint32 CIMConstQualifier::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

Boolean CIMConstQualifier::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMConstQualifier::identical(const CIMConstQualifier& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMQualifier CIMConstQualifier::clone() const
{
    return CIMRepAccess::adopt<CIMQualifier>(
        new CIMQualifierRep(*checkedRep(_rep)));
}

PEGASUS_NAMESPACE_END
