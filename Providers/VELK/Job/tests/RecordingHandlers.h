// Response handlers that record what a provider did with them, in order:
// "processing", "deliver", "complete". Tests compare the sequence and look
// at the delivered items.
#ifndef VELK_TESTS_RecordingHandlers_h
#define VELK_TESTS_RecordingHandlers_h

#include <string>
#include <vector>

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/ResponseHandler.h>

namespace velktest
{

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

class PlainRecorder : public Pegasus::ResponseHandler, public Calls
{
public:
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
};

} // namespace velktest

#endif
