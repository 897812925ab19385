// Receives the objects of an answer one at a time, as an operation produces
// them, so that a caller can encode or forward each object at once instead
// of holding the whole answer. Each method takes one kind of object; an
// operation calls only the one that fits its answer.
//
// Not part of the OpenPegasus API: provider modules never include this.
#ifndef Pegasus_Internal_CIMResultSink_h
#define Pegasus_Internal_CIMResultSink_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CIMResultSink
{
public:
    virtual ~CIMResultSink() {}

    virtual void instance(const CIMInstance&) {}
    virtual void path(const CIMObjectPath&) {}
    // Paths that are ready together, in their order; by default one at a
    // time to path().
    virtual void paths(const Array<CIMObjectPath>& chunk)
    {
        for (Uint32 i = 0; i < chunk.size(); i++)
            path(chunk[i]);
    }
};

PEGASUS_NAMESPACE_END

#endif
