// Reads of the array for the companion providers, each under the access
// semaphore of the management library. Failures become CIM exceptions.
#ifndef VELK_ARRAYREADER_H
#define VELK_ARRAYREADER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <velkapi.h>

#include <vector>

PEGASUS_NAMESPACE_BEGIN

class VELK_ArrayReader
{
public:
    // The system record; throws CIMOperationFailedException.
    static api_sysinfo_t sysInfo();
    // One volume: false when the array has no volume of that name.
    static Boolean volume(const String& name, api_vv_t& vv);
    static std::vector<api_vv_t> volumes();
    static std::vector<api_vvsync_t> synchronizations();
    // Every task of the list, ended ones included, in id order.
    static std::vector<tsk_data_t> tasks();

    // "Semaphore Timed-Out" or the text of a failed status, as thrown.
    static void fail(const char* call, const api_Status_t& status);
};

PEGASUS_NAMESPACE_END

#endif
