// velk_perf: how fast and how lean cimhost answers the job module's large
// requests. For each cimhost binary given (default: this build's), it starts
// the server over a generated array of N tasks, most of them jobs, and
// measures over plain HTTP connections, one server at a time:
//
//   - EnumerateInstances of VELK_ConcreteJob, with "TE: trailers" (the server
//     may answer chunked) and without (Content-Length), median of several;
//   - EnumerateInstanceNames, median of several;
//   - GetInstance throughput of 8 keep-alive clients;
//   - a pull enumeration in pages of 500 (when the server offers it);
//   - the server's peak resident memory during each enumeration, its peak
//     over the whole run and its resident memory two seconds after the run
//     (a server may give memory back once it has been quiet for a while).
//
// The servers take turns, round after round (--rounds), and each figure is
// the median over the rounds, so that a slow spell of a shared machine does
// not fall on one server only. With two binaries the last column compares
// the last with the first.
#include "LoadStats.h"
#include "support/DemoServer.h"
#include "support/HttpConnection.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
using velkload::LoadStats;

const char* const kNamespaceObject = "root%2Fvelk";
const char* const kUser = "storageadmin";
const char* const kPassword = "perf-Pass-4471";

struct Settings
{
    int tasks = 10000;
    int repeats = 5;
    int rounds = 3;
    int clients = 8;
    double seconds = 5.0;
    int page = 500;
};

// Figures of one server; negative: not measured.
struct Figures
{
    size_t jobs = 0;
    size_t answerBytes = 0;
    double enumChunked = -1;
    double enumLength = -1;
    double enumNames = -1;
    double getRate = -1;
    double pull = -1;
    long peakChunkedKb = -1;
    long peakLengthKb = -1;
    long peakKb = -1;
    long rssAfterKb = -1;
    bool chunked = false;
    std::string failure;
};

// A generated array: N tasks of every job type in every state; every ninth
// and tenth of a group of ten is a schedule, which is never a job.
std::string generateState(int count)
{
    using nlohmann::json;
    const char* types[] = {"TASK_VVCOPY", "TASK_PROMOTESV", "TASK_RC_SYNC", "TASK_SS_ACC",
        "TASK_PHYSCOPY_RESYNC", "TASK_RC_FAILOVER", "TASK_RC_RECOVER", "TASK_ONLINE_COPY"};
    const char* states[] = {"running", "completed", "failed", "cancelled"};
    json tasks = json::array();
    for (int i = 0; i < count; i++)
    {
        bool schedule = i % 9 >= 7;
        const char* state = states[i % 4];
        json t = {{"id", 1001 + i}, {"type", schedule ? "TASK_SCHED" : types[i % 8]},
            {"name", i % 8 == 5 || i % 8 == 6 ? std::string("grpA")
                                              : "vol" + std::to_string(i) + "->vol" +
                        std::to_string(i) + "_copy"},
            {"user", i % 3 ? "storageadmin" : "operator"},
            {"phases", json::array({"prepare", "copy", "verify"})}, {"step_max", 100},
            {"start", "now-86400"}, {"state", state}};
        if (std::string(state) == "running")
        {
            t["duration"] = 10000000;
            t["curr_step"] = i % 100;
        }
        else
            t["end"] = "now-3600";
        if (std::string(state) == "failed")
        {
            t["error"] = 28;
            t["error_text"] = "Copy failed: not enough free space in vv_ssd_r5";
        }
        if (i % 8 == 7)
            t["detail"] = "Online copy from VV src" + std::to_string(i) + " to dst";
        tasks.push_back(t);
    }
    json users = json::array();
    users.push_back({{"name", "storageadmin"}, {"role", "super"}, {"cim_access", true}});
    users.push_back({{"name", "operator"}, {"role", "edit"}, {"cim_access", true}});
    json state = {
        {"system", {{"name", "VELK-PERF-01"}, {"host_name", "velk-perf"}, {"serial", "1600001"},
            {"model", "VK-8400"}, {"id", 4711}}},
        {"detail_retention_seconds", 100000000},
        {"users", users},
        {"tasks", tasks},
        {"volumes", json::array()},
        {"synchronizations", json::array()},
        {"remote_copy",
         {{"targets", json::array({{{"name", "tA"}, {"remote_system", "Two"}}})},
          {"links", json::array()},
          {"groups", json::array({{{"name", "grpA"},
              {"targets", json::array({{{"target", "tA"}, {"remote_group", "grpA.r"}}})}}})}}},
    };
    return state.dump(1);
}

