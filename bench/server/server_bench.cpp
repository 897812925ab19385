// cimhost over HTTP, measured from the client side with keep-alive
// connections and Basic authentication, as wbemcli-style clients use it.
#include "PasswordFile.h"

#include <cimhost/EmbeddedServer.h>

#include <benchmark/benchmark.h>
#include <httplib.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>

namespace
{

const char* const ENUMERATE =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
    "<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateInstances\"><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"bench\"/></LOCALNAMESPACEPATH>"
    "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"Bench_Thing\"/></IPARAMVALUE>"
    "<IPARAMVALUE NAME=\"DeepInheritance\"><VALUE>TRUE</VALUE></IPARAMVALUE>"
    "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>"
    "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";

std::string getInstanceBody(int n)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"2\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\"><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"bench\"/></LOCALNAMESPACEPATH>"
        "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"Bench_Thing\">"
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"string\">t" + std::to_string(n) +
        "</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>"
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

std::string basicAuth()
{
    std::string plain = "bench:bench-pw";
    std::string out(4 * ((plain.size() + 2) / 3) + 1, '\0');
    int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&out[0]),
        reinterpret_cast<const unsigned char*>(plain.data()), static_cast<int>(plain.size()));
    out.resize(static_cast<size_t>(n));
    return "Basic " + out;
}

// One server for the whole run.
class BenchServer
{
public:
    static BenchServer& get()
    {
        static BenchServer server;
        return server;
    }

    int port() const { return _server->httpPort(); }

private:
    BenchServer()
    {
        char dir[] = "/tmp/cimhost-bench-XXXXXX";
        _dir = ::mkdtemp(dir);
        cimhost::PasswordFile(_dir + "/passwd").setPassword("bench", "bench-pw");
        cimhost::ServerOptions o;
        o.schemaFiles = {VELK_SOURCE_DIR "/schema/root.mof",
            VELK_SOURCE_DIR "/bench/server/Bench.mof"};
        o.registrationDirs = {VELK_SOURCE_DIR "/bench/server/registration"};
        o.moduleDirs = {VELK_LIB_DIR};
        o.hostName = "benchhost";
        o.enableHttp = true;
        o.httpPort = 0;
        o.passwordFile = _dir + "/passwd";
        o.workerCount = 16;
        o.logLevel = "error";
        o.maxRequestBytes = 1 << 20;
        _server.reset(new cimhost::EmbeddedServer(o));
        _server->start();
    }

    ~BenchServer()
    {
        _server.reset();
        std::system(("rm -rf " + _dir).c_str());
    }

    std::string _dir;
    std::unique_ptr<cimhost::EmbeddedServer> _server;
};

httplib::Headers headers(const char* method)
{
    return {{"CIMOperation", "MethodCall"}, {"CIMMethod", method}, {"CIMObject", "root%2Fbench"},
        {"Authorization", basicAuth()}};
}

void BM_EnumerateInstances10k(benchmark::State& state)
{
    httplib::Client client("127.0.0.1", BenchServer::get().port());
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    client.set_read_timeout(120, 0);
    httplib::Headers h = headers("EnumerateInstances");
    size_t bytes = 0;
    for (auto _ : state)
    {
        auto res = client.Post("/cimom", h, ENUMERATE, "application/xml; charset=\"utf-8\"");
        if (!res || res->status != 200 || res->body.find("<ERROR") != std::string::npos)
        {
            state.SkipWithError("EnumerateInstances failed");
            break;
        }
        bytes = res->body.size();
        benchmark::DoNotOptimize(res->body.data());
    }
    state.counters["response_MB"] = static_cast<double>(bytes) / 1e6;
    state.SetItemsProcessed(state.iterations() * 10000);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}
BENCHMARK(BM_EnumerateInstances10k)->Unit(benchmark::kMillisecond)->UseRealTime()
    ->MinTime(5.0);

void BM_GetInstance(benchmark::State& state)
{
    httplib::Client client("127.0.0.1", BenchServer::get().port());
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    httplib::Headers h = headers("GetInstance");
    int n = static_cast<int>(state.thread_index()) * 1000;
    for (auto _ : state)
    {
        auto res = client.Post("/cimom", h, getInstanceBody(n++ % 10000),
            "application/xml; charset=\"utf-8\"");
        if (!res || res->status != 200 || res->body.find("<INSTANCE ") == std::string::npos)
        {
            state.SkipWithError("GetInstance failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GetInstance)->Threads(1)->Threads(8)->UseRealTime()->Unit(benchmark::kMicrosecond)
    ->MinTime(3.0);

} // namespace

BENCHMARK_MAIN();
