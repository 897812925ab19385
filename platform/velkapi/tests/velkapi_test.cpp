// The simulated array through the C interface and the control interface.
#include "velkapi.h"
#include "velkapi_control.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

const std::int64_t T0 = 1700000000;

// Three users, six tasks and a small remote-copy setup.
json baseState()
{
    return json::parse(R"({
      "system": {"name": "ArrayOne", "host_name": "ctl1.example.test", "id": 7},
      "detail_retention_seconds": 3600,
      "users": [
        {"name": "root", "role": "super"},
        {"name": "viewer", "role": "browse"},
        {"name": "operator", "role": "edit"},
        {"name": "nocim", "role": "super", "cim_access": false}
      ],
      "tasks": [
        {"id": 10, "type": "TASK_VVCOPY", "name": "v1->v1c", "user": "root",
         "phases": ["copy", "verify"], "step_max": 10, "start": 1700000000, "duration": 200},
        {"id": 11, "type": "TASK_VVCOPY", "name": "v2->v2c", "phases": ["copy"], "step_max": 4,
         "start": 1700000000, "duration": 100, "error": 23, "error_text": "copy failed: target offline"},
        {"id": 12, "type": "TASK_RC_SYNC", "name": "grpA", "phases": ["sync"], "step_max": 100,
         "start": 1700000000, "curr_phase": 1, "curr_step": 150},
        {"id": 13, "type": "TASK_SCHED", "name": "nightly", "start": 1699990000, "state": "completed",
         "end": 1699990100},
        {"id": 14, "type": 24, "name": "oc_dst", "start": 1699999000, "state": "cancelled", "end": 1699999500,
         "detail": "Online copy from VV oc_src to VV oc_dst"},
        {"id": 15, "type": "TASK_PROMOTESV", "name": "s1->b1", "start": 1699000000, "state": "failed",
         "end": 1699000100, "error": 5, "error_text": "promote failed"}
      ],
      "volumes": [{"name": "v1"}, {"name": "v1c", "type": "physical_copy", "copy_of": "v1"}],
      "synchronizations": [{"system": "v1", "synced": "v1c", "type": "clone"}],
      "remote_copy": {
        "targets": [{"name": "t2", "remote_system": "ArrayTwo", "remote_id": 2}],
        "links": [{"target": "t2", "local_port": "0:3:1", "remote_addr": "192.0.2.2"}],
        "groups": [{"name": "grpA", "targets": [{"target": "t2", "remote_group": "grpA.r"},
                                               {"target": "tX", "remote_group": "grpA.x"}]}]
      }
    })");
}

std::string readAll(const fs::path& p)
{
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string errorText(const api_Status_t& st)
{
    char buf[512];
    api_getErrorTextNoNL(buf, sizeof buf, st);
    return buf;
}

struct TaskList {
    int count = 0;
    tsk_data_t* tasks = nullptr;
    ~TaskList() { std::free(tasks); }
    const tsk_data_t* find(velk_u32 id) const
    {
        for (int i = 0; i < count; ++i)
            if (tasks[i].taskid.tid == id)
                return &tasks[i];
        return nullptr;
    }
};

api_evtparam_t event(const char* user, const char* addr, const char* method)
{
    api_evtparam_t ev;
    std::memset(&ev, 0, sizeof ev);
    std::strncpy(ev.user, user, sizeof ev.user - 1);
    std::strncpy(ev.addr, addr, sizeof ev.addr - 1);
    std::strncpy(ev.method, method, sizeof ev.method - 1);
    return ev;
}

class Velkapi : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = fs::temp_directory_path() / ("velkapi_test_" + std::to_string(::getpid()) + "_"
                                           + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        fs::create_directories(dir);
        statePath = dir / "array.json";
        eventPath = dir / "events.log";
        logPath = dir / "velk.log";
        velksim::reset();
        velksim::setEventLogFile(eventPath.string());
        velksim::setLogFile(logPath.string());
        velksim::setCapture(true);
        velksim::setClock(T0 + 50);
        velksim::loadStateJson(baseState().dump(), statePath.string());
    }
    void TearDown() override
    {
        velksim::reset();
        fs::remove_all(dir);
    }
    TaskList tasks(int mode = API_TASK_READ_ALL, velk_s32 age = 2592000)
    {
        TaskList l;
        api_Status_t st = api_getTasks(age, mode, &l.count, &l.tasks);
        EXPECT_EQ(st.code, 0) << errorText(st);
        return l;
    }
    fs::path dir, statePath, eventPath, logPath;
};

