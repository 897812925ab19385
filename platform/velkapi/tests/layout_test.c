/* Layout of the records of velkapi.h, seen from a C compiler. */
#include "velkapi.h"

#include <stdio.h>
#include <string.h>

static int failures = 0;

#define CHECK(cond)                                                       \
    do {                                                                  \
        if (!(cond)) {                                                    \
            printf("FAILED: %s (line %d)\n", #cond, __LINE__);            \
            ++failures;                                                   \
        }                                                                 \
    } while (0)

int main(void)
{
    tsk_data_v103 task;
    unsigned char raw[sizeof task];
    api_Status_t st;
    char text[512];

    CHECK(sizeof(tsk_data_v103) == 824);
    CHECK(sizeof(tsk_data_t) == 824);
    CHECK(offsetof(tsk_data_v103, tsk_type) == 132);
    CHECK(offsetof(tsk_data_v103, tsk_errorstr) == 660);
    CHECK(offsetof(tsk_data_v103, tsk_start_time) == 760);
    CHECK(offsetof(tsk_data_v103, tsk_user) == 788);
    CHECK(sizeof(api_Status_t) == 328);
    CHECK(sizeof(api_evtparam_t) == 484);
    CHECK(offsetof(api_evtparam_t, inst_param) == 226);
    CHECK(sizeof(api_rcopy_t) == 448);
    CHECK(offsetof(api_rcopy_t, groups) == 440);
    CHECK(sizeof(rm_target_t) == 1136);
    CHECK(offsetof(rm_target_t, rm_remote_sysname) == 112);
    CHECK(sizeof(rm_group_target_t) == 196);
    CHECK(offsetof(rm_group_target_t, rm_remote_group) == 32);
    CHECK(offsetof(rm_group_wrapper_t, group) == 8);

    /* The two flags are bits 0 and 1 of the word at offset 648. */
    memset(&task, 0, sizeof task);
    task.tsk_done = 1;
    memcpy(raw, &task, sizeof raw);
    CHECK(raw[648] == 0x01);
    task.tsk_done = 0;
    task.tsk_cancelled = 1;
    memcpy(raw, &task, sizeof raw);
    CHECK(raw[648] == 0x02);
    CHECK(raw[649] == 0 && raw[650] == 0 && raw[651] == 0);

    CHECK(TASK_VVCOPY == 7 && TASK_RC_SYNC == 9 && TASK_ONLINE_COPY == 24 && TASK_RC_CHG_MODE == 31);
    CHECK(TASK_CREATE_SV == 32 && TASK_DEDUP_DRYRUN == 35 && TASK_LAST == 36);
    CHECK(NO_PRI == 0 && HIGH_PRI == 1 && MED_PRI == 2 && LOW_PRI == 3);
    CHECK(API_TASK_READ_ACTIVE == 0 && API_TASK_READ_COMPLETE == 1 && API_TASK_READ_FAIL == 2 &&
          API_TASK_READ_ALL == 3);
    CHECK(API_RCOPY_QUERY_TYPE_ALL == 0 && API_RCOPY_QUERY_TYPE_TARGET == 1 &&
          API_RCOPY_QUERY_TYPE_LINK == 2 && API_RCOPY_QUERY_TYPE_GROUP == 3);

    /* Status records through the library. */
    api_initStatus(&st);
    CHECK(st.code == 0);
    errinfo_set_str(&st, 29, "Semaphore Timed-Out\n");
    CHECK(st.code == 29);
    CHECK(api_getErrorTextNoNL(text, (int)sizeof text, &st) == 19);
    CHECK(strcmp(text, "Semaphore Timed-Out") == 0);

    if (failures == 0)
        printf("velkapi layout: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
