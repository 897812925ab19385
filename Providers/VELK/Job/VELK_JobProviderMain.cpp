// Entry point of the job provider module: creates the module's providers by
// name for the CIM server.
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Provider/CIMProvider.h>

#include "VELK_ConcreteJobProvider.h"
#include "VELK_MethodResultProvider.h"
#include "VELK_OwningJobElementProvider.h"
#include "VELK_AssociatedJobMethodResultProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(
    const String& providerName)
{
    if (String::equalNoCase(providerName, String("VELK_ConcreteJobProvider")))
        return new VELK_ConcreteJobProvider();
    if (String::equalNoCase(providerName, String("VELK_MethodResultProvider")))
        return new VELK_MethodResultProvider();
    if (String::equalNoCase(providerName,
            String("VELK_OwningJobElementProvider")))
        return new VELK_OwningJobElementProvider();
    if (String::equalNoCase(providerName,
            String("VELK_AssociatedJobMethodResultProvider")))
        return new VELK_AssociatedJobMethodResultProvider();
    return 0;
}
