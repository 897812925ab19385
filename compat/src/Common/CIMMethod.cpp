#include <Pegasus/Common/CIMMethod.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

CIMMethodRep::CIMMethodRep(const CIMName& name_, CIMType type_,
    const CIMName& classOrigin_, Boolean propagated_)
    : name(name_), type(type_), classOrigin(classOrigin_),
      propagated(propagated_), ownerCount(0)
{
    checkName(name);
}

CIMMethodRep::CIMMethodRep(const CIMMethodRep& x)
    : RefCountedRep(), name(x.name), type(x.type), classOrigin(x.classOrigin),
      propagated(x.propagated), ownerCount(0)
{
    qualifiers.cloneFrom(x.qualifiers);
    parameters.reserve(x.parameters.size());
    for (const CIMParameter& p : x.parameters)
    {
        CIMParameterRep* rep = new CIMParameterRep(*CIMRepAccess::rep(p));
        rep->ownerCount = 1;
        parameters.push_back(CIMRepAccess::adopt<CIMParameter>(rep));
    }
}

CIMMethodRep::~CIMMethodRep()
{
    for (const CIMParameter& p : parameters)
        CIMRepAccess::rep(p)->ownerCount--;
}

void CIMMethodRep::addParameter(const CIMParameter& x)
{
    CIMParameterRep* rep = checkedRep(CIMRepAccess::rep(x));
    if (findParameter(rep->name) != PEG_NOT_FOUND)
        throw AlreadyExistsException(quotedName("parameter", rep->name));
    if (parameters.size() >= MAX_CONTAINER_ELEMENTS)
        throw TooManyElementsException();
    parameters.push_back(x);
    rep->ownerCount++;
}

Uint32 CIMMethodRep::findParameter(const CIMName& name_) const
{
    for (size_t i = 0, n = parameters.size(); i < n; i++)
    {
        if (CIMRepAccess::rep(parameters[i])->name.equal(name_))
            return Uint32(i);
    }
    return PEG_NOT_FOUND;
}

CIMParameterRep* CIMMethodRep::parameterAt(Uint32 index) const
{
    checkIndex(index, Uint32(parameters.size()));
    return CIMRepAccess::rep(parameters[index]);
}

void CIMMethodRep::removeParameter(Uint32 index)
{
    CIMParameterRep* rep = parameterAt(index);
    rep->ownerCount--;
    parameters.erase(parameters.begin() + index);
}

Boolean CIMMethodRep::identical(const CIMMethodRep* x) const
{
    if (this == x)
        return true;
    if (!name.equal(x->name) || type != x->type ||
        !classOrigin.equal(x->classOrigin) || propagated != x->propagated ||
        !qualifiers.identical(x->qualifiers) ||
        parameters.size() != x->parameters.size())
    {
        return false;
    }
    for (size_t i = 0; i < parameters.size(); i++)
    {
        if (!CIMRepAccess::rep(parameters[i])->identical(
                CIMRepAccess::rep(x->parameters[i])))
        {
            return false;
        }
    }
    return true;
}

//
// CIMMethod
//

CIMMethod::CIMMethod() : _rep(0) {}

CIMMethod::CIMMethod(const CIMMethod& x) : _rep(repRef(x._rep)) {}

CIMMethod::CIMMethod(const CIMName& name, CIMType type,
    const CIMName& classOrigin, Boolean propagated)
    : _rep(new CIMMethodRep(name, type, classOrigin, propagated))
{
}

CIMMethod::~CIMMethod()
{
    repUnref(_rep);
}

