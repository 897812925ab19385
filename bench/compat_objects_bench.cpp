// Object model costs on the request path: building an instance from a class
// and filling it, copying contexts.
#include <benchmark/benchmark.h>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/OperationContext.h>

PEGASUS_USING_PEGASUS;

namespace
{

const Uint32 PROPERTY_COUNT = 30;

CIMName propertyName(Uint32 i)
{
    String name("Property");
    name.appendPrintf("%02u", i);
    return CIMName(name);
}

// Thirty properties of the usual kinds (strings, integers, datetimes), each
// with a description, as classes come from the server.
CIMClass thirtyPropertyClass()
{
    CIMClass cls("VELK_ConcreteJob", "CIM_ConcreteJob");
    cls.addQualifier(CIMQualifier("Description", CIMValue(String("job"))));
    for (Uint32 i = 0; i < PROPERTY_COUNT; i++)
    {
        CIMValue value;
        switch (i % 3)
        {
            case 0: value = CIMValue(CIMTYPE_STRING, false); break;
            case 1: value = CIMValue(CIMTYPE_UINT16, false); break;
            default: value = CIMValue(CIMTYPE_DATETIME, false); break;
        }
        CIMProperty p(propertyName(i), value, 0, CIMName(), "CIM_Job", true);
        p.addQualifier(CIMQualifier("Description",
            CIMValue(String("What this property tells about the job."))));
        if (i == 0)
            p.addQualifier(CIMQualifier("Key", CIMValue(true)));
        cls.addProperty(p);
    }
    return cls;
}

CIMValue valueFor(Uint32 i, const CIMDateTime& when)
{
    switch (i % 3)
    {
        case 0: return CIMValue(String("VELK:task:1234"));
        case 1: return CIMValue(Uint16(i));
        default: return CIMValue(when);
    }
}

void BM_BuildInstance30_SetByIndex(benchmark::State& state)
{
    CIMClass cls = thirtyPropertyClass();
    CIMDateTime when("20261121061500.000000+000");
    Array<CIMValue> values;
    for (Uint32 i = 0; i < PROPERTY_COUNT; i++)
        values.append(valueFor(i, when));
    for (auto _ : state)
    {
        CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());
        for (Uint32 i = 0; i < PROPERTY_COUNT; i++)
            inst.getProperty(i).setValue(values[i]);
        benchmark::DoNotOptimize(inst);
    }
}
BENCHMARK(BM_BuildInstance30_SetByIndex);

void BM_BuildInstance30_SetByName(benchmark::State& state)
{
    CIMClass cls = thirtyPropertyClass();
    CIMDateTime when("20261121061500.000000+000");
    Array<CIMName> names;
    Array<CIMValue> values;
    for (Uint32 i = 0; i < PROPERTY_COUNT; i++)
    {
        names.append(propertyName(i));
        values.append(valueFor(i, when));
    }
    for (auto _ : state)
    {
        CIMInstance inst = cls.buildInstance(true, true, CIMPropertyList());
        for (Uint32 i = 0; i < PROPERTY_COUNT; i++)
            inst.getProperty(inst.findProperty(names[i])).setValue(values[i]);
        benchmark::DoNotOptimize(inst);
    }
}
BENCHMARK(BM_BuildInstance30_SetByName);

void BM_CloneInstance30(benchmark::State& state)
{
    CIMClass cls = thirtyPropertyClass();
    CIMInstance inst = cls.buildInstance(true, true, CIMPropertyList());
    for (auto _ : state)
        benchmark::DoNotOptimize(inst.clone());
}
BENCHMARK(BM_CloneInstance30);

void BM_OperationContextCopy(benchmark::State& state)
{
    OperationContext context;
    context.insert(IdentityContainer("alice", "127.0.0.1"));
    context.insert(AcceptLanguageListContainer(AcceptLanguageList()));
    context.insert(ContentLanguageListContainer(ContentLanguageList()));
    for (auto _ : state)
    {
        OperationContext copy(context);
        IdentityContainer id = copy.get(IdentityContainer::NAME);
        benchmark::DoNotOptimize(id);
    }
}
BENCHMARK(BM_OperationContextCopy);

}

BENCHMARK_MAIN();