TEST_F(Velkapi, TasksAdvanceThroughPhasesAndStepsAndEndByThemselves)
{
    // 2 phases x 10 steps over 200 s: one step every 10 s.
    {
        TaskList l = tasks();
        const tsk_data_t* t = l.find(10);
        ASSERT_NE(t, nullptr);
        EXPECT_EQ(t->tsk_done, 0u);
        EXPECT_EQ(t->tsk_phase_max, 2);
        EXPECT_EQ(t->tsk_step_max, 10);
        EXPECT_EQ(t->tsk_curr_phase, 1);
        EXPECT_EQ(t->tsk_curr_step, 5);
        EXPECT_EQ(t->tsk_start_time, T0);
        EXPECT_EQ(t->tsk_lastupdate_time, T0 + 50);
        EXPECT_STREQ(t->tsk_phase_names[1], "verify");
        EXPECT_STREQ(t->tsk_user, "root");
        EXPECT_EQ(t->tsk_type, TASK_VVCOPY);
    }
    velksim::advanceClock(105); // T0 + 155
    {
        TaskList l = tasks();
        const tsk_data_t* t = l.find(10);
        EXPECT_EQ(t->tsk_curr_phase, 2);
        EXPECT_EQ(t->tsk_curr_step, 5);
        EXPECT_EQ(t->tsk_lastupdate_time, T0 + 150);
        // Task 11 was to fail at T0 + 100 and did.
        const tsk_data_t* f = l.find(11);
        EXPECT_EQ(f->tsk_done, 1u);
        EXPECT_EQ(f->tsk_cancelled, 0u);
        EXPECT_EQ(f->tsk_error, 23);
        EXPECT_STREQ(f->tsk_errorstr, "copy failed: target offline");
        EXPECT_EQ(f->tsk_end_time, T0 + 100);
    }
    velksim::advanceClock(1000);
    TaskList l = tasks();
    const tsk_data_t* t = l.find(10);
    EXPECT_EQ(t->tsk_done, 1u);
    EXPECT_EQ(t->tsk_error, 0);
    EXPECT_EQ(t->tsk_end_time, T0 + 200);
    EXPECT_EQ(t->tsk_curr_phase, 2);
    EXPECT_EQ(t->tsk_curr_step, 10);
    // A task with fixed counters never ends and keeps them, beyond the maximum too.
    EXPECT_EQ(l.find(12)->tsk_done, 0u);
    EXPECT_EQ(l.find(12)->tsk_curr_step, 150);
}

