// A provider module whose providers misbehave on request, for the server's
// unit tests. Every call is recorded; the tests read the record through
// cimhostTestTakeCalls().
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

std::mutex g_mutex;
std::vector<std::string> g_calls;
std::atomic<int> g_failInitAttempts{0};

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

void record(const std::string& line)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_calls.push_back(line);
}

String user(const OperationContext& context)
{
    IdentityContainer id = context.get(IdentityContainer::NAME);
    return id.getUserName();
}

String address(const OperationContext& context)
{
    String ip;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    IdentityContainer id = context.get(IdentityContainer::NAME);
    ip = id.getIpAddress();
#endif
    (void)context;
    return ip;
}

String key(const CIMObjectPath& path)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    return keys.size() ? keys[0].getValue() : String();
}

CIMObjectPath itemPath(const String& host, const CIMNamespaceName& ns, const char* cls,
    const String& id)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Id"), id, CIMKeyBinding::STRING));
    return CIMObjectPath(host, ns, CIMName(cls), keys);
}

CIMObjectPath chunkPath(const CIMObjectPath& ref, Uint32 n)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("N"), CIMValue(n)));
    return CIMObjectPath(ref.getHost(), ref.getNameSpace(), CIMName("Test_Chunk"), keys);
}

CIMInstance item(const CIMObjectPath& ref, const char* cls, const String& id,
    const String& label)
{
    CIMInstance inst((CIMName(cls)));
    inst.addProperty(CIMProperty(CIMName("Id"), id));
    inst.addProperty(CIMProperty(CIMName("Label"), label));
    inst.addProperty(CIMProperty(CIMName("Number"), Uint32(7)));
    if (String::equalNoCase(cls, "Test_SubItem"))
        inst.addProperty(CIMProperty(CIMName("Extra"), String("more")));
    inst.setPath(itemPath(ref.getHost(), ref.getNameSpace(), cls, id));
    return inst;
}

class TestItemProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    void initialize(CIMOMHandle& cimom) override
    {
        record("TestItemProvider initialize");
        _cimom = cimom;
    }

    void terminate() override
    {
        record("TestItemProvider terminate");
        delete this;
    }

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean, const Boolean, const CIMPropertyList& propertyList,
        InstanceResponseHandler& handler) override
    {
        record("getInstance " + narrow(ref.toString()) + " user=" + narrow(user(context)) +
            " ip=" + narrow(address(context)) + " props=" + narrow(propertyList.toString()));
        String id = key(ref);
        if (id == "cimerror")
            throw CIMObjectNotFoundException("Item cimerror not found");
        if (id == "traceable")
            throw PEGASUS_CIM_EXCEPTION(CIM_ERR_ACCESS_DENIED,
                "Insufficient privilege for the user");
        if (id == "stdexc")
            throw std::runtime_error("std failure");
        if (id == "pegexc")
            throw Exception("plain failure");
        if (id == "other")
            throw 42;
        handler.processing();
        if (id == "uninit")
        {
            handler.deliver(CIMInstance());
            handler.complete();
            return;
        }
        if (id == "none")
        {
            handler.complete();
            return;
        }
        handler.deliver(item(ref, "Test_Item", id, user(context)));
        if (id == "twice")
            handler.deliver(item(ref, "Test_Item", id, user(context)));
        if (id == "nocomplete")
            return;
        handler.complete();
        if (id == "late")
            throw CIMOperationFailedException("failed after complete");
    }

    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean, const Boolean, const CIMPropertyList&,
        InstanceResponseHandler& handler) override
    {
        record("enumerateInstances " + narrow(ref.toString()));
        String mode = user(context);
        handler.processing();
        if (ref.getClassName().equal(CIMName("Test_Chunk")) &&
            (mode == "many" || mode == "manyfail"))
        {
            // A large answer; "manyfail" fails after every object went out.
            for (Uint32 n = 0; n < 4000; n++)
            {
                CIMInstance inst(CIMName("Test_Chunk"));
                inst.addProperty(CIMProperty(CIMName("N"), n));
                inst.setPath(chunkPath(ref, n));
                handler.deliver(inst);
            }
            if (mode == "manyfail")
                throw CIMOperationFailedException("the array went away");
            handler.complete();
            return;
        }
        if (ref.getClassName().equal(CIMName("Test_Chunk")))
        {
            // 250 objects and no complete(): only full chunks reach the answer.
            for (Uint32 n = 0; n < 250; n++)
            {
                CIMInstance inst(CIMName("Test_Chunk"));
                inst.addProperty(CIMProperty(CIMName("N"), n));
                inst.setPath(chunkPath(ref, n));
                handler.deliver(inst);
            }
            return;
        }
        const char* cls = ref.getClassName().equal(CIMName("Test_SubItem"))
            ? "Test_SubItem" : "Test_Item";
        String prefix = String(cls).subString(5, 1);  // "I" or "S"
        handler.deliver(item(ref, cls, prefix + "1", mode));
        if (mode == "late")
            handler.complete();
        handler.deliver(item(ref, cls, prefix + "2", mode));
        if (mode == "nocomplete" || mode == "late")
            return;
        handler.complete();
        if (mode == "throwafter")
            throw CIMNotSupportedException("after complete");
    }

    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override
    {
        record("enumerateInstanceNames " + narrow(ref.toString()));
        handler.processing();
        if (ref.getClassName().equal(CIMName("Test_Chunk")))
        {
            for (Uint32 n = 0; n < 250; n++)
                handler.deliver(chunkPath(ref, n));
            handler.complete();
            return;
        }
        const char* cls = ref.getClassName().equal(CIMName("Test_SubItem"))
            ? "Test_SubItem" : "Test_Item";
        String prefix = String(cls).subString(5, 1);
        handler.deliver(itemPath(ref.getHost(), ref.getNameSpace(), cls, prefix + "1"));
        handler.deliver(itemPath(ref.getHost(), ref.getNameSpace(), cls, prefix + "2"));
        handler.complete();
    }

    void modifyInstance(const OperationContext&, const CIMObjectPath& ref,
        const CIMInstance& instance, const Boolean, const CIMPropertyList& propertyList,
        ResponseHandler& handler) override
    {
        std::string values;
        for (Uint32 i = 0; i < instance.getPropertyCount(); i++)
        {
            CIMConstProperty p = instance.getProperty(i);
            values += " " + narrow(p.getName().getString()) + "=" +
                narrow(p.getValue().toString()) + ":" + cimTypeToString(p.getValue().getType());
        }
        record("modifyInstance " + narrow(ref.toString()) + " props=" +
            narrow(propertyList.toString()) + values);
        handler.processing();
        handler.complete();
    }

    void createInstance(const OperationContext&, const CIMObjectPath& ref,
        const CIMInstance& instance, ObjectPathResponseHandler& handler) override
    {
        record("createInstance " + narrow(ref.toString()));
        Uint32 pos = instance.findProperty(CIMName("Id"));
        String id;
        if (pos != PEG_NOT_FOUND)
            instance.getProperty(pos).getValue().get(id);
        handler.processing();
        handler.deliver(itemPath(ref.getHost(), ref.getNameSpace(), "Test_Item", id));
        if (id == "twice")
            handler.deliver(itemPath(ref.getHost(), ref.getNameSpace(), "Test_Item", id));
        handler.complete();
    }

    void deleteInstance(const OperationContext&, const CIMObjectPath& ref,
        ResponseHandler& handler) override
    {
        record("deleteInstance " + narrow(ref.toString()));
        handler.processing();
        handler.complete();
    }

    void invokeMethod(const OperationContext& context, const CIMObjectPath& ref,
        const CIMName& methodName, const Array<CIMParamValue>& in,
        MethodResultResponseHandler& handler) override
    {
        record("invokeMethod " + narrow(ref.toString()) + " " +
            narrow(methodName.getString()) + " user=" + narrow(user(context)));
        handler.processing();
        if (methodName.equal(CIMName("Types")))
        {
            Array<String> result;
            for (Uint32 i = 0; i < in.size(); i++)
            {
                CIMValue v = in[i].getValue();
                String t = cimTypeToString(v.getType());
                if (v.isArray())
                    t.append("[]");
                if (v.isNull())
                    t.append(" null");
                if (!in[i].isTyped())
                    t.append(" untyped");
                result.append(in[i].getParameterName() + "=" + t);
            }
            handler.deliverParamValue(CIMParamValue("Result", CIMValue(result)));
            handler.deliver(CIMValue(Uint32(in.size())));
        }
        else if (methodName.equal(CIMName("Upcall")))
        {
            String what;
            for (Uint32 i = 0; i < in.size(); i++)
                if (String::equalNoCase(in[i].getParameterName(), "What"))
                    in[i].getValue().get(what);
            String seen;
            Uint32 count = 0;
            if (what == "self")
            {
                count = _cimom.enumerateInstanceNames(context, ref.getNameSpace(),
                    CIMName("Test_Item")).size();
            }
            else if (what == "error")
            {
                _cimom.getInstance(context, ref.getNameSpace(),
                    itemPath(String(), ref.getNameSpace(), "Test_Item", "cimerror"),
                    false, false, false, CIMPropertyList());
            }
            else if (what == "identity")
            {
                CIMInstance inst = _cimom.getInstance(context, ref.getNameSpace(),
                    itemPath(String(), ref.getNameSpace(), "Test_Item", "x"),
                    false, false, false, CIMPropertyList());
                inst.getProperty(inst.findProperty(CIMName("Label"))).getValue().get(seen);
                count = 1;
            }
            else if (what == "anonymous")
            {
                CIMInstance inst = _cimom.getInstance(OperationContext(), ref.getNameSpace(),
                    itemPath(String(), ref.getNameSpace(), "Test_Item", "x"),
                    false, false, false, CIMPropertyList());
                inst.getProperty(inst.findProperty(CIMName("Label"))).getValue().get(seen);
                count = 1;
            }
            else if (what == "method")
            {
                Array<CIMParamValue> inner;
                inner.append(CIMParamValue("What", CIMValue(String("identity"))));
                Array<CIMParamValue> out;
                out.append(CIMParamValue("Stale", CIMValue(String("stale"))));
                CIMValue r = _cimom.invokeMethod(context, ref.getNameSpace(), ref,
                    CIMName("Upcall"), inner, out);
                r.get(count);
                for (Uint32 i = 0; i < out.size(); i++)
                {
                    String v;
                    out[i].getValue().get(v);
                    seen.append(out[i].getParameterName() + "=" + v + ";");
                }
            }
            else if (what == "assoc")
            {
                count = _cimom.associatorNames(context, ref.getNameSpace(),
                    itemPath(String(), ref.getNameSpace(), "Test_Item", "I1"), CIMName(),
                    CIMName(), String(), String()).size();
            }
            handler.deliverParamValue(CIMParamValue("Seen", CIMValue(seen)));
            handler.deliver(CIMValue(count));
        }
        else if (methodName.equal(CIMName("Twice")))
        {
            handler.deliver(CIMValue(Uint32(1)));
            handler.deliverParamValue(CIMParamValue("First", CIMValue(String("a"))));
            handler.deliver(CIMValue(Uint32(2)));
            handler.deliverParamValue(CIMParamValue("Second", CIMValue(String("b"))));
        }
        else if (methodName.equal(CIMName("WhoAmI")))
        {
            handler.deliverParamValue(CIMParamValue("Address", CIMValue(address(context))));
            handler.deliver(CIMValue(user(context)));
        }
        else if (methodName.equal(CIMName("NullReturn")))
        {
            handler.deliver(CIMValue());
        }
        handler.complete();
    }

