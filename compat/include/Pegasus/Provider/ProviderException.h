//
// The typed CIM exceptions a provider throws; each carries its status code.
//
#ifndef Pegasus_ProviderException_h
#define Pegasus_ProviderException_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMStatusCode.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CIMOperationFailedException : public CIMException
{
public:
    CIMOperationFailedException(const String& message);

protected:
    CIMOperationFailedException(
        const CIMStatusCode code,
        const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMAccessDeniedException
    : public CIMOperationFailedException
{
public:
    CIMAccessDeniedException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMInvalidParameterException
    : public CIMOperationFailedException
{
public:
    CIMInvalidParameterException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMObjectNotFoundException
    : public CIMOperationFailedException
{
public:
    CIMObjectNotFoundException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMNotSupportedException
    : public CIMOperationFailedException
{
public:
    CIMNotSupportedException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMObjectAlreadyExistsException
    : public CIMOperationFailedException
{
public:
    CIMObjectAlreadyExistsException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMPropertyNotFoundException
    : public CIMOperationFailedException
{
public:
    CIMPropertyNotFoundException(const String& message);
};

class PEGASUS_COMMON_LINKAGE CIMMethodNotFoundException
    : public CIMOperationFailedException
{
public:
    CIMMethodNotFoundException(const String& message);
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_ProviderException_h */