TEST_F(Velkapi, ReadModesAndAgeSelectTasks)
{
    auto ids = [](const TaskList& l) {
        std::vector<velk_u32> v;
        for (int i = 0; i < l.count; ++i)
            v.push_back(l.tasks[i].taskid.tid);
        return v;
    };
    velksim::advanceClock(100); // task 11 has failed
    EXPECT_EQ(ids(tasks(API_TASK_READ_ALL)), (std::vector<velk_u32>{10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(ids(tasks(API_TASK_READ_ACTIVE)), (std::vector<velk_u32>{10, 12}));
    EXPECT_EQ(ids(tasks(API_TASK_READ_COMPLETE)), (std::vector<velk_u32>{13}));
    EXPECT_EQ(ids(tasks(API_TASK_READ_FAIL)), (std::vector<velk_u32>{11, 14, 15}));
    // Ended more than a day ago: task 15 only.
    EXPECT_EQ(ids(tasks(API_TASK_READ_ALL, 86400)), (std::vector<velk_u32>{10, 11, 12, 13, 14}));

    int count = -1;
    tsk_data_t* list = nullptr;
    api_Status_t st = api_getTasks(0, 7, &count, &list);
    EXPECT_EQ(st.code, API_ERR_INVALID_ARG);
    EXPECT_EQ(errorText(st), "api_getTasks: invalid read mode 7");
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list, nullptr);
}

TEST_F(Velkapi, DetailTextAndRetention)
{
    tsk_data_t rec;
    char* text = nullptr;
    api_Status_t st = api_getTaskDetail(14, &rec, &text);
    ASSERT_EQ(st.code, 0) << errorText(st);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "Online copy from VV oc_src to VV oc_dst");
    EXPECT_EQ(rec.tsk_type, TASK_ONLINE_COPY);
    EXPECT_EQ(rec.tsk_cancelled, 1u);
    std::free(text);

    // Without a text pointer the record alone is filled.
    std::memset(&rec, 0, sizeof rec);
    EXPECT_EQ(api_getTaskDetail(10, &rec, nullptr).code, 0);
    EXPECT_STREQ(rec.tsk_name, "v1->v1c");

    // Task 15 ended long ago: gone from the detail call, still in the list.
    st = api_getTaskDetail(15, &rec, &text);
    EXPECT_EQ(st.code, API_ERR_NO_SUCH_TASK);
    EXPECT_EQ(errorText(st), "Task 15 does not exist");
    EXPECT_EQ(text, nullptr);
    EXPECT_NE(tasks().find(15), nullptr);
    EXPECT_EQ(api_getTaskDetail(999, &rec, nullptr).code, API_ERR_NO_SUCH_TASK);
}

TEST_F(Velkapi, CancelRunningTaskIsRecordedAndPersisted)
{
    api_evtparam_t ev = event("operator", "192.0.2.9", "VELK_ConcreteJob:RequestStateChange");
    api_Status_t st = api_cancelTask(&ev, 10);
    ASSERT_EQ(st.code, 0) << errorText(st);
    EXPECT_EQ(errorText(st), "Success");
    EXPECT_EQ(ev.cb_code, API_EVT_TASK_CANCEL);

    const tsk_data_t* t = nullptr;
    TaskList l = tasks();
    t = l.find(10);
    EXPECT_EQ(t->tsk_done, 1u);
    EXPECT_EQ(t->tsk_cancelled, 1u);
    EXPECT_EQ(t->tsk_end_time, T0 + 50);
    EXPECT_EQ(t->tsk_curr_phase, 1);
    EXPECT_EQ(t->tsk_curr_step, 5);

    // Time goes on, the cancelled task stays as it was.
    velksim::advanceClock(500);
    TaskList later = tasks();
    EXPECT_EQ(later.find(10)->tsk_end_time, T0 + 50);
    EXPECT_EQ(later.find(10)->tsk_error, 0);

    // Written back: a fresh load of the file sees the cancel.
    velksim::loadStateFile(statePath.string());
    TaskList reloaded = tasks();
    EXPECT_EQ(reloaded.find(10)->tsk_cancelled, 1u);
    EXPECT_EQ(reloaded.find(10)->tsk_end_time, T0 + 50);
    for (const auto& entry : fs::directory_iterator(dir))
        EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
}

TEST_F(Velkapi, CancelAndRemoveAreRefusedWithCodeAndText)
{
    api_evtparam_t ev = event("root", "", "VELK_ConcreteJob:DeleteInstance");
    api_Status_t st = api_cancelTask(&ev, 13);
    EXPECT_EQ(st.code, API_ERR_TASK_ENDED);
    EXPECT_EQ(errorText(st), "Task 13 has already ended and cannot be cancelled");
    st = api_cancelTask(&ev, 4242);
    EXPECT_EQ(st.code, API_ERR_NO_SUCH_TASK);
    EXPECT_EQ(errorText(st), "Task 4242 does not exist");

    velk_u32 running = 10;
    st = api_removeTasks(&ev, &running, 1, API_DOMAIN_ANY, 0);
    EXPECT_EQ(st.code, API_ERR_TASK_ACTIVE);
    EXPECT_EQ(errorText(st), "Task 10 is still active and cannot be removed");

    // All or nothing: an ended task listed with a running one stays.
    velk_u32 mixed[] = {13, 10};
    EXPECT_EQ(api_removeTasks(&ev, mixed, 2, API_DOMAIN_ANY, 0).code, API_ERR_TASK_ACTIVE);
    EXPECT_NE(tasks().find(13), nullptr);

    velk_u32 ended[] = {13, 15};
    st = api_removeTasks(&ev, ended, 2, API_DOMAIN_ANY, 0);
    ASSERT_EQ(st.code, 0) << errorText(st);
    EXPECT_EQ(ev.cb_code, API_EVT_TASK_REMOVE);
    TaskList l = tasks();
    EXPECT_EQ(l.count, 4);
    EXPECT_EQ(l.find(13), nullptr);

    st = api_removeTasks(&ev, ended, 1, API_DOMAIN_ANY, 0);
    EXPECT_EQ(st.code, API_ERR_NO_SUCH_TASK);
    EXPECT_EQ(errorText(st), "Task 13 does not exist");
    st = api_removeTasks(&ev, &ended[1], 1, API_DOMAIN_ANY, 4);
    EXPECT_EQ(errorText(st), "api_removeTasks: unsupported flags 0x4");

    velksim::loadStateFile(statePath.string());
    EXPECT_EQ(tasks().count, 4);
}

TEST_F(Velkapi, EventLogHoldsOneLinePerChangeWithTheRecordFields)
{
    api_evtparam_t ev = event("operator", "192.0.2.9", "VELK_ConcreteJob:RequestStateChange");
    std::strcpy(ev.inst_param, "by test");
    ASSERT_EQ(api_cancelTask(&ev, 10).code, 0);
    velk_u32 id = 10;
    api_evtparam_t del = event("root", "::1", "VELK_ConcreteJob:DeleteInstance");
    ASSERT_EQ(api_removeTasks(&del, &id, 1, API_DOMAIN_ANY, 0).code, 0);
    EXPECT_EQ(api_cancelTask(nullptr, 12).code, 0);
    EXPECT_NE(api_cancelTask(&ev, 12).code, 0);

    std::vector<json> lines;
    std::ifstream in(eventPath);
    for (std::string line; std::getline(in, line);)
        lines.push_back(json::parse(line));
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0]["user"], "operator");
    EXPECT_EQ(lines[0]["addr"], "192.0.2.9");
    EXPECT_EQ(lines[0]["method"], "VELK_ConcreteJob:RequestStateChange");
    EXPECT_EQ(lines[0]["inst_op"], "");
    EXPECT_EQ(lines[0]["inst_param"], "by test");
    EXPECT_EQ(lines[0]["action"], "cancel");
    EXPECT_EQ(lines[0]["tasks"], json::array({10}));
    EXPECT_EQ(lines[0]["cb_code"], API_EVT_TASK_CANCEL);
    EXPECT_EQ(lines[0]["code"], 0);
    EXPECT_EQ(lines[0]["time"], "2023-11-14T22:14:10Z");
    EXPECT_EQ(lines[1]["action"], "remove");
    EXPECT_EQ(lines[1]["addr"], "::1");
    EXPECT_EQ(lines[2]["user"], "");
    EXPECT_EQ(lines[3]["code"], API_ERR_TASK_ENDED);
    EXPECT_EQ(lines[3]["result"], "Task 12 has already ended and cannot be cancelled");

    auto captured = velksim::takeEvents();
    ASSERT_EQ(captured.size(), 4u);
    EXPECT_EQ(captured[1].method, "VELK_ConcreteJob:DeleteInstance");
    EXPECT_EQ(captured[1].taskIds, std::vector<std::uint32_t>{10});
    EXPECT_EQ(captured[3].line, lines[3].dump());
    EXPECT_TRUE(velksim::events().empty());
}

