// End to end: cimhost over the demo array, its jobs enumerated with wbemcli
// and walked from the services to their jobs and back, from jobs to their
// method results and back, and enumerations of both association classes and
// of the method results (whose embedded indications a CIM client decodes).
#include "support/CimClientTest.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>

PEGASUS_USING_PEGASUS;

namespace
{

// Jobs of the demo array: the local copy tasks and the remote copies.
const std::set<std::string> kLocalJobs = { "1001", "1002", "1003", "1004",
    "1005", "1006", "1007", "1008", "1009", "1010", "1011" };
const std::set<std::string> kRemoteJobs = { "1012", "1013", "1014", "1015",
    "1016", "1017", "1018", "1019", "1020", "1021" };

class JobAssociationsE2E : public e2e::CimClientTest
{
protected:
    static std::string url(const std::string& object) { return server->velkUrl(object); }
    // wbemcli with its arguments; the output lines on success.
    static std::vector<std::string> wbemcli(std::vector<std::string> args)
    {
        args.insert(args.begin(), "wbemcli");
        e2e::Result out = e2e::run(args);
        EXPECT_EQ(0, out.status) << args[1] << " " << args.back() << "\n" << out.out;
        return e2e::lines(out.out);
    }
};

// The object part of a path that wbemcli printed
// ("127.0.0.1:5988/root/velk:Class.Key=..." -> "Class.Key=...").
std::string objectOf(const std::string& printed)
{
    size_t at = printed.find("/root/velk:");
    std::string rest = at == std::string::npos ? printed
        : printed.substr(at + 11);
    // ai/ri print the path followed by the properties on the same line.
    size_t blank = rest.find(' ');
    return blank == std::string::npos ? rest : rest.substr(0, blank);
}

// Every task id named in the text, in order.
std::vector<std::string> taskIds(const std::string& text)
{
    std::vector<std::string> ids;
    std::regex re("task_id:([0-9]+)");
    for (std::sregex_iterator it(text.begin(), text.end(), re), end; it != end;
         ++it)
        ids.push_back((*it)[1]);
    return ids;
}

std::set<std::string> taskIdSet(const std::vector<std::string>& printed)
{
    std::set<std::string> ids;
    for (const std::string& l : printed)
    {
        std::vector<std::string> t = taskIds(l);
        if (!t.empty())
            ids.insert(t[0]);
    }
    return ids;
}

std::string single(const std::vector<std::string>& printed)
{
    EXPECT_EQ(1u, printed.size());
    return printed.empty() ? std::string() : objectOf(printed[0]);
}

// Each service owns its jobs (the storage service the local copies, the
// replication service the remote ones), in both directions, as names,
// instances and references.
TEST_F(JobAssociationsE2E, EachServiceToItsJobsAndBack)
{
    const struct
    {
        const char* service;
        const char* other;
        const std::set<std::string>& jobs;
    } rows[] = {
        {"VELK_StorageConfigurationService", "VELK_ReplicationService", kLocalJobs},
        {"VELK_ReplicationService", "VELK_StorageConfigurationService", kRemoteJobs},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.service);
        const std::string svc = single(wbemcli({"ein", url(row.service)}));
        ASSERT_FALSE(svc.empty());
        std::vector<std::string> jobs = wbemcli({"ain", "-ac", "VELK_OwningJobElement", url(svc)});
        EXPECT_EQ(row.jobs, taskIdSet(jobs));
        EXPECT_EQ(row.jobs.size(), jobs.size());
        std::vector<std::string> instances =
            wbemcli({"ai", "-ac", "VELK_OwningJobElement", url(svc)});
        std::string all;
        for (const std::string& l : instances)
            all += l + "\n";
        EXPECT_NE(std::string::npos, all.find("JobState="));
        EXPECT_EQ(row.jobs, taskIdSet(instances));
        std::vector<std::string> refs = wbemcli({"rin", "-arc", "VELK_OwningJobElement", url(svc)});
        EXPECT_EQ(row.jobs.size(), refs.size());
        for (const std::string& r : refs)
        {
            EXPECT_NE(std::string::npos, r.find("VELK_OwningJobElement.")) << r;
            EXPECT_NE(std::string::npos, r.find("OwningElement=")) << r;
            EXPECT_NE(std::string::npos, r.find(row.service)) << r;
        }
        EXPECT_EQ(row.jobs, taskIdSet(wbemcli({"ri", "-arc", "VELK_OwningJobElement", url(svc)})));

        // Back from one job to its service, and to no other.
        ASSERT_FALSE(jobs.empty());
        const std::string job = objectOf(jobs[0]);
        std::vector<std::string> owners = wbemcli({"ain", "-ac", "VELK_OwningJobElement", url(job)});
        ASSERT_EQ(1u, owners.size());
        EXPECT_NE(std::string::npos, owners[0].find(row.service));
        std::vector<std::string> ownerInstances =
            wbemcli({"ai", "-ac", "VELK_OwningJobElement", url(job)});
        ASSERT_FALSE(ownerInstances.empty());
        EXPECT_NE(std::string::npos, ownerInstances[0].find(row.service));
        EXPECT_EQ(1u, wbemcli({"rin", "-arc", "VELK_OwningJobElement", url(job)}).size());
        EXPECT_FALSE(wbemcli({"ri", "-arc", "VELK_OwningJobElement", url(job)}).empty());
        EXPECT_TRUE(wbemcli({"ain", "-ac", "VELK_OwningJobElement", "-arc", row.other,
            url(job)}).empty());
    }
}