std::string call(const std::string& method, const std::string& params)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
           "<SIMPLEREQ><IMETHODCALL NAME=\"" + method + "\"><LOCALNAMESPACEPATH>"
           "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"velk\"/></LOCALNAMESPACEPATH>" +
        params + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";
}

std::string jobClassParam()
{
    return "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"VELK_ConcreteJob\"/></IPARAMVALUE>";
}

std::string request(const std::string& method, const std::string& params, bool trailers = true)
{
    return e2e::HttpConnection::cimRequest(method, kNamespaceObject, call(method, params),
        kUser, kPassword, trailers);
}

size_t countOf(const std::string& text, const char* what)
{
    size_t n = 0;
    size_t len = std::strlen(what);
    for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + len))
        n++;
    return n;
}

// The CIM error of an answer (ERROR element or trailer), or 0.
int cimError(const e2e::HttpAnswer& a)
{
    std::string trailer = a.trailer("CIMStatusCode");
    if (!trailer.empty() && std::atoi(trailer.c_str()) != 0)
        return std::atoi(trailer.c_str());
    // An ERROR element counts within the first 1024 bytes only: the search
    // stops there instead of running through the whole body.
    const std::string error = "<ERROR ";
    size_t pos = std::string_view(a.body).substr(0, 1024 + error.size()).find(error);
    if (pos == std::string::npos || pos > 1024)
        return 0;
    pos = a.body.find("CODE=\"", pos);
    return pos == std::string::npos ? -1 : std::atoi(a.body.c_str() + pos + 6);
}

void check(bool ok, const std::string& what)
{
    if (!ok)
        throw std::runtime_error(what);
}

// Text of the VALUE after NAME="name" in a pull answer, or "".
std::string paramValue(const std::string& body, const char* name)
{
    size_t pos = body.rfind(std::string("NAME=\"") + name + "\"");
    if (pos == std::string::npos)
        return std::string();
    size_t start = body.find("<VALUE>", pos);
    size_t end = body.find("</VALUE>", start);
    if (start == std::string::npos || end == std::string::npos)
        return std::string();
    return body.substr(start + 7, end - start - 7);
}

long procStatusKb(pid_t pid, const char* field)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    size_t n = std::strlen(field);
    while (std::getline(in, line))
        if (line.compare(0, n, field) == 0)
            return std::atol(line.c_str() + n);
    return -1;
}

// Starts a new peak-memory period for the process.
void resetPeak(pid_t pid)
{
    std::ofstream("/proc/" + std::to_string(pid) + "/clear_refs") << "5";
}

