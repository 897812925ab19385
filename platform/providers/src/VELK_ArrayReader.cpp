#include "VELK_ArrayReader.h"

#include <Pegasus/Provider/ProviderException.h>

#include <cstdlib>

PEGASUS_NAMESPACE_BEGIN

namespace
{

// Holds the access semaphore for the lifetime of the object.
class SemaphoreHold
{
public:
    SemaphoreHold()
    {
        if (cim_sem_wait() != 0)
        {
            api_Status_t st;
            api_initStatus(&st);
            errinfo_set_str(&st, API_ERR_SEM_TIMEOUT, "Semaphore Timed-Out");
            VELK_ArrayReader::fail("cim_sem_wait", st);
        }
    }
    ~SemaphoreHold() { cim_sem_post(); }
};

} // namespace

void VELK_ArrayReader::fail(const char* call, const api_Status_t& status)
{
    char text[512];
    api_getErrorTextNoNL(text, sizeof text, &status);
    throw CIMOperationFailedException(String(call) + ": " + String(text));
}

api_sysinfo_t VELK_ArrayReader::sysInfo()
{
    api_sysinfo_t info;
    api_Status_t st;
    {
        SemaphoreHold hold;
        st = api_getSysInfo(&info);
    }
    if (st.code != API_SUCCESS)
        fail("api_getSysInfo", st);
    return info;
}

Boolean VELK_ArrayReader::volume(const String& name, api_vv_t& vv)
{
    api_Status_t st;
    {
        SemaphoreHold hold;
        st = api_getVolume((const char*)name.getCString(), &vv);
    }
    if (st.code == API_ERR_NO_SUCH_OBJECT)
        return false;
    if (st.code != API_SUCCESS)
        fail("api_getVolume", st);
    return true;
}

std::vector<api_vv_t> VELK_ArrayReader::volumes()
{
    int count = 0;
    api_vv_t* list = 0;
    api_Status_t st;
    {
        SemaphoreHold hold;
        st = api_getVolumes(&count, &list);
    }
    std::vector<api_vv_t> out;
    if (st.code == API_SUCCESS && list)
        out.assign(list, list + count);
    std::free(list);
    if (st.code != API_SUCCESS)
        fail("api_getVolumes", st);
    return out;
}

std::vector<api_vvsync_t> VELK_ArrayReader::synchronizations()
{
    int count = 0;
    api_vvsync_t* list = 0;
    api_Status_t st;
    {
        SemaphoreHold hold;
        st = api_getVolumeSyncs(&count, &list);
    }
    std::vector<api_vvsync_t> out;
    if (st.code == API_SUCCESS && list)
        out.assign(list, list + count);
    std::free(list);
    if (st.code != API_SUCCESS)
        fail("api_getVolumeSyncs", st);
    return out;
}

std::vector<tsk_data_t> VELK_ArrayReader::tasks()
{
    int count = 0;
    tsk_data_t* list = 0;
    api_Status_t st;
    {
        SemaphoreHold hold;
        st = api_getTasks(0, API_TASK_READ_ALL, &count, &list);
    }
    std::vector<tsk_data_t> out;
    if (st.code == API_SUCCESS && list)
        out.assign(list, list + count);
    std::free(list);
    if (st.code != API_SUCCESS)
        fail("api_getTasks", st);
    return out;
}

PEGASUS_NAMESPACE_END
