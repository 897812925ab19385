#ifndef Pegasus_ResponseHandler_h
#define Pegasus_ResponseHandler_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/OperationContext.h>

PEGASUS_NAMESPACE_BEGIN

// Receives the results of one provider operation. The server supplies the
// implementations; providers call deliver(), then complete().
class PEGASUS_COMMON_LINKAGE ResponseHandler
{
public:
    virtual ~ResponseHandler();

    virtual void processing() = 0;
    virtual void complete() = 0;

    void setContext(const OperationContext & context);

protected:
    ResponseHandler();
    ResponseHandler(const ResponseHandler& handler);
    ResponseHandler& operator=(const ResponseHandler& handler);

    OperationContext getContext() const;

private:
    OperationContext _context;
};

class PEGASUS_COMMON_LINKAGE InstanceResponseHandler
    : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMInstance & instance) = 0;
    virtual void deliver(const Array<CIMInstance> & instances) = 0;
};

class PEGASUS_COMMON_LINKAGE ObjectPathResponseHandler
    : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObjectPath & objectPath) = 0;
    virtual void deliver(const Array<CIMObjectPath> & objectPaths) = 0;
};

class PEGASUS_COMMON_LINKAGE MethodResultResponseHandler
    : virtual public ResponseHandler
{
public:
    virtual void deliverParamValue(const CIMParamValue & outParamValue) = 0;
    virtual void deliverParamValue(
        const Array<CIMParamValue> & outParamValues) = 0;
    virtual void deliver(const CIMValue & returnValue) = 0;
};

class PEGASUS_COMMON_LINKAGE ObjectResponseHandler
    : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMObject & object) = 0;
    virtual void deliver(const Array<CIMObject> & objects) = 0;
};

// An indication is an instance of an indication class.
typedef CIMInstance CIMIndication;

class PEGASUS_COMMON_LINKAGE IndicationResponseHandler
    : virtual public ResponseHandler
{
public:
    virtual void deliver(const CIMIndication & cimIndication) = 0;
    virtual void deliver(const Array<CIMIndication> & cimIndications) = 0;
    virtual void deliver(
        const OperationContext & context,
        const CIMIndication & cimIndication) = 0;
    virtual void deliver(
        const OperationContext & context,
        const Array<CIMIndication> & cimIndications) = 0;
};

PEGASUS_NAMESPACE_END

#endif
