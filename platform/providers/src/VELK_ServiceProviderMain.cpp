// Entry of the service module: the storage configuration and replication services.
#include "VELK_ServiceProvider.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName)
{
    if (String::equalNoCase(providerName, "VELK_StorageConfigurationServiceProvider"))
        return new VELK_ServiceProvider("VELK_StorageConfigurationService", "StorageConfigurationService",
            "Storage Configuration Service");
    if (String::equalNoCase(providerName, "VELK_ReplicationServiceProvider"))
        return new VELK_ServiceProvider("VELK_ReplicationService", "ReplicationService",
            "Replication Service");
    return 0;
}
