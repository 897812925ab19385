/*
 * velkapi.h - the array management library (libvelkapi).
 *
 * C interface of the management controller: tasks, remote-copy configuration,
 * volumes, CIM users and their privileges, the process-wide access semaphore,
 * the event log and the controller log. Records are exchanged by layout, so
 * every documented field has a fixed size and offset (checked at the end of
 * this header).
 *
 * Every call that returns an api_Status_t returns it by value; code 0
 * (API_SUCCESS) means success, any other code comes with an error text that
 * api_getErrorTextNoNL renders.
 *
 * Memory handed out by the library (task lists, detail texts, volume and
 * synchronization lists) is released with free(); the remote-copy
 * configuration with api_freeRCopy().
 */
#ifndef VELKAPI_H
#define VELKAPI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define VELKAPI_EXPORT __attribute__((visibility("default")))
#define VELKAPI_PRINTF(f, a) __attribute__((format(printf, f, a)))
#else
#define VELKAPI_EXPORT
#define VELKAPI_PRINTF(f, a)
#endif

/* ------------------------------------------------------------------ */
/* Basic types                                                         */
/* ------------------------------------------------------------------ */

typedef uint8_t velk_u8;
typedef uint16_t velk_u16;
typedef uint32_t velk_u32;
typedef uint64_t velk_u64;
typedef int32_t velk_s32;
typedef int64_t velk_s64;
/* Seconds since 1970-01-01 00:00:00 UTC. */
typedef int64_t velk_time_t;

/* ------------------------------------------------------------------ */
/* Status records                                                      */
/* ------------------------------------------------------------------ */

#define API_STATUS_PARMS_SIZE 324

typedef struct _api_Status_t {
    int code;                            /* 0 = success */
    char parms[API_STATUS_PARMS_SIZE];   /* error parameters (library-private) */
} api_Status_t;

/* Status codes. */
#define API_SUCCESS 0
#define API_ERR_FAILED 1             /* unspecified failure */
#define API_ERR_INVALID_ARG 2        /* a null pointer or a bad argument value */
#define API_ERR_NO_STATE 3           /* the array state could not be loaded */
#define API_ERR_NO_SUCH_TASK 4       /* no task with that id */
#define API_ERR_TASK_ACTIVE 5        /* the task is still running (cannot be removed) */
#define API_ERR_TASK_ENDED 6         /* the task has ended (cannot be cancelled) */
#define API_ERR_NOT_IN_DOMAIN 7      /* the task is not in the requesting domain */
#define API_ERR_IO 8                 /* the array state could not be written back */
#define API_ERR_NO_SUCH_OBJECT 9     /* no such volume, group or target */
#define API_ERR_SEM_TIMEOUT 29       /* the access semaphore was not obtained in time */

/* Clears a status record: code 0, no error parameters. */
VELKAPI_EXPORT void api_initStatus(api_Status_t* status);

/* Sets code and error text of a status record (text cut to 323 characters;
 * a null text leaves the text empty). */
VELKAPI_EXPORT void errinfo_set_str(api_Status_t* status, int code, const char* text);

/* Writes the error text of a status record into buf (at most size - 1
 * characters and a NUL), with trailing line feeds removed. The text is the
 * error text of the record; a record without text gives "Error <code>", and
 * a successful record "Success". Returns the length written. */
VELKAPI_EXPORT int api_getErrorTextNoNL(char* buf, int size, const api_Status_t* status);

/* ------------------------------------------------------------------ */
/* Users and privileges                                                */
/* ------------------------------------------------------------------ */

/* Whether the named CIM user may use the array through the CIM server:
 * 0 = yes; 1 = no such user; 2 = the user has no CIM access. */
VELKAPI_EXPORT int api_velkOpenForCimserver(const char* userName);

/* Per-operation ("generic") authorisation of a CIM operation, named as the
 * lower-cased class and operation joined by "." (velk_concretejob.deleteinstance).
 * Answers: */