TEST_F(JobAssociationsE2E, JobToItsMethodResultAndBack)
{
    const std::string job = "VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:1004\"";
    std::vector<std::string> results = wbemcli(
        {"ain", "-ac", "VELK_AssociatedJobMethodResult", url(job)});
    ASSERT_EQ(1u, results.size());
    EXPECT_NE(std::string::npos, results[0].find("VELK_MethodResult."));
    EXPECT_EQ(std::vector<std::string>{"1004"}, taskIds(results[0]));

    std::vector<std::string> resultInstances = wbemcli(
        {"ai", "-ac", "VELK_AssociatedJobMethodResult", url(job)});
    ASSERT_FALSE(resultInstances.empty());
    std::string text;
    for (const std::string& l : resultInstances)
        text += l + "\n";
    EXPECT_NE(std::string::npos, text.find("PreCallIndication"));

    const std::string mr = objectOf(results[0]);
    std::vector<std::string> jobs = wbemcli(
        {"ain", "-ac", "VELK_AssociatedJobMethodResult", url(mr)});
    ASSERT_EQ(1u, jobs.size());
    EXPECT_NE(std::string::npos, jobs[0].find("VELK_ConcreteJob."));
    EXPECT_EQ(std::vector<std::string>{"1004"}, taskIds(jobs[0]));

    std::vector<std::string> refs = wbemcli(
        {"rin", "-arc", "VELK_AssociatedJobMethodResult", url(job)});
    ASSERT_EQ(1u, refs.size());
    EXPECT_NE(std::string::npos, refs[0].find("JobParameters="));
    std::vector<std::string> back = wbemcli(
        {"rin", "-arc", "VELK_AssociatedJobMethodResult", url(mr)});
    ASSERT_EQ(1u, back.size());
    EXPECT_EQ(objectOf(refs[0]), objectOf(back[0]));
    std::vector<std::string> refInstances = wbemcli(
        {"ri", "-arc", "VELK_AssociatedJobMethodResult", url(mr)});
    ASSERT_FALSE(refInstances.empty());
}

TEST_F(JobAssociationsE2E, EnumeratesAssociationsAndMethodResults)
{
    std::set<std::string> allJobs = kLocalJobs;
    allJobs.insert(kRemoteJobs.begin(), kRemoteJobs.end());

    for (const char* assoc : {"VELK_OwningJobElement", "VELK_AssociatedJobMethodResult"})
    {
        EXPECT_EQ(allJobs.size(), wbemcli({"ein", url(assoc)}).size()) << assoc;
        EXPECT_EQ(allJobs.size(), wbemcli({"ei", url(assoc)}).size()) << assoc;
    }

    std::vector<std::string> names = wbemcli({"ein", url("VELK_MethodResult")});
    EXPECT_EQ(allJobs, taskIdSet(names));
    std::vector<std::string> results = wbemcli({"ei", url("VELK_MethodResult")});
    EXPECT_EQ(allJobs, taskIdSet(results));
    std::string text;
    for (const std::string& l : results)
        text += l + "\n";
    EXPECT_NE(std::string::npos, text.find("PreCallIndication="));
    EXPECT_NE(std::string::npos, text.find("PostCallIndication="));
    EXPECT_NE(std::string::npos, text.find("CIM_InstMethodCall"));

    // A CIM client decodes the embedded indications.
    Array<CIMInstance> mrs = client.enumerateInstances(
        CIMNamespaceName("root/velk"), CIMName("VELK_MethodResult"));
    EXPECT_EQ(allJobs.size(), mrs.size());
    Uint32 decoded = 0;
    for (Uint32 i = 0; i < mrs.size(); i++)
    {
        Uint32 p = mrs[i].findProperty(CIMName("PostCallIndication"));
        ASSERT_NE(PEG_NOT_FOUND, p);
        CIMValue v = mrs[i].getProperty(p).getValue();
        ASSERT_EQ(CIMTYPE_INSTANCE, v.getType());
        CIMInstance call;
        v.get(call);
        EXPECT_EQ(String("CIM_InstMethodCall"), call.getClassName().getString());
        const std::string method = e2e::propertyText(call, "MethodName");
        if (method == "<null>")
            continue;   // remote copies stand for no method
        EXPECT_FALSE(method.empty());
        Uint32 mp = call.findProperty(CIMName("MethodParameters"));
        ASSERT_NE(PEG_NOT_FOUND, mp);
        CIMValue params = call.getProperty(mp).getValue();
        EXPECT_TRUE(params.getType() == CIMTYPE_OBJECT ||
            params.getType() == CIMTYPE_INSTANCE);
        decoded++;
    }
    EXPECT_EQ(kLocalJobs.size(), decoded);
}

