#ifndef Pegasus_CIMParamValue_h
#define Pegasus_CIMParamValue_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMValue.h>

PEGASUS_NAMESPACE_BEGIN

class CIMParamValueRep;

// A named parameter value of a method call. Handle: copies share one
// representation; clone() copies deeply.
class PEGASUS_COMMON_LINKAGE CIMParamValue
{
public:
    CIMParamValue();
    CIMParamValue(const CIMParamValue& x);
    CIMParamValue& operator=(const CIMParamValue& x);
    CIMParamValue(String parameterName, CIMValue value, Boolean isTyped=true);
    ~CIMParamValue();

    String getParameterName() const;
    CIMValue getValue() const;
    Boolean isTyped() const;
    void setParameterName(String& parameterName);
    void setValue(CIMValue& value);
    void setIsTyped(Boolean isTyped);
    CIMParamValue clone() const;
    Boolean isUninitialized() const;

private:
    CIMParamValueRep* _rep;

    friend struct CIMRepAccess;
};


PEGASUS_NAMESPACE_END

#endif
