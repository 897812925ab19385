// Entry of the volume module: volumes and their synchronizations.
#include "VELK_StorageSynchronizedProvider.h"
#include "VELK_StorageVolumeProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_StorageVolumeProvider"))
        return new VELK_StorageVolumeProvider();
    if (String::equalNoCase(providerName, "VELK_StorageSynchronizedProvider"))
        return new VELK_StorageSynchronizedProvider();
    return 0;
}
