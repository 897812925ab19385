#include <Pegasus/Common/CIMParameter.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

CIMParameterRep::CIMParameterRep(const CIMName& name_, CIMType type_,
    Boolean isArray_, Uint32 arraySize_, const CIMName& referenceClassName_)
    : name(name_), type(type_), isArray(isArray_), arraySize(arraySize_),
      referenceClassName(referenceClassName_), ownerCount(0)
{
    checkName(name);
    if (arraySize && !isArray)
        throw TypeMismatchException();
    if (!referenceClassName.isNull() && type != CIMTYPE_REFERENCE)
        throw TypeMismatchException();
}

CIMParameterRep::CIMParameterRep(const CIMParameterRep& x)
    : RefCountedRep(), name(x.name), type(x.type), isArray(x.isArray),
      arraySize(x.arraySize), referenceClassName(x.referenceClassName),
      ownerCount(0)
{
    qualifiers.cloneFrom(x.qualifiers);
}

Boolean CIMParameterRep::identical(const CIMParameterRep* x) const
{
    if (this == x)
        return true;
    return name.equal(x->name) && type == x->type && isArray == x->isArray &&
        arraySize == x->arraySize &&
        referenceClassName.equal(x->referenceClassName) &&
        qualifiers.identical(x->qualifiers);
}

//
// CIMParameter
//

CIMParameter::CIMParameter() : _rep(0) {}

CIMParameter::CIMParameter(const CIMParameter& x) : _rep(repRef(x._rep)) {}

CIMParameter::CIMParameter(const CIMName& name, CIMType type, Boolean isArray,
    Uint32 arraySize, const CIMName& referenceClassName)
    : _rep(new CIMParameterRep(name, type, isArray, arraySize,
          referenceClassName))
{
}

CIMParameter::~CIMParameter()
{
    repUnref(_rep);
}

CIMParameter& CIMParameter::operator=(const CIMParameter& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMParameter::getName() const
{
    return checkedRep(_rep)->name;
}

void CIMParameter::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    if (_rep->ownerCount)
    {
        throw Exception(String(
            "Attempted to change the name of a parameter already in a "
            "container."));
    }
    _rep->name = name;
}

Boolean CIMParameter::isArray() const
{
    return checkedRep(_rep)->isArray;
}

Uint32 CIMParameter::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

const CIMName& CIMParameter::getReferenceClassName() const
{
    return checkedRep(_rep)->referenceClassName;
}

CIMType CIMParameter::getType() const
{
    return checkedRep(_rep)->type;
}

CIMParameter& CIMParameter::addQualifier(const CIMQualifier& x)
{
    checkedRep(_rep)->qualifiers.add(x);
    return *this;
}

Uint32 CIMParameter::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMParameter::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMParameter::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMParameter::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMParameter::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Boolean CIMParameter::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMParameter::identical(const CIMConstParameter& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMParameter CIMParameter::clone() const
{
    return CIMRepAccess::adopt<CIMParameter>(
        new CIMParameterRep(*checkedRep(_rep)));
}

//
// CIMConstParameter
//

CIMConstParameter::CIMConstParameter() : _rep(0) {}

CIMConstParameter::CIMConstParameter(const CIMConstParameter& x)
    : _rep(repRef(x._rep))
{
}

CIMConstParameter::CIMConstParameter(const CIMParameter& x)
    : _rep(repRef(x._rep))
{
}

CIMConstParameter::CIMConstParameter(const CIMName& name, CIMType type,
    Boolean isArray, Uint32 arraySize, const CIMName& referenceClassName)
    : _rep(new CIMParameterRep(name, type, isArray, arraySize,
          referenceClassName))
{
}

CIMConstParameter::~CIMConstParameter()
{
    repUnref(_rep);
}

CIMConstParameter& CIMConstParameter::operator=(const CIMConstParameter& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstParameter& CIMConstParameter::operator=(const CIMParameter& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMConstParameter::getName() const
{
    return checkedRep(_rep)->name;
}

Boolean CIMConstParameter::isArray() const
{
    return checkedRep(_rep)->isArray;
}

Uint32 CIMConstParameter::getArraySize() const
{
    return checkedRep(_rep)->arraySize;
}

const CIMName& CIMConstParameter::getReferenceClassName() const
{
    return checkedRep(_rep)->referenceClassName;
}

CIMType CIMConstParameter::getType() const
{
    return checkedRep(_rep)->type;
}

Uint32 CIMConstParameter::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstParameter::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstParameter::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Boolean CIMConstParameter::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMConstParameter::identical(const CIMConstParameter& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMParameter CIMConstParameter::clone() const
{
    return CIMRepAccess::adopt<CIMParameter>(
        new CIMParameterRep(*checkedRep(_rep)));
}

PEGASUS_NAMESPACE_END