private:
    CIMOMHandle _cimom;
};

// Records what each association call received and answers with one object.
class TestLinkProvider : public CIMAssociationProvider
{
public:
    explicit TestLinkProvider(const char* name) : _name(name) {}

    void initialize(CIMOMHandle&) override {}
    void terminate() override
    {
        record(std::string(_name) + " terminate");
        delete this;
    }

    void associators(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, const Boolean, const Boolean, const CIMPropertyList&,
        ObjectResponseHandler& handler) override
    {
        record(call("associators", objectName, associationClass, resultClass, role,
            resultRole));
        CIMInstance inst(CIMName("Test_Item"));
        inst.addProperty(CIMProperty(CIMName("Id"), String(_name)));
        // No host and namespace: the server completes them.
        inst.setPath(itemPath(String(), CIMNamespaceName(), "Test_Item", _name));
        handler.processing();
        handler.deliver(CIMObject(inst));
        handler.complete();
    }

    void associatorNames(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, ObjectPathResponseHandler& handler) override
    {
        record(call("associatorNames", objectName, associationClass, resultClass, role,
            resultRole));
        handler.processing();
        handler.deliver(itemPath(String(), CIMNamespaceName(), "Test_Item", _name));
        handler.complete();
    }

    void references(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, const Boolean, const Boolean,
        const CIMPropertyList&, ObjectResponseHandler& handler) override
    {
        record(call("references", objectName, CIMName(), resultClass, role, String()));
        handler.processing();
        handler.complete();
    }

