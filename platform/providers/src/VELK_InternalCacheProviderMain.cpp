// Entry of the internal cache module.
#include "VELK_InternalCacheProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_InternalCacheProvider"))
        return new VELK_InternalCacheProvider();
    return 0;
}