#define API_AUTH_ALLOWED 0        /* allowed */
#define API_AUTH_NO_USER 1        /* unknown user, or a user without CIM access */
#define API_AUTH_NO_PRIVILEGE 2   /* the user's role lacks the privilege */
#define API_AUTH_NO_RULE 3        /* no rule for this operation */
VELKAPI_EXPORT int api_authorizeCIMUser(const char* userName, const char* ipAddress,
                                        const char* operation);

/* ------------------------------------------------------------------ */
/* Access semaphore                                                    */
/* ------------------------------------------------------------------ */

/* Takes the process-wide access semaphore. Returns 0 when it was taken and
 * non-zero when the wait timed out (the wait length is configured by
 * VELK_SEM_TIMEOUT_MS). */
VELKAPI_EXPORT int cim_sem_wait(void);
/* Gives the semaphore back. Returns 0, or non-zero when it was not taken. */
VELKAPI_EXPORT int cim_sem_post(void);

/* ------------------------------------------------------------------ */
/* Controller log                                                      */
/* ------------------------------------------------------------------ */

/* Levels: 1 fatal, 2 error, 3 warning, 4 trace. A line is written when its
 * level is at most the configured threshold (VELK_LOG_LEVEL). */
VELKAPI_EXPORT void log_message(int level, const char* format, ...) VELKAPI_PRINTF(2, 3);

/* ------------------------------------------------------------------ */
/* Tasks                                                               */
/* ------------------------------------------------------------------ */

typedef enum _task_e {
    TASK_REGMOVE = 0,
    TASK_LD_COMPACT = 1,
    TASK_CPG_COMPACT = 2,
    TASK_SDTUNE = 3,
    TASK_VVTUNE = 4,
    TASK_VVTUNE_ROLLBACK = 5,
    TASK_VVTUNE_RESTART = 6,
    TASK_VVCOPY = 7,
    TASK_PROMOTESV = 8,
    TASK_RC_SYNC = 9,
    TASK_SS_ACC = 10,
    TASK_PHYSCOPY_RESYNC = 11,
    TASK_RC_REVERSE = 12,
    TASK_RC_FAILOVER = 13,
    TASK_RC_RECOVER = 14,
    TASK_RC_RESTORE = 15,
    TASK_SCHED = 16,
    TASK_SYS_SCHED = 17,
    TASK_BACKGROUND = 18,
    TASK_VVIMPORT = 19,
    TASK_CHECKVV = 20,
    TASK_TUNESYS = 21,
    TASK_NODERESCUE = 22,
    TASK_VVCONVERT = 23,
    TASK_ONLINE_COPY = 24,
    TASK_RCDV_REPAIR = 25,
    TASK_RC_SWITCHOVER = 26,
    TASK_DEFRAG = 27,
    TASK_ENCRYPT_CHANGE = 28,
    TASK_RC_FAILSAFE = 29,
    TASK_TPVV_USR_TUNE = 30,
    TASK_RC_CHG_MODE = 31,
    TASK_CREATE_SV = 32,
    TASK_ONLINE_PROMOTE = 33,
    TASK_RELOCATEPD = 34,
    TASK_DEDUP_DRYRUN = 35,
    TASK_LAST = 36
} task_e;

typedef enum _tsk_pri_e {
    NO_PRI = 0,
    HIGH_PRI = 1,
    MED_PRI = 2,
    LOW_PRI = 3
} tsk_pri_e;

#define TSK_NAME_LEN 128
#define TSK_MAX_PHASES 8
#define TSK_PHASE_NAME_LEN 64
#define TSK_ERRORSTR_LEN 80
#define TSK_USER_LEN 32

typedef struct _tsk_id_t {
    velk_u32 tid;
} tsk_id_t;

