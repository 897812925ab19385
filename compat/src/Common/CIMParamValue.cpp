#include <Pegasus/Common/CIMParamValue.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

CIMParamValueRep* newParamValueRep(const String& name, const CIMValue& value,
    Boolean isTyped)
{
    if (name.size() == 0)
        throw UninitializedObjectException();
    return new CIMParamValueRep(name, value, isTyped);
}

}

CIMParamValue::CIMParamValue() : _rep(0) {}

CIMParamValue::CIMParamValue(const CIMParamValue& x) : _rep(repRef(x._rep)) {}

CIMParamValue& CIMParamValue::operator=(const CIMParamValue& x)
{
    repAssign(_rep, x._rep);
    return *this;
}

CIMParamValue::CIMParamValue(String parameterName, CIMValue value,
    Boolean isTyped)
    : _rep(newParamValueRep(parameterName, value, isTyped))
{
}

CIMParamValue::~CIMParamValue()
{
    repUnref(_rep);
}

String CIMParamValue::getParameterName() const
{
    return checkedRep(_rep)->name;
}

CIMValue CIMParamValue::getValue() const
{
    return checkedRep(_rep)->value;
}

Boolean CIMParamValue::isTyped() const
{
    return checkedRep(_rep)->isTyped;
}

void CIMParamValue::setParameterName(String& parameterName)
{
    checkedRep(_rep);
    if (parameterName.size() == 0)
        throw UninitializedObjectException();
    _rep->name = parameterName;
}

void CIMParamValue::setValue(CIMValue& value)
{
    checkedRep(_rep)->value = value;
}

void CIMParamValue::setIsTyped(Boolean isTyped)
{
    checkedRep(_rep)->isTyped = isTyped;
}

CIMParamValue CIMParamValue::clone() const
{
    return CIMRepAccess::adopt<CIMParamValue>(
        new CIMParamValueRep(*checkedRep(_rep)));
}

Boolean CIMParamValue::isUninitialized() const
{
    return _rep == 0;
}

PEGASUS_NAMESPACE_END
