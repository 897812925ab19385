//
// The representation behind Exception and its subclasses (internal).
//
#ifndef Pegasus_ExceptionRep_h
#define Pegasus_ExceptionRep_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/ContentLanguageList.h>

PEGASUS_NAMESPACE_BEGIN

// One representation for the whole family: the CIM fields stay at their
// defaults for exceptions that are not CIMExceptions.
class ExceptionRep
{
public:
    ExceptionRep() : code(CIM_ERR_SUCCESS), line(0) {}
    explicit ExceptionRep(const String& msg)
        : message(msg), code(CIM_ERR_SUCCESS), line(0) {}

    String message;
    ContentLanguageList contentLanguages;

    CIMStatusCode code;
    String cimMessage;      // the status name, unless changed
    String file;
    Uint32 line;
    Array<CIMInstance> errors;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_ExceptionRep_h */