CIMMethod& CIMMethod::operator=(const CIMMethod& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMMethod::getName() const
{
    return checkedRep(_rep)->name;
}

void CIMMethod::setName(const CIMName& name)
{
    checkedRep(_rep);
    checkName(name);
    if (_rep->ownerCount)
    {
        throw Exception(String(
            "Attempted to change the name of a method already in a "
            "container."));
    }
    _rep->name = name;
}

CIMType CIMMethod::getType() const
{
    return checkedRep(_rep)->type;
}

void CIMMethod::setType(CIMType type)
{
    checkedRep(_rep)->type = type;
}

const CIMName& CIMMethod::getClassOrigin() const
{
    return checkedRep(_rep)->classOrigin;
}

void CIMMethod::setClassOrigin(const CIMName& classOrigin)
{
    checkedRep(_rep)->classOrigin = classOrigin;
}

Boolean CIMMethod::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

void CIMMethod::setPropagated(Boolean propagated)
{
    checkedRep(_rep)->propagated = propagated;
}

CIMMethod& CIMMethod::addQualifier(const CIMQualifier& x)
{
    checkedRep(_rep)->qualifiers.add(x);
    return *this;
}

Uint32 CIMMethod::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMQualifier CIMMethod::getQualifier(Uint32 index)
{
    return CIMRepAccess::share<CIMQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

CIMConstQualifier CIMMethod::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

void CIMMethod::removeQualifier(Uint32 index)
{
    checkedRep(_rep)->qualifiers.remove(index);
}

Uint32 CIMMethod::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

CIMMethod& CIMMethod::addParameter(const CIMParameter& x)
{
    checkedRep(_rep)->addParameter(x);
    return *this;
}

Uint32 CIMMethod::findParameter(const CIMName& name) const
{
    return checkedRep(_rep)->findParameter(name);
}

CIMParameter CIMMethod::getParameter(Uint32 index)
{
    return CIMRepAccess::share<CIMParameter>(
        checkedRep(_rep)->parameterAt(index));
}

CIMConstParameter CIMMethod::getParameter(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstParameter>(
        checkedRep(_rep)->parameterAt(index));
}

void CIMMethod::removeParameter(Uint32 index)
{
    checkedRep(_rep)->removeParameter(index);
}

Uint32 CIMMethod::getParameterCount() const
{
    return Uint32(checkedRep(_rep)->parameters.size());
}

Boolean CIMMethod::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMMethod::identical(const CIMConstMethod& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMMethod CIMMethod::clone() const
{
    return CIMRepAccess::adopt<CIMMethod>(new CIMMethodRep(*checkedRep(_rep)));
}

//
// CIMConstMethod
//

CIMConstMethod::CIMConstMethod() : _rep(0) {}

CIMConstMethod::CIMConstMethod(const CIMConstMethod& x) : _rep(repRef(x._rep))
{
}

CIMConstMethod::CIMConstMethod(const CIMMethod& x) : _rep(repRef(x._rep)) {}

CIMConstMethod::CIMConstMethod(const CIMName& name, CIMType type,
    const CIMName& classOrigin, Boolean propagated)
    : _rep(new CIMMethodRep(name, type, classOrigin, propagated))
{
}

CIMConstMethod::~CIMConstMethod()
{
    repUnref(_rep);
}

CIMConstMethod& CIMConstMethod::operator=(const CIMConstMethod& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMConstMethod& CIMConstMethod::operator=(const CIMMethod& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

const CIMName& CIMConstMethod::getName() const
{
    return checkedRep(_rep)->name;
}

CIMType CIMConstMethod::getType() const
{
    return checkedRep(_rep)->type;
}

const CIMName& CIMConstMethod::getClassOrigin() const
{
    return checkedRep(_rep)->classOrigin;
}

Boolean CIMConstMethod::getPropagated() const
{
    return checkedRep(_rep)->propagated;
}

Uint32 CIMConstMethod::findQualifier(const CIMName& name) const
{
    return checkedRep(_rep)->qualifiers.find(name);
}

CIMConstQualifier CIMConstMethod::getQualifier(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstQualifier>(
        checkedRep(_rep)->qualifiers.at(index));
}

Uint32 CIMConstMethod::getQualifierCount() const
{
    return checkedRep(_rep)->qualifiers.size();
}

Uint32 CIMConstMethod::findParameter(const CIMName& name) const
{
    return checkedRep(_rep)->findParameter(name);
}

CIMConstParameter CIMConstMethod::getParameter(Uint32 index) const
{
    return CIMRepAccess::share<CIMConstParameter>(
        checkedRep(_rep)->parameterAt(index));
}

Uint32 CIMConstMethod::getParameterCount() const
{
    return Uint32(checkedRep(_rep)->parameters.size());
}

Boolean CIMConstMethod::isUninitialized() const
{
    return _rep == 0;
}

Boolean CIMConstMethod::identical(const CIMConstMethod& x) const
{
    return checkedRep(_rep)->identical(checkedRep(x._rep));
}

CIMMethod CIMConstMethod::clone() const
{
    return CIMRepAccess::adopt<CIMMethod>(new CIMMethodRep(*checkedRep(_rep)));
}

PEGASUS_NAMESPACE_END
