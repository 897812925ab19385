// Compares a class name with a C string.
#include <Pegasus/Common/CIMName.h>

PEGASUS_USING_PEGASUS;

bool isJob(const CIMName& name)
{
    return name.equal("VELK_ConcreteJob");
}