typedef struct _tsk_data_v103 {
    tsk_id_t taskid;                                       /*   0 */
    char tsk_name[TSK_NAME_LEN];                           /*   4 */
    task_e tsk_type;                                       /* 132 */
    char tsk_phase_names[TSK_MAX_PHASES][TSK_PHASE_NAME_LEN]; /* 136 */
    unsigned int tsk_done : 1;                             /* 648 bit 0 */
    unsigned int tsk_cancelled : 1;                        /* 648 bit 1 */
    unsigned int tsk_reserved_bits : 30;
    int tsk_written_to_pr;                                 /* 652 */
    int tsk_error;                                         /* 656 */
    char tsk_errorstr[TSK_ERRORSTR_LEN];                   /* 660 */
    int tsk_curr_phase;                                    /* 740, from 1 */
    int tsk_phase_max;                                     /* 744 */
    int tsk_curr_step;                                     /* 748 */
    int tsk_step_max;                                      /* 752 */
    velk_u32 tsk_flags;                                    /* 756 */
    velk_time_t tsk_start_time;                            /* 760 */
    velk_time_t tsk_end_time;                              /* 768 */
    velk_time_t tsk_lastupdate_time;                       /* 776 */
    tsk_pri_e tsk_pri;                                     /* 784 */
    char tsk_user[TSK_USER_LEN];                           /* 788 */
} tsk_data_v103;                                           /* 824 */

typedef tsk_data_v103 tsk_data_v103_t;
typedef tsk_data_v103 tsk_data_t;

/* Read modes of api_getTasks. */
#define API_TASK_READ_ACTIVE 0     /* running tasks */
#define API_TASK_READ_COMPLETE 1   /* ended without error and not cancelled */
#define API_TASK_READ_FAIL 2       /* ended with an error, or cancelled */
#define API_TASK_READ_ALL 3        /* every task */

/* Reads the task list. Ended tasks whose end lies more than maxAgeSecs
 * seconds back are left out (maxAgeSecs <= 0: none are left out). On
 * success *tasks receives an array of *count records (null when the count
 * is 0) that the caller frees with free(). Tasks come in ascending id order. */
VELKAPI_EXPORT api_Status_t api_getTasks(velk_s32 maxAgeSecs, int readMode, int* count,
                                         tsk_data_t** tasks);

/* Reads one task. When detailText is not null it receives the task's detail
 * text (allocated with malloc, freed by the caller; null when the task has
 * none). Tasks that ended longer ago than the array's detail retention are
 * not known to this call (API_ERR_NO_SUCH_TASK) but stay in the task list. */
VELKAPI_EXPORT api_Status_t api_getTaskDetail(velk_u32 taskID, tsk_data_t* task, char** detailText);

/* Event record handed to the changing calls; the library appends it, with
 * what was done and its outcome, to the event log. */
#define API_EVT_USER_LEN 32
#define API_EVT_ADDR_LEN 46
#define API_EVT_METHOD_LEN 128
#define API_EVT_INST_OP_LEN 16
#define API_EVT_INST_PARAM_LEN 256

typedef struct _api_evtparam_t {
    velk_s32 cb_code;                          /*   0 */
    char user[API_EVT_USER_LEN];               /*   4 */
    char addr[API_EVT_ADDR_LEN];               /*  36 */
    char method[API_EVT_METHOD_LEN];           /*  82 */
    char inst_op[API_EVT_INST_OP_LEN];         /* 210 */
    char inst_param[API_EVT_INST_PARAM_LEN];   /* 226 */
} api_evtparam_t;                              /* 484 */

/* Event codes the library stores in cb_code of the record it was given. */
#define API_EVT_TASK_CANCEL 101
#define API_EVT_TASK_REMOVE 102

/* Cancels a running task. Refused with API_ERR_TASK_ENDED for a task that
 * has ended, API_ERR_NO_SUCH_TASK for an unknown id. eventp may be null. */
VELKAPI_EXPORT api_Status_t api_cancelTask(api_evtparam_t* eventp, velk_u32 taskID);

/* Domain value of api_removeTasks that puts no domain restriction. */
#define API_DOMAIN_ANY 0xFFFFFFFEu
/* Flags of api_removeTasks. */
#define API_REMOVE_FLAGS_NONE 0u

/* Removes ended tasks from the task list, all or none: a running task
 * (API_ERR_TASK_ACTIVE), an unknown id (API_ERR_NO_SUCH_TASK) or a task of
 * another domain than domainID (API_ERR_NOT_IN_DOMAIN) refuses the whole
 * call. flags must be API_REMOVE_FLAGS_NONE. */
