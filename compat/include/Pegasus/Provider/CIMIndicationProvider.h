// Interface of providers that raise indications: the server enables them
// when the first subscription that could select their indications exists,
// and disables them when the last one goes.
#ifndef Pegasus_CIMIndicationProvider_h
#define Pegasus_CIMIndicationProvider_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMProvider.h>
#include <Pegasus/Provider/Linkage.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_PROVIDER_LINKAGE CIMIndicationProvider : public virtual CIMProvider
{
public:
    CIMIndicationProvider();
    virtual ~CIMIndicationProvider();

    // The handler stays valid until disableIndications() returns; the
    // provider may deliver through it from any thread until then.
    virtual void enableIndications(IndicationResponseHandler& handler) = 0;
    virtual void disableIndications() = 0;
};

PEGASUS_NAMESPACE_END

#endif
