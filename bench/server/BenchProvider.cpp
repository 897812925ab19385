// Serves 10,000 Bench_Thing instances of 30 properties, built at
// initialize() so that the benchmarks measure the server, not the provider.
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <string>

PEGASUS_USING_PEGASUS;

namespace
{

const Uint32 COUNT = 10000;

CIMInstance thing(Uint32 n, const String& host, const CIMNamespaceName& ns)
{
    char id[16];
    std::snprintf(id, sizeof(id), "t%u", n);
    String s(id);
    CIMInstance inst(CIMName("Bench_Thing"));
    inst.addProperty(CIMProperty(CIMName("Id"), s));
    const char* text[] = {"Name", "Caption", "Description", "ElementName", "Status", "Owner",
        "Location", "Vendor", "Model", "SerialNumber", "Version"};
    for (const char* t : text)
        inst.addProperty(CIMProperty(CIMName(t), String(t) + " of " + s));
    inst.addProperty(CIMProperty(CIMName("HealthState"), Uint16(5)));
    Array<Uint16> status;
    status.append(2);
    status.append(32768);
    inst.addProperty(CIMProperty(CIMName("OperationalStatus"), CIMValue(status)));
    inst.addProperty(CIMProperty(CIMName("EnabledState"), Uint16(2)));
    inst.addProperty(CIMProperty(CIMName("RequestedState"), Uint16(12)));
    inst.addProperty(CIMProperty(CIMName("Priority"), Uint32(n % 7)));
    inst.addProperty(CIMProperty(CIMName("PercentComplete"), Uint32(n % 101)));
    inst.addProperty(CIMProperty(CIMName("ErrorCode"), Uint32(0)));
    inst.addProperty(CIMProperty(CIMName("BlockSize"), Uint64(512)));
    inst.addProperty(CIMProperty(CIMName("NumberOfBlocks"), Uint64(2097152) + n));
    inst.addProperty(CIMProperty(CIMName("ConsumableBlocks"), Uint64(2097000) + n));
    inst.addProperty(CIMProperty(CIMName("DeleteOnCompletion"), Boolean(false)));
    inst.addProperty(CIMProperty(CIMName("Primordial"), Boolean(n % 2 == 0)));
    inst.addProperty(CIMProperty(CIMName("IsBasedOnUnderlyingRedundancy"), Boolean(true)));
    CIMDateTime when(String("20261121063000.000000+000"));
    inst.addProperty(CIMProperty(CIMName("InstallDate"), when));
    inst.addProperty(CIMProperty(CIMName("TimeSubmitted"), when));
    inst.addProperty(CIMProperty(CIMName("StartTime"), when));
    Array<String> other;
    other.append("wwn:50002ac000" + s);
    other.append("serial:" + s);
    inst.addProperty(CIMProperty(CIMName("OtherIdentifyingInfo"), CIMValue(other)));
    inst.addProperty(CIMProperty(CIMName("Temperature"), Sint32(38)));
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Id"), s, CIMKeyBinding::STRING));
    inst.setPath(CIMObjectPath(host, ns, CIMName("Bench_Thing"), keys));
    return inst;
}

class BenchProvider : public CIMInstanceProvider
{
public:
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }

    void getInstance(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        const Array<CIMKeyBinding>& keys = ref.getKeyBindings();
        String id = keys.size() ? keys[0].getValue() : String();
        Uint32 n = 0;
        std::string text = static_cast<const char*>(id.getCString());
        if (text.size() < 2 || text[0] != 't' ||
            (n = static_cast<Uint32>(std::stoul(text.substr(1)))) >= COUNT)
            throw CIMObjectNotFoundException(id);
        handler.processing();
        handler.deliver(thing(n, ref.getHost(), ref.getNameSpace()));
        handler.complete();
    }

    void enumerateInstances(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        Array<CIMInstance> all;
        {
            std::lock_guard<std::mutex> lock(_mutex);
            if (_all.size() == 0)
            {
                for (Uint32 n = 0; n < COUNT; n++)
                    _all.append(thing(n, ref.getHost(), ref.getNameSpace()));
            }
            all = _all;
        }
        handler.processing();
        handler.deliver(all);
        handler.complete();
    }

    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override
    {
        handler.processing();
        for (Uint32 n = 0; n < COUNT; n++)
        {
            char id[16];
            std::snprintf(id, sizeof(id), "t%u", n);
            Array<CIMKeyBinding> keys;
            keys.append(CIMKeyBinding(CIMName("Id"), String(id), CIMKeyBinding::STRING));
            handler.deliver(CIMObjectPath(ref.getHost(), ref.getNameSpace(),
                CIMName("Bench_Thing"), keys));
        }
        handler.complete();
    }

    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
        const Boolean, const CIMPropertyList&, ResponseHandler&) override
    {
        throw CIMNotSupportedException("modifyInstance");
    }
    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
        ObjectPathResponseHandler&) override
    {
        throw CIMNotSupportedException("createInstance");
    }
    void deleteInstance(const OperationContext&, const CIMObjectPath&,
        ResponseHandler&) override
    {
        throw CIMNotSupportedException("deleteInstance");
    }

private:
    // Filled by the first enumeration.
    std::mutex _mutex;
    Array<CIMInstance> _all;
};

} // namespace

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    if (String::equalNoCase(name, "BenchProvider"))
        return new BenchProvider();
    return 0;
}
