#include <Pegasus/Provider/CIMIndicationProvider.h>

PEGASUS_NAMESPACE_BEGIN

CIMIndicationProvider::CIMIndicationProvider()
{
}

CIMIndicationProvider::~CIMIndicationProvider()
{
}

PEGASUS_NAMESPACE_END
