// Entry of the affected-element module: the volumes the array's copy jobs work on.
#include "VELK_AffectedJobElementProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_AffectedJobElementProvider"))
        return new VELK_AffectedJobElementProvider();
    return 0;
}