double seconds(Clock::time_point since)
{
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// Median latency of `repeats` round trips of one request; every answer
// must be a 200 without CIM error holding `expected` objects.
double medianLatency(e2e::HttpConnection& c, const std::string& req, int repeats,
    const char* element, size_t expected, e2e::HttpAnswer& last)
{
    LoadStats stats;
    for (int i = 0; i < repeats; i++)
    {
        Clock::time_point start = Clock::now();
        check(c.roundTrip(req, last), "the connection failed");
        std::int64_t micros = std::chrono::duration_cast<std::chrono::microseconds>(
            Clock::now() - start).count();
        check(last.status == 200, "HTTP status " + std::to_string(last.status));
        check(cimError(last) == 0, "CIM error " + std::to_string(cimError(last)));
        size_t got = countOf(last.body, element);
        check(got == expected, std::to_string(got) + " " + element + " instead of " +
            std::to_string(expected));
        stats.record(micros, LoadStats::Ok);
    }
    return stats.percentileMs(50) / 1000.0;
}

std::vector<std::string> jobKeys(const std::string& names)
{
    std::vector<std::string> keys;
    const std::string open = "<KEYVALUE VALUETYPE=\"string\">";
    for (size_t pos = names.find(open); pos != std::string::npos; pos = names.find(open, pos))
    {
        pos += open.size();
        keys.push_back(names.substr(pos, names.find("</KEYVALUE>", pos) - pos));
    }
    return keys;
}

double getInstanceRate(int port, const std::vector<std::string>& keys, const Settings& s)
{
    std::vector<std::string> requests;
    for (const std::string& k : keys)
        requests.push_back(request("GetInstance",
            "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"VELK_ConcreteJob\">"
            "<KEYBINDING NAME=\"InstanceID\"><KEYVALUE VALUETYPE=\"string\">" + k +
            "</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
            "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>"));
    std::atomic<long> ok(0);
    std::atomic<long> failed(0);
    std::atomic<bool> go(false);
    Clock::time_point deadline;
    std::vector<std::thread> threads;
    for (int t = 0; t < s.clients; t++)
        threads.emplace_back([&, t] {
            std::unique_ptr<e2e::HttpConnection> c(new e2e::HttpConnection(port));
            while (!go)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            e2e::HttpAnswer a;
            for (size_t i = size_t(t) * 7919; Clock::now() < deadline; i++)
            {
                if (c->roundTrip(requests[i % requests.size()], a) && a.status == 200 &&
                    cimError(a) == 0 && a.body.find("<INSTANCE ") != std::string::npos)
                    ok++;
                else
                    failed++;
                // The server ends a keep-alive connection after so many requests.
                if (a.status != 200 || strcasecmp(a.header("Connection").c_str(), "close") == 0)
                    c.reset(new e2e::HttpConnection(port));
            }
        });
    Clock::time_point start = Clock::now();
    deadline = start + std::chrono::microseconds(std::int64_t(s.seconds * 1e6));
    go = true;
    for (std::thread& t : threads)
        t.join();
    double elapsed = seconds(start);
    check(failed == 0, std::to_string(failed.load()) + " GetInstance requests failed");
    return double(ok) / elapsed;
}

// Walks the jobs in pages; the seconds of the whole walk, or -1 when the
// server does not answer pull operations.
double pullWalk(e2e::HttpConnection& c, const Settings& s, size_t expected)
{
    std::string max = "<IPARAMVALUE NAME=\"MaxObjectCount\"><VALUE>" +
        std::to_string(s.page) + "</VALUE></IPARAMVALUE>";
    e2e::HttpAnswer a;
    Clock::time_point start = Clock::now();
    check(c.roundTrip(request("OpenEnumerateInstances", jobClassParam() + max), a),
        "the connection failed");
    if (cimError(a) == 7)
        return -1;
    check(a.status == 200 && cimError(a) == 0, "OpenEnumerateInstances failed: " +
        std::to_string(a.status) + " CIM error " + std::to_string(cimError(a)));
    size_t got = countOf(a.body, "<VALUE.INSTANCEWITHPATH>");
    while (paramValue(a.body, "EndOfSequence") != "TRUE")
    {
        std::string context = paramValue(a.body, "EnumerationContext");
        check(!context.empty(), "no EnumerationContext in a pull answer");
        check(c.roundTrip(request("PullInstancesWithPath",
            "<IPARAMVALUE NAME=\"EnumerationContext\"><VALUE>" + context +
            "</VALUE></IPARAMVALUE>" + max), a), "the connection failed");
        check(a.status == 200 && cimError(a) == 0, "PullInstancesWithPath failed: CIM error " +
            std::to_string(cimError(a)));
        got += countOf(a.body, "<VALUE.INSTANCEWITHPATH>");
    }
    double elapsed = seconds(start);
    check(got == expected, "the pull walk gave " + std::to_string(got) + " of " +
        std::to_string(expected) + " jobs");
    return elapsed;
}

Figures measure(const std::string& binary, const std::string& preload,
    const std::string& stateFile, const Settings& s)
{
    Figures f;
    e2e::DemoServer::Options options;
    options.cimhost = binary;
    std::string dir = binary.substr(0, binary.rfind('/'));
    options.moduleDir = dir + "/../lib";
    options.stateTemplate = stateFile;
    options.user = kUser;
    options.password = kPassword;
    options.arrayLogLevel = "3";
    options.extraArgs = {"--workers", std::to_string(s.clients + 4)};
    if (!preload.empty())
        options.environment.push_back("LD_PRELOAD=" + preload);
    try
    {
        e2e::DemoServer server(options);
        server.start();
        pid_t pid = server.pid();
        e2e::HttpConnection c(server.port());
        e2e::HttpAnswer a;

        // Warm-up: providers loaded, the set of jobs known.
        std::string names = request("EnumerateInstanceNames", jobClassParam());
        check(c.roundTrip(names, a) && a.status == 200 && cimError(a) == 0,
            "EnumerateInstanceNames failed");
        std::vector<std::string> keys = jobKeys(a.body);
        f.jobs = keys.size();
        check(f.jobs > 0, "the server has no jobs");

        std::string params = jobClassParam() +
            "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>";
        resetPeak(pid);
        f.enumChunked = medianLatency(c, request("EnumerateInstances", params, true), s.repeats,
            "<VALUE.NAMEDINSTANCE>", f.jobs, a);
        f.peakChunkedKb = procStatusKb(pid, "VmHWM:");
        f.chunked = a.chunked;
        resetPeak(pid);
        f.enumLength = medianLatency(c, request("EnumerateInstances", params, false), s.repeats,
            "<VALUE.NAMEDINSTANCE>", f.jobs, a);
        f.peakLengthKb = procStatusKb(pid, "VmHWM:");
        f.answerBytes = a.body.size();
        // A names answer takes a few milliseconds, where a slow spell of the
        // machine weighs most: its median is taken over three times as many.
        f.enumNames = medianLatency(c, names, 3 * s.repeats, "<INSTANCENAME ", f.jobs, a);
        f.getRate = getInstanceRate(server.port(), keys, s);
        // The first connection idled through the GetInstance run.
        e2e::HttpConnection fresh(server.port());
        f.pull = pullWalk(fresh, s, f.jobs);
        f.peakKb = std::max(std::max(f.peakChunkedKb, f.peakLengthKb),
            procStatusKb(pid, "VmHWM:"));
        std::this_thread::sleep_for(std::chrono::seconds(2));
        f.rssAfterKb = procStatusKb(pid, "VmRSS:");
        if (server.stop() != 0)
            f.failure = "cimhost did not stop cleanly";
    }
    catch (const std::exception& e)
    {
        f.failure = e.what();
    }
    return f;
}

template <class T>
T medianOf(std::vector<T> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// One server's figures over all rounds: the median of each, the first
// failure if any.
Figures combine(const std::vector<Figures>& rounds)
{
    Figures f = rounds.front();
    for (const Figures& r : rounds)
        if (f.failure.empty() && !r.failure.empty())
            f.failure = r.failure;
    auto real = [&rounds](double Figures::*field) {
        std::vector<double> v;
        for (const Figures& r : rounds)
            v.push_back(r.*field);
        return medianOf(v);
    };
    auto kb = [&rounds](long Figures::*field) {
        std::vector<long> v;
        for (const Figures& r : rounds)
            v.push_back(r.*field);
        return medianOf(v);
    };
    f.enumChunked = real(&Figures::enumChunked);
    f.enumLength = real(&Figures::enumLength);
    f.enumNames = real(&Figures::enumNames);
    f.getRate = real(&Figures::getRate);
    f.pull = real(&Figures::pull);
    f.peakChunkedKb = kb(&Figures::peakChunkedKb);
    f.peakLengthKb = kb(&Figures::peakLengthKb);
    f.peakKb = kb(&Figures::peakKb);
    f.rssAfterKb = kb(&Figures::rssAfterKb);
    return f;
}

std::string cell(double v, const char* format)
{
    if (v < 0)
        return "-";
    char buf[64];
    std::snprintf(buf, sizeof buf, format, v);
    return buf;
}

void row(const char* name, const std::vector<Figures>& all, double Figures::*field,
    const char* format, bool higherIsBetter)
{
    std::printf("%-40s", name);
    for (const Figures& f : all)
        std::printf(" %14s", cell(f.*field, format).c_str());
    if (all.size() == 2 && all[0].*field > 0 && all[1].*field > 0)
    {
        double ratio = higherIsBetter ? all[1].*field / all[0].*field
                                      : all[0].*field / all[1].*field;
        std::printf(" %10.2fx", ratio);
    }
    std::printf("\n");
}

void memoryRow(const char* name, const std::vector<Figures>& all, long Figures::*field)
{
    std::printf("%-40s", name);
    for (const Figures& f : all)
        std::printf(" %14s", cell(f.*field < 0 ? -1.0 : double(f.*field) / 1024.0, "%.1f MB").c_str());
    if (all.size() == 2 && all[0].*field > 0 && all[1].*field > 0)
        std::printf(" %10.2fx", double(all[1].*field) / double(all[0].*field));
    std::printf("\n");
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Measures cimhost's large answers over a generated array: enumeration "
                 "latency, GetInstance throughput, pull enumeration and memory.");
    std::vector<std::string> binaries;
    std::vector<std::string> preloads;
    Settings s;
    app.add_option("--cimhost", binaries,
        "cimhost binary to measure (repeat to compare; its modules are in ../lib beside "
        "its bin folder); default: this build's")->check(CLI::ExistingFile);
    app.add_option("--preload", preloads,
        "a library the server starts with (LD_PRELOAD), for instance another malloc; "
        "given once per --cimhost, \"none\" for none");
    app.add_option("--tasks", s.tasks, "tasks of the generated array")
        ->check(CLI::Range(1, 1000000));
    app.add_option("--rounds", s.rounds,
        "turns of every server, one after the other (the median over them counts)")
        ->check(CLI::Range(1, 20));
    app.add_option("--repeats", s.repeats,
        "runs of each enumeration, three times as many of names (the median counts)")
        ->check(CLI::Range(1, 100));
    app.add_option("--clients", s.clients, "concurrent GetInstance clients")
        ->check(CLI::Range(1, 64));
    app.add_option("--seconds", s.seconds, "length of the GetInstance run")
        ->check(CLI::Range(0.1, 600.0));
    app.add_option("--page", s.page, "objects per pull page")->check(CLI::Range(1, 100000));
    CLI11_PARSE(app, argc, argv);
    if (binaries.empty())
        binaries.push_back(VELK_BIN_DIR "/cimhost");
    if (!preloads.empty() && preloads.size() != binaries.size())
    {
        std::fprintf(stderr, "velk_perf: give --preload once for each --cimhost\n");
        return 2;
    }
    preloads.resize(binaries.size());
    for (std::string& p : preloads)
        if (p == "none")
            p.clear();

    char dir[] = "/tmp/velk-perf-XXXXXX";
    if (!::mkdtemp(dir))
    {
        std::fprintf(stderr, "velk_perf: cannot make a temporary folder\n");
        return 2;
    }
    std::string stateFile = std::string(dir) + "/array.json";
    std::ofstream(stateFile) << generateState(s.tasks);

    std::vector<std::vector<Figures>> rounds(binaries.size());
    for (int r = 0; r < s.rounds; r++)
        for (size_t i = 0; i < binaries.size(); i++)
        {
            std::fprintf(stderr, "velk_perf: round %d of %d, measuring %s\n", r + 1, s.rounds,
                binaries[i].c_str());
            rounds[i].push_back(measure(binaries[i], preloads[i], stateFile, s));
        }
    std::vector<Figures> all;
    for (const std::vector<Figures>& r : rounds)
        all.push_back(combine(r));
    ::unlink(stateFile.c_str());
    ::rmdir(dir);

    std::printf("velk_perf: %d tasks, %d runs per enumeration (median; %d of names), %d "
                "GetInstance clients for %.1f s, pull pages of %d; medians of %d rounds\n",
        s.tasks, s.repeats, 3 * s.repeats, s.clients, s.seconds, s.page, s.rounds);
    for (size_t i = 0; i < binaries.size(); i++)
        std::printf("  [%zu] %s%s%s: %zu jobs, %.1f MB answer%s\n", i + 1, binaries[i].c_str(),
            preloads[i].empty() ? "" : " with ", preloads[i].c_str(), all[i].jobs,
            double(all[i].answerBytes) / 1e6, all[i].chunked ? ", chunked with TE: trailers" : "");
    std::printf("%-40s", "measure");
    for (size_t i = 0; i < binaries.size(); i++)
        std::printf(" %14s", ("[" + std::to_string(i + 1) + "]").c_str());
    if (all.size() == 2)
        std::printf(" %11s", "[2] vs [1]");
    std::printf("\n");
    row("EnumerateInstances, TE: trailers (s)", all, &Figures::enumChunked, "%.4f", false);
    row("EnumerateInstances, Content-Length (s)", all, &Figures::enumLength, "%.4f", false);
    row("EnumerateInstanceNames (s)", all, &Figures::enumNames, "%.4f", false);
    row("GetInstance, keep-alive clients (req/s)", all, &Figures::getRate, "%.0f", true);
    std::printf("%-40s", "pull walk, OpenEnumerateInstances (s)");
    for (const Figures& f : all)
        std::printf(" %14s", f.pull < 0 ? "not supported" : cell(f.pull, "%.4f").c_str());
    if (all.size() == 2 && all[0].pull > 0 && all[1].pull > 0)
        std::printf(" %10.2fx", all[0].pull / all[1].pull);
    std::printf("\n");
    memoryRow("peak memory, EnumerateInstances TE", all, &Figures::peakChunkedKb);
    memoryRow("peak memory, EnumerateInstances C-L", all, &Figures::peakLengthKb);
    memoryRow("peak memory, whole run", all, &Figures::peakKb);
    memoryRow("resident memory 2 s after the run", all, &Figures::rssAfterKb);
    int status = 0;
    for (size_t i = 0; i < binaries.size(); i++)
        if (!all[i].failure.empty())
        {
            std::printf("[%zu] failed: %s\n", i + 1, all[i].failure.c_str());
            status = 1;
        }
    return status;
}
