// Entry of the job indication module.
#include "VELK_JobIndicationProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_JobIndicationProvider"))
        return new VELK_JobIndicationProvider();
    return 0;
}