VELKAPI_EXPORT api_Status_t api_removeTasks(api_evtparam_t* eventp, const velk_u32* taskIDs,
                                            int count, velk_u32 domainID, velk_u32 flags);

/* ------------------------------------------------------------------ */
/* Remote copy                                                         */
/* ------------------------------------------------------------------ */

#define RM_NAME_LEN 32

/* Common header of remote-copy objects. */
typedef struct _rm_hdr_t {
    char rm_name[RM_NAME_LEN];      /*   0 */
    velk_u32 rm_id;                 /*  32 */
    velk_u32 rm_state;              /*  36 */
    char rm_comment[72];            /*  40 */
} rm_hdr_t;                         /* 112 */

/* Remote-copy target (a remote array). */
typedef struct _rm_target_t {
    rm_hdr_t rm_hdr;                     /*    0 */
    char rm_remote_sysname[RM_NAME_LEN]; /*  112 */
    velk_u32 rm_remote_sysid;            /*  144 */
    int rm_link_type;                    /*  148: 1 IP, 2 FC */
    int rm_link_count;                   /*  152 */
    velk_u32 rm_flags;                   /*  156 */
    char rm_reserved[976];               /*  160 */
} rm_target_t;                           /* 1136 */

#define RM_LINK_IP 1
#define RM_LINK_FC 2

/* Remote-copy link (a port pair towards a target). */
typedef struct _rm_link_t {
    char rm_target[RM_NAME_LEN];    /*   0 */
    char rm_local_port[16];         /*  32 */
    char rm_remote_addr[48];        /*  48 */
    int rm_link_state;              /*  96 */
    velk_u32 rm_reserved;           /* 100 */
} rm_link_t;                        /* 104 */

/* Remote-copy group. */
typedef struct _rm_group_t {
    rm_hdr_t rm_hdr;                /*   0 */
    int rm_role;                    /* 112: 1 primary, 2 secondary */
    int rm_mode;                    /* 116: 1 sync, 2 periodic, 3 async */
    velk_u32 rm_vv_count;           /* 120 */
    velk_u32 rm_flags;              /* 124 */
    char rm_reserved[128];          /* 128 */
} rm_group_t;                       /* 256 */

#define RM_ROLE_PRIMARY 1
#define RM_ROLE_SECONDARY 2
#define RM_MODE_SYNC 1
#define RM_MODE_PERIODIC 2
#define RM_MODE_ASYNC 3

/* A target of a remote-copy group. */
typedef struct _rm_group_target_t {
    char rm_target[RM_NAME_LEN];        /*   0: name of the remote target */
    char rm_remote_group[RM_NAME_LEN];  /*  32: the group's name on the remote array */
    int rm_mode;                        /*  64 */
    velk_u32 rm_sync_period;            /*  68: seconds, periodic mode */
    int rm_state;                       /*  72 */
    velk_u32 rm_flags;                  /*  76 */
    char rm_reserved[116];              /*  80 */
} rm_group_target_t;                    /* 196 */

typedef struct _rm_group_wrapper_t {
    struct _rm_group_wrapper_t* next;   /*   0 */
    rm_group_t group;                   /*   8 */
    int gtarget_count;                  /* 264 */
    rm_group_target_t* gtargets;        /* 272 */
} rm_group_wrapper_t;                   /* 280 */

/* System part of the remote-copy configuration. */
typedef struct _rm_sys_t {
    char rm_sysname[RM_NAME_LEN];   /*   0 */
    velk_u32 rm_sysid;              /*  32 */
    int rm_enabled;                 /*  36 */
    char rm_reserved[368];          /*  40 */
} rm_sys_t;                         /* 408 */

typedef struct _api_rcopy_t {
    rm_sys_t sys;                   /*   0 */
    int target_count;               /* 408 */
    rm_target_t* targets;           /* 416 */
    int link_count;                 /* 424 */
    rm_link_t* links;               /* 432 */
    rm_group_wrapper_t* groups;     /* 440: linked list */
} api_rcopy_t;                      /* 448 */

