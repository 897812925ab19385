// Raises the server-side exception that carries its source file and line.
#include <Pegasus/Common/InternalException.h>

PEGASUS_USING_PEGASUS;

void refuse()
{
    throw PEGASUS_CIM_EXCEPTION(CIM_ERR_ACCESS_DENIED, "no");
}