TEST_F(Velkapi, UnterminatedEventFieldsAreReadWithinTheirSize)
{
    api_evtparam_t ev;
    std::memset(&ev, 'x', sizeof ev);
    ev.cb_code = 0;
    ASSERT_EQ(api_cancelTask(&ev, 10).code, 0);
    auto captured = velksim::takeEvents();
    ASSERT_EQ(captured.size(), 1u);
    EXPECT_EQ(captured[0].user, std::string(32, 'x'));
    EXPECT_EQ(captured[0].addr, std::string(46, 'x'));
    EXPECT_EQ(captured[0].inst_param, std::string(256, 'x'));
}

TEST_F(Velkapi, UsersAndAuthorisation)
{
    EXPECT_EQ(api_velkOpenForCimserver("root"), 0);
    EXPECT_EQ(api_velkOpenForCimserver("viewer"), 0);
    EXPECT_EQ(api_velkOpenForCimserver("nocim"), 2);
    EXPECT_EQ(api_velkOpenForCimserver("ROOT"), 1);
    EXPECT_EQ(api_velkOpenForCimserver("nobody"), 1);
    EXPECT_EQ(api_velkOpenForCimserver(nullptr), 1);

    EXPECT_EQ(api_authorizeCIMUser("root", "127.0.0.1", "velk_concretejob.deleteinstance"), 0);
    EXPECT_EQ(api_authorizeCIMUser("operator", "", "velk_concretejob.requeststatechange"), 0);
    EXPECT_EQ(api_authorizeCIMUser("operator", "", "cim_concretejob.deleteinstance"), 0);
    EXPECT_EQ(api_authorizeCIMUser("viewer", "", "velk_concretejob.deleteinstance"), 2);
    EXPECT_EQ(api_authorizeCIMUser("viewer", "", "velk_concretejob.geterror"), 0);
    EXPECT_EQ(api_authorizeCIMUser("operator", "", "velk_storagevolume.requeststatechange"), 2);
    EXPECT_EQ(api_authorizeCIMUser("nocim", "", "velk_concretejob.deleteinstance"), 1);
    EXPECT_EQ(api_authorizeCIMUser("nobody", "", "velk_concretejob.deleteinstance"), 1);
    EXPECT_EQ(api_authorizeCIMUser("root", "", "VELK_ConcreteJob.DeleteInstance"), 0);
    EXPECT_EQ(api_authorizeCIMUser("root", "", "velk_concretejob.frobnicate"), 3);
    EXPECT_EQ(api_authorizeCIMUser("nobody", "", "velk_concretejob.frobnicate"), 3);
    EXPECT_EQ(api_authorizeCIMUser("root", "", nullptr), 3);

    // The state may add rules and change roles.
    json st = baseState();
    st["cim_operations"] = {{"VELK_ConcreteJob.Frobnicate", "browse"}, {"velk_concretejob.geterror", "super"}};
    velksim::loadStateJson(st.dump());
    EXPECT_EQ(api_authorizeCIMUser("viewer", "", "velk_concretejob.frobnicate"), 0);
    EXPECT_EQ(api_authorizeCIMUser("operator", "", "velk_concretejob.geterror"), 2);
}