/* Query types of api_getRCopy. */
#define API_RCOPY_QUERY_TYPE_ALL 0      /* targets, links and groups */
#define API_RCOPY_QUERY_TYPE_TARGET 1   /* targets only */
#define API_RCOPY_QUERY_TYPE_LINK 2     /* links only */
#define API_RCOPY_QUERY_TYPE_GROUP 3    /* groups, with the targets they refer to */

/* Reads the remote-copy configuration into *rcopy (which the caller zeroes
 * first). Release it with api_freeRCopy, whether or not the read succeeded. */
VELKAPI_EXPORT api_Status_t api_getRCopy(int queryType, api_rcopy_t* rcopy);
/* Frees what api_getRCopy allocated and zeroes the pointers and counts. */
VELKAPI_EXPORT void api_freeRCopy(api_rcopy_t* rcopy);

/* ------------------------------------------------------------------ */
/* System, volumes and synchronizations                                */
/* ------------------------------------------------------------------ */

typedef struct _api_sysinfo_t {
    char sys_name[64];           /* the array's system name */
    char host_name[256];         /* host name of the management controller */
    char serial[32];
    char model[32];
    velk_u32 sys_id;
} api_sysinfo_t;

VELKAPI_EXPORT api_Status_t api_getSysInfo(api_sysinfo_t* info);

#define VV_NAME_LEN 32

#define VV_TYPE_BASE 1
#define VV_TYPE_SNAPSHOT 2
#define VV_TYPE_PHYSICAL_COPY 3

#define VV_STATE_NORMAL 1
#define VV_STATE_DEGRADED 2
#define VV_STATE_FAILED 3

typedef struct _api_vv_t {
    velk_u32 vv_id;
    char vv_name[VV_NAME_LEN];
    char vv_wwn[40];
    int vv_type;                     /* VV_TYPE_... */
    int vv_state;                    /* VV_STATE_... */
    velk_u32 vv_block_size;          /* bytes */
    velk_u64 vv_size_mib;
    char vv_cpg[VV_NAME_LEN];        /* pool the volume lives in */
    char vv_copy_of[VV_NAME_LEN];    /* parent of a snapshot or physical copy, else "" */
} api_vv_t;

/* Lists the volumes; *vvs is freed by the caller with free(). */
VELKAPI_EXPORT api_Status_t api_getVolumes(int* count, api_vv_t** vvs);
/* Reads one volume by name (API_ERR_NO_SUCH_OBJECT when there is none). */
VELKAPI_EXPORT api_Status_t api_getVolume(const char* name, api_vv_t* vv);

#define VV_SYNC_TYPE_MIRROR 6
#define VV_SYNC_TYPE_SNAPSHOT 7
#define VV_SYNC_TYPE_CLONE 8

#define VV_SYNC_STATE_SYNCHRONIZED 6
#define VV_SYNC_STATE_FRACTURED 13
#define VV_SYNC_STATE_SYNCHRONIZING 5

/* A synchronization between two volumes: system_vv is the source side,
 * synced_vv the replica. */
typedef struct _api_vvsync_t {
    char system_vv[VV_NAME_LEN];
    char synced_vv[VV_NAME_LEN];
    int sync_type;                   /* VV_SYNC_TYPE_... (CIM SyncType values) */
    int sync_state;                  /* VV_SYNC_STATE_... (CIM SyncState values) */
    int copy_type;                   /* CIM CopyType value */
    int sync_maintained;             /* boolean */
    int percent_synced;
    velk_time_t when_synced;         /* 0 when never */
} api_vvsync_t;

/* Lists the synchronizations; *syncs is freed by the caller with free(). */
VELKAPI_EXPORT api_Status_t api_getVolumeSyncs(int* count, api_vvsync_t** syncs);

#ifdef __cplusplus
} /* extern "C" */

/* C++ callers may hand the status record itself. */
inline int api_getErrorTextNoNL(char* buf, int size, const api_Status_t& status)
{
    return api_getErrorTextNoNL(buf, size, &status);
}
#endif

/* ------------------------------------------------------------------ */
/* Layout checks                                                       */
/* ------------------------------------------------------------------ */

#ifdef __cplusplus
#define VELKAPI_STATIC_ASSERT(c, m) static_assert(c, m)
#else
#define VELKAPI_STATIC_ASSERT(c, m) _Static_assert(c, m)
#endif

