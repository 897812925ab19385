// Response handlers that record what a provider did with them, in order:
// "processing", "deliver", "complete". Tests compare the sequence and look
// at the delivered items.
#ifndef VELK_TESTS_RecordingHandlers_h
#define VELK_TESTS_RecordingHandlers_h

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/ResponseHandler.h>

namespace velktest
{

inline std::string str(const Pegasus::String& s)
{
    return std::string((const char*)s.getCString());
}

// The names of an instance's properties, in their order.
inline std::vector<std::string> propertyNames(
    const Pegasus::CIMInstance& inst)
{
    std::vector<std::string> names;
    for (Pegasus::Uint32 i = 0; i < inst.getPropertyCount(); i++)
        names.push_back(str(inst.getProperty(i).getName().getString()));
    return names;
}

struct Calls
{
    std::vector<std::string> calls;

    // The sequence as one text, for readable expectations:
    // "processing deliver deliver complete".
    std::string sequence() const
    {
        std::string s;
        for (size_t i = 0; i < calls.size(); i++)
        {
            if (i)
                s += " ";
            s += calls[i];
        }
        return s;
    }
};

class InstanceRecorder : public Pegasus::InstanceResponseHandler, public Calls
{
public:
    Pegasus::Array<Pegasus::CIMInstance> items;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliver(const Pegasus::CIMInstance& instance) override
    {
        calls.push_back("deliver");
        items.append(instance);
    }
    void deliver(const Pegasus::Array<Pegasus::CIMInstance>& instances) override
    {
        for (Pegasus::Uint32 i = 0; i < instances.size(); i++)
            deliver(instances[i]);
    }
};

class PathRecorder : public Pegasus::ObjectPathResponseHandler, public Calls
{
public:
    Pegasus::Array<Pegasus::CIMObjectPath> items;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliver(const Pegasus::CIMObjectPath& path) override
    {
        calls.push_back("deliver");
        items.append(path);
    }
    void deliver(const Pegasus::Array<Pegasus::CIMObjectPath>& paths) override
    {
        for (Pegasus::Uint32 i = 0; i < paths.size(); i++)
            deliver(paths[i]);
    }
};

class ObjectRecorder : public Pegasus::ObjectResponseHandler, public Calls
{
public:
    Pegasus::Array<Pegasus::CIMObject> items;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliver(const Pegasus::CIMObject& object) override
    {
        calls.push_back("deliver");
        items.append(object);
    }
    void deliver(const Pegasus::Array<Pegasus::CIMObject>& objects) override
    {
        for (Pegasus::Uint32 i = 0; i < objects.size(); i++)
            deliver(objects[i]);
    }
};

// A method's answer: output parameters, then the return value.
class MethodRecorder : public Pegasus::MethodResultResponseHandler, public Calls
{
public:
    std::vector<Pegasus::CIMParamValue> params;
    std::vector<Pegasus::CIMValue> values;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliverParamValue(const Pegasus::CIMParamValue& param) override
    {
        calls.push_back("deliverParamValue");
        params.push_back(param);
    }
    void deliverParamValue(
        const Pegasus::Array<Pegasus::CIMParamValue>& list) override
    {
        for (Pegasus::Uint32 i = 0; i < list.size(); i++)
            deliverParamValue(list[i]);
    }
    void deliver(const Pegasus::CIMValue& value) override
    {
        calls.push_back("deliver");
        values.push_back(value);
    }
    // The delivered return value; 0xDEADBEEF when none came.
    Pegasus::Uint32 returnValue() const
    {
        Pegasus::Uint32 v = 0xDEADBEEF;
        if (!values.empty())
            values.back().get(v);
        return v;
    }
};

class PlainRecorder : public Pegasus::ResponseHandler, public Calls
{
public:
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
};

// One row of the screen of an association request: the request, and
// whether the provider turns it away (answering nothing, with its log line).
struct ScreenCase
{
    const char* source;       // what the test file makes of it
    const char* operation;
    const char* role;
    const char* resultRole;
    const char* resultClass;  // "" = null
    bool rejected;
};

inline void PrintTo(const ScreenCase& c, std::ostream* os)
{
    *os << c.operation << " from " << c.source << " role=" << c.role
        << " resultRole=" << c.resultRole << " resultClass=" << c.resultClass
        << (c.rejected ? " rejected" : " accepted");
}

// Runs `body`, expecting a CIMException with this code and message.
#define EXPECT_CIM_ERROR(body, code, message)                               \
    do                                                                      \
    {                                                                       \
        try                                                                 \
        {                                                                   \
            body;                                                           \
            ADD_FAILURE() << "no exception from " #body;                    \
        }                                                                   \
        catch (const Pegasus::CIMException& e)                              \
        {                                                                   \
            EXPECT_EQ(code, e.getCode());                                   \
            EXPECT_EQ(std::string(message),                                 \
                std::string((const char*)e.getMessage().getCString()));     \
        }                                                                   \
    } while (0)

} // namespace velktest

#endif