    void referenceNames(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role,
        ObjectPathResponseHandler& handler) override
    {
        record(call("referenceNames", objectName, CIMName(), resultClass, role, String()));
        handler.processing();
        handler.complete();
    }

private:
    std::string call(const char* op, const CIMObjectPath& objectName, const CIMName& assoc,
        const CIMName& result, const String& role, const String& resultRole) const
    {
        return std::string(_name) + " " + op + " " + narrow(objectName.toString()) +
            " assoc=" + (assoc.isNull() ? "null" : narrow(assoc.getString())) +
            " result=" + (result.isNull() ? "null" : narrow(result.getString())) +
            " role=" + narrow(role) + " resultRole=" + narrow(resultRole);
    }

    const char* _name;
};

// Shared by the providers that only need a few instance operations.
class SimpleInstanceProvider : public CIMInstanceProvider
{
public:
    void getInstance(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        handler.processing();
        handler.deliver(item(ref, "Test_Item", key(ref), label()));
        handler.complete();
    }
    void enumerateInstances(const OperationContext&, const CIMObjectPath&, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        handler.processing();
        handler.complete();
    }
    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
        ObjectPathResponseHandler& handler) override
    {
        handler.processing();
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

protected:
    virtual String label() const { return String(); }
};

// initialize() fails on the first attempt only.
class TestFailInitProvider : public SimpleInstanceProvider
{
public:
    void initialize(CIMOMHandle&) override
    {
        int attempt = ++g_failInitAttempts;
        record("TestFailInitProvider initialize " + std::to_string(attempt));
        if (attempt == 1)
            throw CIMOperationFailedException("not yet");
    }
    void terminate() override
    {
        record("TestFailInitProvider terminate");
        delete this;
    }
};

// initialize() calls another provider of the module through the server.
class TestInitUpcallProvider : public SimpleInstanceProvider
{
public:
    void initialize(CIMOMHandle& cimom) override
    {
        CIMInstance inst = cimom.getInstance(OperationContext(),
            CIMNamespaceName("root/test"),
            itemPath(String(), CIMNamespaceName("root/test"), "Test_Item", "fromInit"),
            false, false, false, CIMPropertyList());
        _label = "init saw " +
            narrow(key(inst.getPath()));
        record("TestInitUpcallProvider initialize");
    }
    void terminate() override
    {
        record("TestInitUpcallProvider terminate");
        delete this;
    }

protected:
    String label() const override { return String(_label.c_str()); }

private:
    std::string _label;
};

class TestMethodOnlyProvider : public CIMMethodProvider
{
public:
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
    void invokeMethod(const OperationContext&, const CIMObjectPath&, const CIMName&,
        const Array<CIMParamValue>&, MethodResultResponseHandler& handler) override
    {
        handler.processing();
        handler.complete();
    }
};

} // namespace

extern "C" PEGASUS_EXPORT std::vector<std::string> cimhostTestTakeCalls()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    std::vector<std::string> calls;
    calls.swap(g_calls);
    return calls;
}

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    record("create " + narrow(name));
    if (String::equalNoCase(name, "TestItemProvider"))
        return new TestItemProvider();
    if (String::equalNoCase(name, "TestLinkAProvider"))
        return new TestLinkProvider("TestLinkAProvider");
    if (String::equalNoCase(name, "TestLinkBProvider"))
        return new TestLinkProvider("TestLinkBProvider");
    if (String::equalNoCase(name, "TestLinkCProvider"))
        return new TestLinkProvider("TestLinkCProvider");
    if (String::equalNoCase(name, "TestFailInitProvider"))
        return new TestFailInitProvider();
    if (String::equalNoCase(name, "TestInitUpcallProvider"))
        return new TestInitUpcallProvider();
    if (String::equalNoCase(name, "TestMethodOnlyProvider"))
        return new TestMethodOnlyProvider();
    return 0;
}