VELKAPI_STATIC_ASSERT(sizeof(velk_time_t) == 8, "velk_time_t is 64-bit");
VELKAPI_STATIC_ASSERT(sizeof(task_e) == 4, "task_e is 32-bit");
VELKAPI_STATIC_ASSERT(sizeof(tsk_pri_e) == 4, "tsk_pri_e is 32-bit");

VELKAPI_STATIC_ASSERT(sizeof(api_Status_t) == 328, "api_Status_t size");
VELKAPI_STATIC_ASSERT(offsetof(api_Status_t, code) == 0, "api_Status_t.code");
VELKAPI_STATIC_ASSERT(offsetof(api_Status_t, parms) == 4, "api_Status_t.parms");

VELKAPI_STATIC_ASSERT(sizeof(tsk_data_v103) == 824, "tsk_data_v103 size");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, taskid) == 0, "taskid");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, taskid.tid) == 0, "taskid.tid");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_name) == 4, "tsk_name");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_type) == 132, "tsk_type");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_phase_names) == 136, "tsk_phase_names");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_written_to_pr) == 652, "tsk_written_to_pr");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_error) == 656, "tsk_error");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_errorstr) == 660, "tsk_errorstr");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_curr_phase) == 740, "tsk_curr_phase");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_phase_max) == 744, "tsk_phase_max");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_curr_step) == 748, "tsk_curr_step");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_step_max) == 752, "tsk_step_max");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_flags) == 756, "tsk_flags");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_start_time) == 760, "tsk_start_time");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_end_time) == 768, "tsk_end_time");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_lastupdate_time) == 776, "tsk_lastupdate_time");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_pri) == 784, "tsk_pri");
VELKAPI_STATIC_ASSERT(offsetof(tsk_data_v103, tsk_user) == 788, "tsk_user");

VELKAPI_STATIC_ASSERT(sizeof(api_evtparam_t) == 484, "api_evtparam_t size");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, cb_code) == 0, "cb_code");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, user) == 4, "user");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, addr) == 36, "addr");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, method) == 82, "method");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, inst_op) == 210, "inst_op");
VELKAPI_STATIC_ASSERT(offsetof(api_evtparam_t, inst_param) == 226, "inst_param");

VELKAPI_STATIC_ASSERT(sizeof(rm_target_t) == 1136, "rm_target_t size");
VELKAPI_STATIC_ASSERT(offsetof(rm_target_t, rm_hdr.rm_name) == 0, "rm_target_t.rm_hdr.rm_name");
VELKAPI_STATIC_ASSERT(offsetof(rm_target_t, rm_remote_sysname) == 112, "rm_remote_sysname");

VELKAPI_STATIC_ASSERT(sizeof(rm_group_target_t) == 196, "rm_group_target_t size");
VELKAPI_STATIC_ASSERT(offsetof(rm_group_target_t, rm_target) == 0, "rm_group_target_t.rm_target");
VELKAPI_STATIC_ASSERT(offsetof(rm_group_target_t, rm_remote_group) == 32, "rm_remote_group");

VELKAPI_STATIC_ASSERT(offsetof(rm_group_wrapper_t, next) == 0, "rm_group_wrapper_t.next");
VELKAPI_STATIC_ASSERT(offsetof(rm_group_wrapper_t, group) == 8, "rm_group_wrapper_t.group");
VELKAPI_STATIC_ASSERT(offsetof(rm_group_wrapper_t, group.rm_hdr.rm_name) == 8, "group name");

VELKAPI_STATIC_ASSERT(sizeof(rm_sys_t) == 408, "rm_sys_t size");
VELKAPI_STATIC_ASSERT(sizeof(api_rcopy_t) == 448, "api_rcopy_t size");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, sys) == 0, "sys");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, target_count) == 408, "target_count");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, targets) == 416, "targets");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, link_count) == 424, "link_count");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, links) == 432, "links");
VELKAPI_STATIC_ASSERT(offsetof(api_rcopy_t, groups) == 440, "groups");

#undef VELKAPI_STATIC_ASSERT

#endif /* VELKAPI_H */
