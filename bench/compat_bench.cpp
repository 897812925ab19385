// Costs of the SDK's value types on the request path: parsing and printing
// object paths, comparing them, and typed CIMValue reads and writes.
//
// Every benchmark reports "allocs": heap allocations per iteration, counted
// by the replaced global operator new below.
#include <atomic>
#include <cstdlib>
#include <new>
#include <benchmark/benchmark.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/String.h>

namespace
{
std::atomic<unsigned long long> allocations(0);
}

// Out of line so that the compiler does not pair the malloc and free
// inside them with new and delete expressions.
__attribute__((noinline)) void* operator new(std::size_t n)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n ? n : 1))
        return p;
    throw std::bad_alloc();
}

__attribute__((noinline)) void operator delete(void* p) noexcept
{
    std::free(p);
}

__attribute__((noinline)) void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

PEGASUS_USING_PEGASUS;

namespace
{

const char* const VOLUME_PATH =
    "//velk-ctl01/root/velk:VELK_StorageVolume.CreationClassName=\"VELK_StorageVolume\","
    "DeviceID=\"vol-0042\",SystemCreationClassName=\"CIM_ComputerSystem\","
    "SystemName=\"VELK-ARRAY-01\"";

const char* const ASSOC_PATH =
    "//velk-ctl01/root/velk:VELK_OwningJobElement."
    "OwnedElement=\"//velk-ctl01/root/velk:VELK_ConcreteJob.InstanceID=\\\"VELK:task:7\\\"\","
    "OwningElement=\"//velk-ctl01/root/velk:VELK_StorageConfigurationService."
    "CreationClassName=\\\"VELK_StorageConfigurationService\\\",Name=\\\"VELK-ARRAY-01:SCS\\\","
    "SystemCreationClassName=\\\"CIM_ComputerSystem\\\",SystemName=\\\"VELK-ARRAY-01\\\"\"";

// Allocations per iteration since the start of the timed loop.
class AllocationCounter
{
public:
    explicit AllocationCounter(benchmark::State& state)
        : _state(state), _start(allocations.load()) {}
    ~AllocationCounter()
    {
        double n = double(allocations.load() - _start);
        _state.counters["allocs"] = benchmark::Counter(
            n, benchmark::Counter::kAvgIterations);
    }

private:
    benchmark::State& _state;
    unsigned long long _start;
};

void BM_ObjectPathParse(benchmark::State& state)
{
    const String text(VOLUME_PATH);
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMObjectPath p(text);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(BM_ObjectPathParse);

void BM_ObjectPathParseReferences(benchmark::State& state)
{
    const String text(ASSOC_PATH);
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMObjectPath p(text);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(BM_ObjectPathParseReferences);

void BM_ObjectPathToString(benchmark::State& state)
{
    const CIMObjectPath p{String(VOLUME_PATH)};
    AllocationCounter count(state);
    for (auto _ : state)
    {
        String s = p.toString();
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BM_ObjectPathToString);

void BM_ObjectPathBuildFromKeys(benchmark::State& state)
{
    const String host("velk-ctl01");
    const CIMNamespaceName ns("root/velk");
    const CIMName cls("VELK_ConcreteJob");
    const CIMName keyName("InstanceID");
    const String id("VELK:task:7");
    AllocationCounter count(state);
    for (auto _ : state)
    {
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding(keyName, id, CIMKeyBinding::STRING));
        CIMObjectPath p(host, ns, cls, keys);
        benchmark::DoNotOptimize(p);
    }
}
BENCHMARK(BM_ObjectPathBuildFromKeys);

void BM_ObjectPathIdentical(benchmark::State& state)
{
    const CIMObjectPath a{String(VOLUME_PATH)};
    const CIMObjectPath b{String(
        "//VELK-CTL01/ROOT/velk:velk_storagevolume.systemname=\"VELK-ARRAY-01\","
        "deviceid=\"vol-0042\",creationclassname=\"VELK_StorageVolume\","
        "systemcreationclassname=\"CIM_ComputerSystem\"")};
    AllocationCounter count(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(a.identical(b));
}
BENCHMARK(BM_ObjectPathIdentical);

void BM_ObjectPathCopy(benchmark::State& state)
{
    const CIMObjectPath a{String(VOLUME_PATH)};
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMObjectPath b(a);
        benchmark::DoNotOptimize(b);
    }
}
BENCHMARK(BM_ObjectPathCopy);

void BM_ValueSetGetUint32(benchmark::State& state)
{
    CIMValue v;
    Uint32 x = 0;
    AllocationCounter count(state);
    for (auto _ : state)
    {
        v.set(x + 1);
        v.get(x);
    }
    benchmark::DoNotOptimize(x);
}
BENCHMARK(BM_ValueSetGetUint32);

void BM_ValueSetGetString(benchmark::State& state)
{
    const String s("VELK-ARRAY-01:StorageConfigurationService");
    CIMValue v;
    String out;
    AllocationCounter count(state);
    for (auto _ : state)
    {
        v.set(s);
        v.get(out);
    }
    benchmark::DoNotOptimize(out);
}
BENCHMARK(BM_ValueSetGetString);

void BM_ValueFromLiteralString(benchmark::State& state)
{
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMValue v(String("Completed"));
        benchmark::DoNotOptimize(v);
    }
}
BENCHMARK(BM_ValueFromLiteralString);

void BM_ValueSetGetDateTime(benchmark::State& state)
{
    const CIMDateTime t(String("20240131235959.123456+060"));
    CIMValue v;
    CIMDateTime out;
    AllocationCounter count(state);
    for (auto _ : state)
    {
        v.set(t);
        v.get(out);
    }
    benchmark::DoNotOptimize(out);
}
BENCHMARK(BM_ValueSetGetDateTime);

void BM_ValueSetGetReference(benchmark::State& state)
{
    const CIMObjectPath p{String(VOLUME_PATH)};
    CIMValue v;
    CIMObjectPath out;
    AllocationCounter count(state);
    for (auto _ : state)
    {
        v.set(p);
        v.get(out);
    }
    benchmark::DoNotOptimize(out);
}
BENCHMARK(BM_ValueSetGetReference);

void BM_ValueCopyStringArray(benchmark::State& state)
{
    Array<String> a;
    for (int i = 0; i < 16; i++)
        a.append(String("element"));
    const CIMValue v(a);
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMValue w(v);
        benchmark::DoNotOptimize(w);
    }
}
BENCHMARK(BM_ValueCopyStringArray);

void BM_ValueTypeMismatch(benchmark::State& state)
{
    const CIMValue v(Sint32(5));
    Uint32 out = 0;
    for (auto _ : state)
    {
        try
        {
            v.get(out);
        }
        catch (const TypeMismatchException&)
        {
        }
    }
    benchmark::DoNotOptimize(out);
}
BENCHMARK(BM_ValueTypeMismatch);

void BM_DateTimeParseAndPrint(benchmark::State& state)
{
    const String text("20240131235959.123456+060");
    AllocationCounter count(state);
    for (auto _ : state)
    {
        CIMDateTime t(text);
        String s = t.toString();
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BM_DateTimeParseAndPrint);

} // namespace

BENCHMARK_MAIN();