TEST_F(Velkapi, SemaphoreExcludesAndTimesOutUnderContention)
{
    velksim::setSemaphoreTimeoutMs(100);
    EXPECT_NE(cim_sem_post(), 0); // not taken
    ASSERT_EQ(cim_sem_wait(), 0);

    std::atomic<int> result{-1};
    const auto start = std::chrono::steady_clock::now();
    std::thread waiter([&] { result = cim_sem_wait(); });
    waiter.join();
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_NE(result.load(), 0);
    EXPECT_GE(waited, std::chrono::milliseconds(90));

    // Given back while another waits: the waiter gets it.
    velksim::setSemaphoreTimeoutMs(5000);
    std::thread second([&] { result = cim_sem_wait(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(cim_sem_post(), 0);
    second.join();
    EXPECT_EQ(result.load(), 0);
    EXPECT_EQ(cim_sem_post(), 0);

    // Many threads: mutual exclusion, nothing lost.
    int counter = 0;
    std::atomic<int> inside{0}, overlap{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 200; ++k) {
                ASSERT_EQ(cim_sem_wait(), 0);
                if (inside.fetch_add(1) != 0)
                    ++overlap;
                ++counter;
                inside.fetch_sub(1);
                cim_sem_post();
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 1600);
    EXPECT_EQ(overlap.load(), 0);
}

TEST_F(Velkapi, InjectedFaults)
{
    velksim::injectFault("api_getTasks", 77, "controller busy", 2);
    for (int i = 0; i < 2; ++i) {
        int count = -1;
        tsk_data_t* list = nullptr;
        api_Status_t st = api_getTasks(0, API_TASK_READ_ALL, &count, &list);
        EXPECT_EQ(st.code, 77);
        EXPECT_EQ(errorText(st), "controller busy");
        EXPECT_EQ(count, 0);
        EXPECT_EQ(list, nullptr);
    }
    EXPECT_EQ(tasks().count, 6);

    velksim::injectFault("api_cancelTask", 9, "cancel refused by array");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(api_cancelTask(nullptr, 10).code, 9);
    EXPECT_EQ(tasks().find(10)->tsk_done, 0u); // nothing happened
    EXPECT_TRUE(velksim::events().empty());
    velksim::clearFaults();
    EXPECT_EQ(api_cancelTask(nullptr, 10).code, 0);

    velksim::injectFault("api_velkOpenForCimserver", 5, "", 1);
    EXPECT_EQ(api_velkOpenForCimserver("root"), 5);
    EXPECT_EQ(api_velkOpenForCimserver("root"), 0);

    velksim::injectFault("api_getRCopy", 12, "remote copy not started", 1);
    api_rcopy_t rc;
    std::memset(&rc, 0, sizeof rc);
    EXPECT_EQ(api_getRCopy(API_RCOPY_QUERY_TYPE_ALL, &rc).code, 12);
    api_freeRCopy(&rc);

    velksim::injectSemaphoreTimeout(2);
    EXPECT_NE(cim_sem_wait(), 0);
    EXPECT_NE(cim_sem_wait(), 0);
    EXPECT_EQ(cim_sem_wait(), 0);
    EXPECT_EQ(cim_sem_post(), 0);
    velksim::injectSemaphoreTimeout();
    EXPECT_NE(cim_sem_wait(), 0);
    velksim::clearFaults();
    EXPECT_EQ(cim_sem_wait(), 0);
    cim_sem_post();
}

TEST_F(Velkapi, RemoteCopyConfiguration)
{
    api_rcopy_t rc;
    std::memset(&rc, 0, sizeof rc);
    ASSERT_EQ(api_getRCopy(API_RCOPY_QUERY_TYPE_ALL, &rc).code, 0);
    EXPECT_STREQ(rc.sys.rm_sysname, "ArrayOne");
    ASSERT_EQ(rc.target_count, 1);
    EXPECT_STREQ(rc.targets[0].rm_hdr.rm_name, "t2");
    EXPECT_STREQ(rc.targets[0].rm_remote_sysname, "ArrayTwo");
    EXPECT_EQ(rc.link_count, 1);
    ASSERT_NE(rc.groups, nullptr);
    EXPECT_STREQ(rc.groups->group.rm_hdr.rm_name, "grpA");
    ASSERT_EQ(rc.groups->gtarget_count, 2);
    EXPECT_STREQ(rc.groups->gtargets[0].rm_target, "t2");
    EXPECT_STREQ(rc.groups->gtargets[1].rm_remote_group, "grpA.x");
    EXPECT_EQ(rc.groups->next, nullptr);
    api_freeRCopy(&rc);
    EXPECT_EQ(rc.groups, nullptr);
    EXPECT_EQ(rc.target_count, 0);

    ASSERT_EQ(api_getRCopy(API_RCOPY_QUERY_TYPE_LINK, &rc).code, 0);
    EXPECT_EQ(rc.target_count, 0);
    EXPECT_EQ(rc.groups, nullptr);
    EXPECT_STREQ(rc.links[0].rm_remote_addr, "192.0.2.2");
    api_freeRCopy(&rc);
    ASSERT_EQ(api_getRCopy(API_RCOPY_QUERY_TYPE_GROUP, &rc).code, 0);
    EXPECT_EQ(rc.link_count, 0);
    EXPECT_EQ(rc.target_count, 1);
    EXPECT_NE(rc.groups, nullptr);
    api_freeRCopy(&rc);
    EXPECT_EQ(api_getRCopy(9, &rc).code, API_ERR_INVALID_ARG);
    api_freeRCopy(&rc);
}

TEST_F(Velkapi, SystemVolumesAndSynchronizations)
{
    api_sysinfo_t info;
    ASSERT_EQ(api_getSysInfo(&info).code, 0);
    EXPECT_STREQ(info.sys_name, "ArrayOne");
    EXPECT_STREQ(info.host_name, "ctl1.example.test");
    int n = 0;
    api_vv_t* vvs = nullptr;
    ASSERT_EQ(api_getVolumes(&n, &vvs).code, 0);
    ASSERT_EQ(n, 2);
    EXPECT_STREQ(vvs[1].vv_copy_of, "v1");
    EXPECT_EQ(vvs[1].vv_type, VV_TYPE_PHYSICAL_COPY);
    std::free(vvs);
    api_vv_t vv;
    EXPECT_EQ(api_getVolume("v1c", &vv).code, 0);
    api_Status_t st = api_getVolume("nope", &vv);
    EXPECT_EQ(st.code, API_ERR_NO_SUCH_OBJECT);
    EXPECT_EQ(errorText(st), "Volume nope does not exist");
    api_vvsync_t* syncs = nullptr;
    ASSERT_EQ(api_getVolumeSyncs(&n, &syncs).code, 0);
    ASSERT_EQ(n, 1);
    EXPECT_STREQ(syncs[0].system_vv, "v1");
    EXPECT_STREQ(syncs[0].synced_vv, "v1c");
    std::free(syncs);
}

TEST_F(Velkapi, LogMessageThresholdAndCapture)
{
    velksim::setLogLevel(3);
    log_message(4, "--> %s::%s\n", "VELK_ConcreteJobProvider", "getInstance");
    log_message(2, "api_getRCopy error (%d): %s\n", 12, "boom");
    log_message(3, "no line end");
    auto lines = velksim::takeLogLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].level, 4);
    EXPECT_EQ(lines[0].text, "--> VELK_ConcreteJobProvider::getInstance\n");
    EXPECT_EQ(lines[2].text, "no line end");
    EXPECT_TRUE(velksim::logLines().empty());

    const std::string file = readAll(logPath);
    EXPECT_EQ(file.find("getInstance"), std::string::npos);
    EXPECT_NE(file.find("[2] api_getRCopy error (12): boom\n"), std::string::npos);
    EXPECT_NE(file.find("[3] no line end\n"), std::string::npos);

    const std::string longText(3000, 'a');
    log_message(2, "%s", longText.c_str());
    EXPECT_EQ(velksim::takeLogLines().at(0).text, longText);
}

// The lines of a log and its turned-over files, oldest first; every file
// within the limit and no more old files than kept.
std::vector<std::string> rotatedLines(const fs::path& log, std::size_t maxBytes, unsigned keep)
{
    std::vector<std::string> out;
    EXPECT_FALSE(fs::exists(log.string() + "." + std::to_string(keep + 1))) << log;
    for (unsigned i = keep + 1; i-- > 0;) {
        const fs::path f = i ? fs::path(log.string() + "." + std::to_string(i)) : log;
        if (!fs::exists(f))
            continue;
        const std::string text = readAll(f);
        EXPECT_LE(text.size(), maxBytes) << f;
        EXPECT_TRUE(!text.empty() && text.back() == '\n') << f << " ends in the middle of a line";
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            out.push_back(line);
    }
    return out;
}

TEST_F(Velkapi, EventLogAndLogTurnOverBySizeWithoutLosingOrSplittingLines)
{
    struct Case {
        const char* name;
        unsigned keep;
        int calls;
        std::size_t expectLines;   // what the kept files still hold
    };
    // Enough old files for everything, then fewer: the oldest files go,
    // whole.
    for (const Case c : {Case{"keep all", 60, 150, 150}, Case{"keep two", 2, 150, 0}}) {
        SCOPED_TRACE(c.name);
        ::setenv("VELK_EVENT_LOG_MAX_BYTES", "2000", 1);
        ::setenv("VELK_EVENT_LOG_KEEP", std::to_string(c.keep).c_str(), 1);
        ::setenv("VELK_LOG_MAX_BYTES", "1500", 1);
        ::setenv("VELK_LOG_KEEP", std::to_string(c.keep).c_str(), 1);
        fs::remove_all(dir);
        fs::create_directories(dir);
        velksim::reset();
        velksim::setEventLogFile(eventPath.string());
        velksim::setLogFile(logPath.string());
        velksim::loadStateJson(baseState().dump(), statePath.string());
        for (int i = 0; i < c.calls; i++) {
            api_cancelTask(nullptr, 9000 + i);   // refused, but recorded
            log_message(2, "line %d of the controller log\n", i);
        }
        for (const char* name : {"VELK_EVENT_LOG_MAX_BYTES", "VELK_EVENT_LOG_KEEP", "VELK_LOG_MAX_BYTES",
                                 "VELK_LOG_KEEP"})
            ::unsetenv(name);

        const std::vector<std::string> events = rotatedLines(eventPath, 2000, c.keep);
        const std::vector<std::string> logs = rotatedLines(logPath, 1500, c.keep);
        EXPECT_TRUE(fs::exists(eventPath.string() + ".2"));
        EXPECT_TRUE(fs::exists(logPath.string() + ".2"));
        if (c.expectLines) {
            ASSERT_EQ(events.size(), c.expectLines);
            ASSERT_EQ(logs.size(), c.expectLines);
        }
        // The newest lines are all there, in order, each one whole.
        ASSERT_FALSE(events.empty());
        const int first = c.calls - static_cast<int>(events.size());
        for (std::size_t i = 0; i < events.size(); i++)
            EXPECT_EQ(nlohmann::json::parse(events[i])["tasks"][0], 9000 + first + static_cast<int>(i)) << events[i];
        const int firstLog = c.calls - static_cast<int>(logs.size());
        for (std::size_t i = 0; i < logs.size(); i++)
            EXPECT_NE(logs[i].find("[2] line " + std::to_string(firstLog + static_cast<int>(i)) + " of the controller log"),
                      std::string::npos)
                << logs[i];
    }
}

TEST_F(Velkapi, StatusRecords)
{
    api_Status_t st;
    std::memset(&st, 0x5a, sizeof st);
    api_initStatus(&st);
    EXPECT_EQ(st.code, 0);
    EXPECT_EQ(errorText(st), "Success");
    errinfo_set_str(&st, 29, "Semaphore Timed-Out");
    EXPECT_EQ(errorText(st), "Semaphore Timed-Out");
    errinfo_set_str(&st, 4, nullptr);
    EXPECT_EQ(errorText(st), "Error 4");
    errinfo_set_str(&st, 4, "line one\n\n");
    EXPECT_EQ(errorText(st), "line one");
    char small[6];
    EXPECT_EQ(api_getErrorTextNoNL(small, sizeof small, &st), 5);
    EXPECT_STREQ(small, "line ");
    const std::string huge(400, 'e');
    errinfo_set_str(&st, 1, huge.c_str());
    EXPECT_EQ(errorText(st), std::string(323, 'e'));
}

class BadState : public Velkapi {
protected:
    std::string loadError(const std::string& text)
    {
        const fs::path p = dir / "bad.json";
        std::ofstream(p) << text;
        try {
            velksim::loadStateFile(p.string());
        } catch (const velksim::StateError& e) {
            return e.what();
        }
        return "loaded";
    }
};

TEST_F(BadState, LoadingFailsWithFilePlaceAndReason)
{
    const std::string p = (dir / "bad.json").string();
    EXPECT_EQ(loadError("{\n  \"system\": {\n    \"name\": \"a\",,\n"),
              p + ":3:17: bad JSON: syntax error while parsing object key - unexpected ','; expected string literal");

    // The base state with one value replaced (or removed when null).
    const struct {
        const char* pointer;
        json value;
        const char* error;
    } cases[] = {
        {"/tasks/2/type", "TASK_FOO", "/tasks/2/type: unknown task type \"TASK_FOO\""},
        {"/tasks/3/type", 36, "/tasks/3/type: unknown task type 36"},
        {"/tasks/4/id", 11, "/tasks/4/id: duplicate task id 11 (also /tasks/1)"},
        {"/tasks/0/start", nullptr, "/tasks/0: missing \"start\""},
        {"/synchronizations/0/synced", "ghost", "/synchronizations/0/synced: no volume \"ghost\""},
        {"/users/1/role", "admin", "/users/1/role: unknown value \"admin\" (one of browse, edit, super)"},
    };
    for (const auto& c : cases) {
        json st = baseState();
        const json::json_pointer at(c.pointer);
        if (c.value.is_null())
            st[at.parent_pointer()].erase(at.back());
        else
            st[at] = c.value;
        EXPECT_EQ(loadError(st.dump()), p + ": " + c.error);
    }
    try {
        velksim::loadStateFile((dir / "missing.json").string());
        ADD_FAILURE() << "a missing file loaded";
    } catch (const velksim::StateError& e) {
        EXPECT_EQ(std::string(e.what()), (dir / "missing.json").string() + ": cannot read: No such file or directory");
    }
    // The loaded state survived the failed loads.
    EXPECT_EQ(tasks().count, 6);
}

TEST_F(BadState, EnvironmentStateFileThatFailsGivesErrorsToEveryCall)
{
    const fs::path p = dir / "env.json";
    std::ofstream(p) << "[1, 2";
    ::setenv("VELK_STATE_FILE", p.c_str(), 1);
    velksim::reset();
    velksim::setCapture(true);
    int count = 0;
    tsk_data_t* list = nullptr;
    api_Status_t st = api_getTasks(0, API_TASK_READ_ALL, &count, &list);
    EXPECT_EQ(st.code, API_ERR_NO_STATE);
    EXPECT_EQ(errorText(st).rfind("The array state could not be loaded: " + p.string() + ":1:6: bad JSON:", 0), 0u)
        << errorText(st);
    EXPECT_NE(api_velkOpenForCimserver("root"), 0);
    auto lines = velksim::takeLogLines();
    ASSERT_EQ(lines.size(), 1u); // reported once
    EXPECT_EQ(lines[0].level, 2);

    // Once the file is good, the library picks it up.
    std::ofstream(p) << baseState().dump();
    EXPECT_EQ(api_velkOpenForCimserver("root"), 0);
    ::unsetenv("VELK_STATE_FILE");
}

TEST_F(Velkapi, RelativeTimesAreResolvedAtLoad)
{
    json st = baseState();
    st["tasks"] = json::array({{{"id", 1}, {"type", "TASK_VVCOPY"}, {"name", "a->b"}, {"phases", {"copy"}},
                                {"step_max", 10}, {"start", "now-30"}, {"duration", 100}}});
    velksim::loadStateJson(st.dump(), statePath.string());
    TaskList l = tasks();
    EXPECT_EQ(l.tasks[0].tsk_start_time, T0 + 20);
    EXPECT_EQ(l.tasks[0].tsk_curr_step, 3);
    EXPECT_EQ(json::parse(readAll(statePath))["tasks"][0]["start"], T0 + 20);
}

TEST_F(Velkapi, TasksWithEqualPhaseNamesKeepTheirOwnThroughAChangeAndAReload)
{
    json st = baseState();
    const json a = {"copy", "verify"};
    st["tasks"] = json::array({
        {{"id", 1}, {"type", "TASK_VVCOPY"}, {"name", "a"}, {"phases", a}, {"step_max", 10}, {"start", T0},
         {"duration", 100}},
        {{"id", 2}, {"type", "TASK_VVCOPY"}, {"name", "b"}, {"phases", a}, {"step_max", 10}, {"start", T0},
         {"duration", 100}},
        {{"id", 3}, {"type", "TASK_VVCOPY"}, {"name", "c"}, {"phases", {"copy"}}, {"step_max", 10},
         {"start", T0}, {"duration", 100}},
        {{"id", 4}, {"type", "TASK_VVCOPY"}, {"name", "d"}, {"start", T0}, {"duration", 100}}});
    velksim::loadStateJson(st.dump(), statePath.string());
    // Cancelling one of the tasks with equal names writes the array back.
    api_evtparam_t ev = event("operator", "192.0.2.9", "VELK_ConcreteJob:RequestStateChange");
    ASSERT_EQ(api_cancelTask(&ev, 1).code, 0);
    velksim::loadStateFile(statePath.string());
    TaskList l = tasks();
    const struct {
        velk_u32 id;
        int phases;
        const char* last;
        velk_u32 cancelled;
    } rows[] = {{1, 2, "verify", 1}, {2, 2, "verify", 0}, {3, 1, "copy", 0}, {4, 0, "", 0}};
    for (const auto& r : rows) {
        const tsk_data_t* t = l.find(r.id);
        ASSERT_NE(t, nullptr) << r.id;
        EXPECT_EQ(t->tsk_phase_max, r.phases) << r.id;
        EXPECT_STREQ(t->tsk_phase_names[r.phases ? r.phases - 1 : 0], r.last) << r.id;
        EXPECT_STREQ(t->tsk_phase_names[r.phases], "") << r.id;
        EXPECT_EQ(t->tsk_cancelled, r.cancelled) << r.id;
    }
    EXPECT_EQ(json::parse(readAll(statePath))["tasks"][3]["phases"], json::array());
}

TEST_F(Velkapi, DemoArrayLoadsWithEveryKindOfJob)
{
    velksim::loadStateJson(readAll(fs::path(VELK_SOURCE_DIR) / "demo" / "array.json"));
    TaskList l = tasks(API_TASK_READ_ALL, 0);
    EXPECT_GE(l.count, 24);
    std::set<int> types;
    int running = 0, completed = 0, failed = 0, cancelled = 0, unsupported = 0;
    const std::uint32_t supported = 0xa500ff80u;
    for (int i = 0; i < l.count; ++i) {
        const tsk_data_t& t = l.tasks[i];
        types.insert(t.tsk_type);
        if (t.tsk_type > 31 || !(supported & (1u << t.tsk_type)))
            ++unsupported;
        if (!t.tsk_done)
            ++running;
        else if (t.tsk_cancelled)
            ++cancelled;
        else if (t.tsk_error)
            ++failed;
        else
            ++completed;
    }
    for (int type : {7, 8, 9, 10, 11, 12, 13, 14, 15, 24, 26, 29, 31})
        EXPECT_TRUE(types.count(type)) << "no task of type " << type;
    EXPECT_GE(unsupported, 3);
    EXPECT_GE(running, 3);
    EXPECT_GE(completed, 3);
    EXPECT_GE(failed, 3);
    EXPECT_GE(cancelled, 2);
    EXPECT_EQ(api_velkOpenForCimserver("root"), 0);
    EXPECT_EQ(api_authorizeCIMUser("root", "", "velk_concretejob.deleteinstance"), 0);

    // Element names of the copy jobs name volumes of the array.
    for (int i = 0; i < l.count; ++i) {
        const std::string name = l.tasks[i].tsk_name;
        const auto arrow = name.find("->");
        if (arrow == std::string::npos)
            continue;
        api_vv_t vv;
        EXPECT_EQ(api_getVolume(name.substr(0, arrow).c_str(), &vv).code, 0) << name;
        EXPECT_EQ(api_getVolume(name.substr(arrow + 2).c_str(), &vv).code, 0) << name;
    }
}

TEST_F(Velkapi, FailedWriteBackUndoesTheChange)
{
    const fs::path sub = dir / "gone";
    fs::create_directories(sub);
    velksim::loadStateJson(baseState().dump(), (sub / "array.json").string());
    fs::remove_all(sub);
    api_Status_t st = api_cancelTask(nullptr, 10);
    EXPECT_EQ(st.code, API_ERR_IO);
    EXPECT_EQ(errorText(st).rfind("The array state could not be written: " + (sub / "array.json").string() + ".tmp.", 0),
              0u)
        << errorText(st);
    EXPECT_EQ(tasks().find(10)->tsk_done, 0u);
    velk_u32 ended = 13;
    EXPECT_EQ(api_removeTasks(nullptr, &ended, 1, API_DOMAIN_ANY, 0).code, API_ERR_IO);
    EXPECT_NE(tasks().find(13), nullptr);
    // Both failures are in the log and in the event log.
    int errors = 0;
    for (const auto& line : velksim::takeLogLines())
        errors += line.level == 2;
    EXPECT_EQ(errors, 2);
    auto evs = velksim::takeEvents();
    ASSERT_EQ(evs.size(), 2u);
    EXPECT_EQ(evs[0].code, API_ERR_IO);
}

TEST_F(Velkapi, UnwritableEventLogIsReportedOnceAndChangesStillHappen)
{
    velksim::setEventLogFile((dir / "no" / "such" / "events.log").string());
    EXPECT_EQ(api_cancelTask(nullptr, 10).code, 0);
    EXPECT_EQ(api_cancelTask(nullptr, 12).code, 0);
    auto lines = velksim::takeLogLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, 2);
    EXPECT_EQ(lines[0].text, "velkapi: cannot append to the event log " + (dir / "no" / "such" / "events.log").string()
                                 + ": No such file or directory\n");
    EXPECT_EQ(velksim::takeEvents().size(), 2u);
    velksim::loadStateFile(statePath.string());
    EXPECT_EQ(tasks().find(12)->tsk_cancelled, 1u);
}

TEST_F(Velkapi, ConcurrentCallersSeeConsistentState)
{
    // Readers list tasks while writers cancel and remove them.
    std::atomic<bool> stop{false};
    std::atomic<int> bad{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!stop) {
                int n = 0;
                tsk_data_t* list = nullptr;
                if (api_getTasks(0, API_TASK_READ_ALL, &n, &list).code != 0 || n < 4 || n > 6)
                    ++bad;
                std::free(list);
            }
        });
    std::thread writer([&] {
        EXPECT_EQ(api_cancelTask(nullptr, 10).code, 0);
        velk_u32 ids[] = {10, 13};
        EXPECT_EQ(api_removeTasks(nullptr, ids, 2, API_DOMAIN_ANY, 0).code, 0);
    });
    writer.join();
    stop = true;
    for (auto& t : readers)
        t.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_EQ(tasks().count, 4);
}

} // namespace
