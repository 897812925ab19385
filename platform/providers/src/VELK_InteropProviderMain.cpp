// Entry of the interop module: the object manager, namespaces and profiles.
#include "VELK_InteropProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_InteropProvider"))
        return new VELK_InteropProvider();
    return 0;
}
