#include "ResponseCollectors.h"

#include <Pegasus/Common/Exception.h>

#include <utility>

using namespace Pegasus;

namespace cimhost
{

namespace
{

void throwNotInitialized()
{
    throw CIMException(CIM_ERR_FAILED, String("The object is not initialized."));
}

void throwTooMany()
{
    throw CIMException(CIM_ERR_FAILED, String("Too many objects delivered."));
}

void throwTooFew()
{
    throw CIMException(CIM_ERR_FAILED, String("Too few objects delivered."));
}

// The buffer is empty afterwards, even when the sink throws. It keeps its
// room for the next chunk unless the sink kept the chunk.
template <class T>
void release(Array<T>& buffer, Array<T>& results, const ReleaseSink<T>& sink)
{
    if (!sink)
    {
        results.appendArray(buffer);
        buffer.clear();
        return;
    }
    if (buffer.size() == 0)
        return;
    Array<T> chunk;
    chunk.swap(buffer);
    sink(chunk);
    chunk.clear();
    buffer.swap(chunk);
}

} // namespace

// ---- InstanceCollector

InstanceCollector::InstanceCollector(Cardinality cardinality,
    ReleaseSink<CIMInstance> sink)
    : _cardinality(cardinality), _delivered(0), _completed(false), _sink(std::move(sink))
{
}

void InstanceCollector::processing()
{
}

void InstanceCollector::deliverOne(const CIMInstance& instance)
{
    if (instance.isUninitialized())
        throwNotInitialized();
    if (_cardinality == Cardinality::ExactlyOne && _delivered > 0)
        throwTooMany();
    ++_delivered;
    _buffer.append(instance);
    if (_buffer.size() >= RESPONSE_CHUNK_SIZE)
        release(_buffer, _results, _sink);
}

void InstanceCollector::deliver(const CIMInstance& instance)
{
    std::lock_guard<std::mutex> lock(_mutex);
    deliverOne(instance);
}

void InstanceCollector::deliver(const Array<CIMInstance>& instances)
{
    std::lock_guard<std::mutex> lock(_mutex);
    for (Uint32 i = 0; i < instances.size(); i++)
        deliverOne(instances[i]);
}

void InstanceCollector::complete()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_cardinality == Cardinality::ExactlyOne && _delivered == 0)
        throwTooFew();
    release(_buffer, _results, _sink);
    _completed = true;
}

Array<CIMInstance> InstanceCollector::results() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _results;
}

bool InstanceCollector::completed() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _completed;
}

// ---- ObjectPathCollector

ObjectPathCollector::ObjectPathCollector(Cardinality cardinality,
    ReleaseSink<CIMObjectPath> sink)
    : _cardinality(cardinality), _delivered(0), _completed(false), _sink(std::move(sink))
{
}

void ObjectPathCollector::processing()
{
}

void ObjectPathCollector::deliverOne(const CIMObjectPath& objectPath)
{
    if (objectPath.getClassName().isNull())
        throwNotInitialized();
    if (_cardinality == Cardinality::ExactlyOne && _delivered > 0)
        throwTooMany();
    ++_delivered;
    _buffer.append(objectPath);
    if (_buffer.size() >= RESPONSE_CHUNK_SIZE)
        release(_buffer, _results, _sink);
}

void ObjectPathCollector::deliver(const CIMObjectPath& objectPath)
{
    std::lock_guard<std::mutex> lock(_mutex);
    deliverOne(objectPath);
}

void ObjectPathCollector::deliver(const Array<CIMObjectPath>& objectPaths)
{
    std::lock_guard<std::mutex> lock(_mutex);
    for (Uint32 i = 0; i < objectPaths.size(); i++)
        deliverOne(objectPaths[i]);
}

void ObjectPathCollector::complete()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_cardinality == Cardinality::ExactlyOne && _delivered == 0)
        throwTooFew();
    release(_buffer, _results, _sink);
    _completed = true;
}

Array<CIMObjectPath> ObjectPathCollector::results() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _results;
}

bool ObjectPathCollector::completed() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _completed;
}

// ---- ObjectCollector

ObjectCollector::ObjectCollector(ReleaseSink<CIMObject> sink)
    : _completed(false), _sink(std::move(sink))
{
}

void ObjectCollector::processing()
{
}

void ObjectCollector::deliverOne(const CIMObject& object)
{
    if (object.isUninitialized())
        throwNotInitialized();
    _buffer.append(object);
    if (_buffer.size() >= RESPONSE_CHUNK_SIZE)
        release(_buffer, _results, _sink);
}

void ObjectCollector::deliver(const CIMObject& object)
{
    std::lock_guard<std::mutex> lock(_mutex);
    deliverOne(object);
}

void ObjectCollector::deliver(const Array<CIMObject>& objects)
{
    std::lock_guard<std::mutex> lock(_mutex);
    for (Uint32 i = 0; i < objects.size(); i++)
        deliverOne(objects[i]);
}

void ObjectCollector::complete()
{
    std::lock_guard<std::mutex> lock(_mutex);
    release(_buffer, _results, _sink);
    _completed = true;
}

Array<CIMObject> ObjectCollector::results() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _results;
}

bool ObjectCollector::completed() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _completed;
}

// ---- MethodResultCollector

MethodResultCollector::MethodResultCollector()
    : _completed(false), _haveReturnValue(false)
{
}

void MethodResultCollector::processing()
{
}

void MethodResultCollector::deliverParamValue(const CIMParamValue& outParamValue)
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (outParamValue.isUninitialized())
        throwNotInitialized();
    _pendingParams.append(outParamValue);
}

void MethodResultCollector::deliverParamValue(
    const Array<CIMParamValue>& outParamValues)
{
    std::lock_guard<std::mutex> lock(_mutex);
    for (Uint32 i = 0; i < outParamValues.size(); i++)
    {
        if (outParamValues[i].isUninitialized())
            throwNotInitialized();
        _pendingParams.append(outParamValues[i]);
    }
}

void MethodResultCollector::deliver(const CIMValue& returnValue)
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (returnValue.isNull())
        throwNotInitialized();
    _pendingReturn = returnValue;
    _haveReturnValue = true;
}

void MethodResultCollector::complete()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_haveReturnValue)
        _returnValue = _pendingReturn;
    _outParameters.appendArray(_pendingParams);
    _pendingParams.clear();
    _completed = true;
}

CIMValue MethodResultCollector::returnValue() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _returnValue;
}

Array<CIMParamValue> MethodResultCollector::outParameters() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _outParameters;
}

bool MethodResultCollector::completed() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _completed;
}

// ---- PlainCollector

PlainCollector::PlainCollector() : _completed(false)
{
}

void PlainCollector::processing()
{
}

void PlainCollector::complete()
{
    std::lock_guard<std::mutex> lock(_mutex);
    _completed = true;
}

bool PlainCollector::completed() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _completed;
}

} // namespace cimhost
