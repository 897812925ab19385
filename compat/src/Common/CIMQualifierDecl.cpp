#include <Pegasus/Common/CIMQualifierDecl.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

CIMQualifierDeclRep::CIMQualifierDeclRep(const CIMName& name_,
    const CIMValue& value_, const CIMScope& scope_, const CIMFlavor& flavor_,
    Uint32 arraySize_)
    : name(name_), value(value_), scope(scope_), flavor(flavor_),
      arraySize(arraySize_)
{
    checkName(name);
    if (arraySize && !value.isArray())
        throw TypeMismatchException();
}

Boolean CIMQualifierDeclRep::identical(const CIMQualifierDeclRep* x) const
{
    return this == x ||
        (name.equal(x->name) && value.equal(x->value) &&
         scope.equal(x->scope) && flavor.equal(x->flavor) &&
         arraySize == x->arraySize);
}

//
// CIMQualifierDecl
//

CIMQualifierDecl::CIMQualifierDecl() : _rep(0) {}

CIMQualifierDecl::CIMQualifierDecl(const CIMQualifierDecl& x)
    : _rep(repRef(x._rep))
{
}

CIMQualifierDecl::CIMQualifierDecl(const CIMName& name, const CIMValue& value,
    const CIMScope& scope, const CIMFlavor& flavor, Uint32 arraySize)
    : _rep(new CIMQualifierDeclRep(name, value, scope, flavor, arraySize))
{
}

CIMQualifierDecl::~CIMQualifierDecl()
{
    repUnref(_rep);
}

CIMQualifierDecl& CIMQualifierDecl::operator=(const CIMQualifierDecl& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMQualifierDecl::getName() const
{
    return checkedRep(_rep)->name;
}

void CIMQualifierDecl::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    _rep->name = name;
}

CIMType CIMQualifierDecl::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMQualifierDecl::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

const CIMValue& CIMQualifierDecl::getValue() const
{
    return checkedRep(_rep)->value;
}

void CIMQualifierDecl::setValue(const CIMValue& value)
{
    checkedRep(_rep)->value = value;
}

const CIMScope& CIMQualifierDecl::getScope() const
{
    return checkedRep(_rep)->scope;
}

const CIMFlavor& CIMQualifierDecl::getFlavor() const
{
    return checkedRep(_rep)->flavor;
}

Uint32 CIMQualifierDecl::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

Boolean CIMQualifierDecl::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMQualifierDecl::identical(const CIMConstQualifierDecl& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMQualifierDecl CIMQualifierDecl::clone() const
{
    return CIMRepAccess::adopt<CIMQualifierDecl>(
        new CIMQualifierDeclRep(*checkedRep(_rep)));
}

//
// CIMConstQualifierDecl
//

CIMConstQualifierDecl::CIMConstQualifierDecl() : _rep(0) {}

CIMConstQualifierDecl::CIMConstQualifierDecl(const CIMConstQualifierDecl& x)
    : _rep(repRef(x._rep))
{
}

CIMConstQualifierDecl::CIMConstQualifierDecl(const CIMQualifierDecl& x)
    : _rep(repRef(x._rep))
{
}

CIMConstQualifierDecl::CIMConstQualifierDecl(const CIMName& name,
    const CIMValue& value, const CIMScope& scope, const CIMFlavor& flavor,
    Uint32 arraySize)
    : _rep(new CIMQualifierDeclRep(name, value, scope, flavor, arraySize))
{
}

CIMConstQualifierDecl::~CIMConstQualifierDecl()
{
    repUnref(_rep);
}

CIMConstQualifierDecl& CIMConstQualifierDecl::operator=(
    const CIMConstQualifierDecl& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstQualifierDecl& CIMConstQualifierDecl::operator=(
    const CIMQualifierDecl& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMConstQualifierDecl::getName() const
{
    return checkedRep(_rep)->name;
}

CIMType CIMConstQualifierDecl::getType() const
{
    return checkedRep(_rep)->value.getType();
}

Boolean CIMConstQualifierDecl::isArray() const
{
    return checkedRep(_rep)->value.isArray();
}

const CIMValue& CIMConstQualifierDecl::getValue() const
{
    return checkedRep(_rep)->value;
}

const CIMScope& CIMConstQualifierDecl::getScope() const
{
    return checkedRep(_rep)->scope;
}

const CIMFlavor& CIMConstQualifierDecl::getFlavor() const
{
    return checkedRep(_rep)->flavor;
}

Uint32 CIMConstQualifierDecl::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

Boolean CIMConstQualifierDecl::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMConstQualifierDecl::identical(const CIMConstQualifierDecl& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMQualifierDecl CIMConstQualifierDecl::clone() const
{
    return CIMRepAccess::adopt<CIMQualifierDecl>(
        new CIMQualifierDeclRep(*checkedRep(_rep)));
}

PEGASUS_NAMESPACE_END
