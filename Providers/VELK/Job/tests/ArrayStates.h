// Simulated arrays for the tests of the method results and job associations.
#ifndef VELK_TESTS_ArrayStates_h
#define VELK_TESTS_ArrayStates_h

namespace velktest
{

// Tasks by id:
//   1 TASK_VVCOPY          vol1->vol1copy      both volumes exist
//   2 TASK_VVCOPY          gone1->gone2        neither volume exists
//   3 TASK_PROMOTESV       snapA->baseA        baseA/snapA synchronized (snapA synced)
//   4 TASK_PROMOTESV       snapB->baseB        no synchronization, both exist
//   5 TASK_PROMOTESV       nosuch->baseB       source missing
//   6 TASK_PHYSCOPY_RESYNC base11->copy11      both exist (a synchronization exists too)
//   7 TASK_PHYSCOPY_RESYNC base11->missing11   target missing
//   8 TASK_SS_ACC          vol1
//   9 TASK_ONLINE_COPY     onlinetgt           detail names srcvol as source
//  10 TASK_RC_SYNC         grpA                remote copy, type without a method
//  11 TASK_RC_FAILOVER     grpA                remote copy
//  12 TASK_SCHED           nightly             not a job
//  13 TASK_VVCOPY          vol2->vol2copy      failed (job state 10)
//  14 TASK_PROMOTESV       snapA->gone         synchronization found, target missing
const char* const kJobArray = R"json({
  "system": { "name": "ArrayOne", "host_name": "ctl1", "id": 1001,
              "serial": "1001", "model": "V100" },
  "users": [ { "name": "root", "role": "super" },
             { "name": "denied", "role": "super", "cim_access": false } ],
  "volumes": [
    { "name": "vol1", "size_mib": 1024 }, { "name": "vol1copy", "size_mib": 1024 },
    { "name": "vol2", "size_mib": 1024 }, { "name": "vol2copy", "size_mib": 1024 },
    { "name": "baseA", "size_mib": 1024 }, { "name": "snapA", "size_mib": 1024, "type": "snapshot" },
    { "name": "baseB", "size_mib": 1024 }, { "name": "snapB", "size_mib": 1024, "type": "snapshot" },
    { "name": "base11", "size_mib": 1024 }, { "name": "copy11", "size_mib": 1024, "type": "physical_copy" },
    { "name": "srcvol", "size_mib": 1024 }, { "name": "onlinetgt", "size_mib": 1024 }
  ],
  "synchronizations": [
    { "system": "baseA", "synced": "snapA", "type": "snapshot" },
    { "system": "copy11", "synced": "base11", "type": "clone" }
  ],
  "remote_copy": {
    "enabled": true,
    "targets": [ { "name": "tgtTwo", "remote_system": "ArrayTwo" } ],
    "links": [],
    "groups": [ { "name": "grpA", "volumes": [ "vol1" ],
                  "targets": [ { "target": "tgtTwo", "remote_group": "grpA.r" } ] } ]
  },
  "tasks": [
    { "id": 1, "type": "TASK_VVCOPY", "name": "vol1->vol1copy", "start": "now-600",
      "phases": ["copy"], "step_max": 10, "curr_step": 5 },
    { "id": 2, "type": "TASK_VVCOPY", "name": "gone1->gone2", "start": "now-600",
      "state": "completed", "end": "now-300" },
    { "id": 3, "type": "TASK_PROMOTESV", "name": "snapA->baseA", "start": "now-500",
      "phases": ["promote"], "step_max": 4, "curr_step": 1 },
    { "id": 4, "type": "TASK_PROMOTESV", "name": "snapB->baseB", "start": "now-500",
      "state": "completed", "end": "now-100" },
    { "id": 5, "type": "TASK_PROMOTESV", "name": "nosuch->baseB", "start": "now-500",
      "state": "cancelled", "end": "now-100" },
    { "id": 6, "type": "TASK_PHYSCOPY_RESYNC", "name": "base11->copy11", "start": "now-400",
      "state": "completed", "end": "now-50" },
    { "id": 7, "type": "TASK_PHYSCOPY_RESYNC", "name": "base11->missing11", "start": "now-400",
      "state": "completed", "end": "now-50" },
    { "id": 8, "type": "TASK_SS_ACC", "name": "vol1", "start": "now-300",
      "state": "completed", "end": "now-200" },
    { "id": 9, "type": "TASK_ONLINE_COPY", "name": "onlinetgt", "start": "now-300",
      "phases": ["copy"], "step_max": 100, "curr_step": 40,
      "detail": "Online copy from VV srcvol to onlinetgt started" },
    { "id": 10, "type": "TASK_RC_SYNC", "name": "grpA", "start": "now-200",
      "phases": ["sync"], "step_max": 10, "curr_step": 2 },
    { "id": 11, "type": "TASK_RC_FAILOVER", "name": "grpA", "start": "now-200",
      "state": "completed", "end": "now-150" },
    { "id": 12, "type": "TASK_SCHED", "name": "nightly", "start": "now-100" },
    { "id": 13, "type": "TASK_VVCOPY", "name": "vol2->vol2copy", "start": "now-900",
      "state": "failed", "end": "now-800", "error": 5, "error_text": "copy source went offline" },
    { "id": 14, "type": "TASK_PROMOTESV", "name": "snapA->gone", "start": "now-90",
      "state": "completed", "end": "now-10" }
  ]
})json";

// An array whose only supported tasks are local ones.
const char* const kLocalOnlyArray = R"json({
  "system": { "name": "ArrayOne", "host_name": "ctl1", "id": 1001 },
  "users": [ { "name": "root", "role": "super" } ],
  "volumes": [ { "name": "vol1", "size_mib": 1024 }, { "name": "vol1copy", "size_mib": 1024 } ],
  "synchronizations": [],
  "tasks": [
    { "id": 21, "type": "TASK_VVCOPY", "name": "vol1->vol1copy", "start": "now-60",
      "state": "completed", "end": "now-30" }
  ]
})json";

} // namespace velktest

#endif