// The properties wbemcli -nl prints for the job of that task: name -> text.
std::map<std::string, std::string> propertiesOf(const std::vector<std::string>& printed, int taskId)
{
    std::map<std::string, std::string> props;
    const std::string marker = "KORVANE:task_id:" + std::to_string(taskId) + "\"";
    const std::regex pathLine("^\\S*VELK_ConcreteJob\\.InstanceID=");
    bool inside = false;
    for (const std::string& line : printed)
    {
        if (std::regex_search(line, pathLine))
            inside = line.find(marker) != std::string::npos;
        size_t eq = line.find('=');
        if (!inside || line.size() < 2 || line[0] != '-' || eq == std::string::npos)
            continue;
        std::string value = line.substr(eq + 1);
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        props[line.substr(1, eq - 1)] = value;
    }
    return props;
}

// Every job of the demo array in task order, and only those, with their
// values as wbemcli prints them.
TEST_F(JobAssociationsE2E, WbemcliEnumeratesEveryJobWithItsValues)
{
    std::vector<std::string> expected(kLocalJobs.begin(), kLocalJobs.end());
    expected.insert(expected.end(), kRemoteJobs.begin(), kRemoteJobs.end());
    ASSERT_EQ(21u, expected.size());
    auto ids = [](const std::vector<std::string>& printed) {
        std::vector<std::string> out;
        for (const std::string& l : printed)
            for (const std::string& id : taskIds(l))
                out.push_back(id);
        return out;
    };
    EXPECT_EQ(expected, ids(wbemcli({"ein", url("VELK_ConcreteJob")})));
    std::vector<std::string> instances = wbemcli({"-nl", "ei", url("VELK_ConcreteJob")});
    std::vector<std::string> paths;
    for (const std::string& l : instances)
        if (l.compare(0, 1, "-") != 0)
            paths.push_back(l);
    EXPECT_EQ(expected, ids(paths));

    // A running copy, a failed copy, a cancelled promote, a failover.
    auto running = propertiesOf(instances, 1001);
    EXPECT_EQ("1001", running["ElementName"]);
    EXPECT_EQ("vol_db01->vol_db01_copy", running["Name"]);
    EXPECT_EQ("vol_db01", running["SourceElementName"]);
    EXPECT_EQ("vol_db01_copy", running["TargetElementName"]);
    EXPECT_EQ("4", running["JobState"]);
    EXPECT_EQ("OK", running["JobStatus"]);
    EXPECT_EQ("7", running["JobType"]);
    EXPECT_EQ("VELK_StorageConfigurationService", running["Owner"]);
    EXPECT_EQ("00000030000000.000000:000", running["TimeBeforeRemoval"]);
    auto failed = propertiesOf(instances, 1003);
    EXPECT_EQ("10", failed["JobState"]);
    EXPECT_EQ("Error", failed["JobStatus"]);
    EXPECT_EQ("28", failed["ErrorCode"]);
    EXPECT_EQ("100", failed["PercentComplete"]);
    auto cancelled = propertiesOf(instances, 1005);
    EXPECT_EQ("8", cancelled["JobState"]);
    EXPECT_EQ("Stopped", cancelled["JobStatus"]);
    auto failover = propertiesOf(instances, 1015);
    EXPECT_EQ("rcg_finance", failover["SourceElementName"]);
    EXPECT_EQ("VELK_ReplicationService", failover["Owner"]);
    EXPECT_FALSE(failover["TargetElementName"].empty());

    // GetInstance gives the same job; a task of another kind is no job.
    auto got = propertiesOf(wbemcli({"-nl", "gi",
        url("VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:1003\"")}), 1003);
    EXPECT_EQ("10", got["JobState"]);
    EXPECT_EQ("28", got["ErrorCode"]);
    e2e::Result sched = e2e::run({"wbemcli", "gi",
        url("VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:1022\"")});
    EXPECT_NE(0, sched.status);
    EXPECT_NE(std::string::npos, sched.out.find("CIM_ERR_NOT_FOUND")) << sched.out;
}

} // namespace
