// The response handlers cimhost gives to providers. They collect what a
// provider delivers the way the reference server does: processing() does
// nothing, deliveries are buffered, and only complete() releases the buffer
// into the answer (after every 100 buffered objects the buffer is released
// early, as a streaming server forwards chunks). A provider that returns
// without complete() therefore loses what it still had buffered.
//
// Released objects go to results(), or, when the collector was given a
// release sink, to that sink (called with each released chunk, under the
// collector's lock, on the provider's thread; an exception it throws leaves
// through the provider's deliver() or complete() call).
#ifndef CIMHOST_RESPONSE_COLLECTORS_H
#define CIMHOST_RESPONSE_COLLECTORS_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>

#include <functional>
#include <mutex>
#include <utility>

namespace cimhost
{

// How many objects an operation's answer must hold.
enum class Cardinality
{
    Many,       // enumerations and associations
    ExactlyOne  // getInstance, createInstance
};

// Chunk size after which buffered objects are released before complete().
constexpr Pegasus::Uint32 RESPONSE_CHUNK_SIZE = 100;

template <class T>
using ReleaseSink = std::function<void(const Pegasus::Array<T>&)>;

class InstanceCollector : public Pegasus::InstanceResponseHandler
{
public:
    explicit InstanceCollector(Cardinality cardinality = Cardinality::Many,
        ReleaseSink<Pegasus::CIMInstance> sink = nullptr);

    void processing() override;
    void complete() override;
    void deliver(const Pegasus::CIMInstance& instance) override;
    void deliver(const Pegasus::Array<Pegasus::CIMInstance>& instances) override;

    // What reached the answer.
    Pegasus::Array<Pegasus::CIMInstance> results() const;
    bool completed() const;

private:
    void deliverOne(const Pegasus::CIMInstance& instance);

    mutable std::mutex _mutex;
    Cardinality _cardinality;
    Pegasus::Uint32 _delivered;
    bool _completed;
    Pegasus::Array<Pegasus::CIMInstance> _buffer;
    Pegasus::Array<Pegasus::CIMInstance> _results;
    ReleaseSink<Pegasus::CIMInstance> _sink;
};

class ObjectPathCollector : public Pegasus::ObjectPathResponseHandler
{
public:
    explicit ObjectPathCollector(Cardinality cardinality = Cardinality::Many,
        ReleaseSink<Pegasus::CIMObjectPath> sink = nullptr);
    explicit ObjectPathCollector(ReleaseSink<Pegasus::CIMObjectPath> sink)
        : ObjectPathCollector(Cardinality::Many, std::move(sink))
    {
    }

    void processing() override;
    void complete() override;
    void deliver(const Pegasus::CIMObjectPath& objectPath) override;
    void deliver(const Pegasus::Array<Pegasus::CIMObjectPath>& objectPaths) override;

    Pegasus::Array<Pegasus::CIMObjectPath> results() const;
    bool completed() const;

private:
    void deliverOne(const Pegasus::CIMObjectPath& objectPath);

    mutable std::mutex _mutex;
    Cardinality _cardinality;
    Pegasus::Uint32 _delivered;
    bool _completed;
    Pegasus::Array<Pegasus::CIMObjectPath> _buffer;
    Pegasus::Array<Pegasus::CIMObjectPath> _results;
    ReleaseSink<Pegasus::CIMObjectPath> _sink;
};

class ObjectCollector : public Pegasus::ObjectResponseHandler
{
public:
    explicit ObjectCollector(ReleaseSink<Pegasus::CIMObject> sink = nullptr);

    void processing() override;
    void complete() override;
    void deliver(const Pegasus::CIMObject& object) override;
    void deliver(const Pegasus::Array<Pegasus::CIMObject>& objects) override;

    Pegasus::Array<Pegasus::CIMObject> results() const;
    bool completed() const;

private:
    void deliverOne(const Pegasus::CIMObject& object);

    mutable std::mutex _mutex;
    bool _completed;
    Pegasus::Array<Pegasus::CIMObject> _buffer;
    Pegasus::Array<Pegasus::CIMObject> _results;
    ReleaseSink<Pegasus::CIMObject> _sink;
};

// invokeMethod: the last delivered return value wins, output parameters
// accumulate in delivery order.
class MethodResultCollector : public Pegasus::MethodResultResponseHandler
{
public:
    MethodResultCollector();

    void processing() override;
    void complete() override;
    void deliverParamValue(const Pegasus::CIMParamValue& outParamValue) override;
    void deliverParamValue(
        const Pegasus::Array<Pegasus::CIMParamValue>& outParamValues) override;
    void deliver(const Pegasus::CIMValue& returnValue) override;

    // Null when nothing reached the answer.
    Pegasus::CIMValue returnValue() const;
    Pegasus::Array<Pegasus::CIMParamValue> outParameters() const;
    bool completed() const;

private:
    mutable std::mutex _mutex;
    bool _completed;
    bool _haveReturnValue;
    Pegasus::CIMValue _pendingReturn;
    Pegasus::Array<Pegasus::CIMParamValue> _pendingParams;
    Pegasus::CIMValue _returnValue;
    Pegasus::Array<Pegasus::CIMParamValue> _outParameters;
};

// modifyInstance and deleteInstance: nothing to deliver.
class PlainCollector : public Pegasus::ResponseHandler
{
public:
    PlainCollector();

    void processing() override;
    void complete() override;
    bool completed() const;

private:
    mutable std::mutex _mutex;
    bool _completed;
};

} // namespace cimhost

#endif
