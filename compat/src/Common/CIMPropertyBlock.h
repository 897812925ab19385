//
// CIMPropertyBlock: property representations made together in one
// allocation (internal to libpegcommon).
//
#ifndef Pegasus_CIMPropertyBlock_h
#define Pegasus_CIMPropertyBlock_h

#include <Pegasus/Common/Config.h>
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

// Building an instance from a class, or cloning an object, copies every
// property at once. The copies share a few allocations (blocks) instead of
// one each; every copy is still a representation of its own, with its own
// count and life, and a block is freed when the last of its representations
// is released, on whatever thread. The object of this class makes the blocks
// for one list of properties.
class CIMPropertyBlock
{
public:
    // Blocks with room for capacity representations in all.
    explicit CIMPropertyBlock(Uint32 capacity);
    // Lets the blocks go once the representations made in them are gone.
    ~CIMPropertyBlock();

    // Makes the next representation, a copy of x as CIMPropertyRep's copy
    // constructor makes it; the caller owns its one reference.
    CIMPropertyRep* copy(const CIMPropertyRep& x, Boolean withQualifiers,
        Boolean withClassOrigin);

    // Destroys a representation made in a block (its count is zero) and
    // frees the block after its last one.
    static void release(CIMPropertyRep* rep);

    // Lets go of the properties of an object being destroyed. Those made in
    // a block that no handle outside the object holds are destroyed here,
    // their blocks counted down once for each run of them rather than once
    // each, and their handles emptied; the others are only marked as having
    // one owner less (their handles still hold them).
    static void releaseAll(std::vector<CIMProperty>& properties);

private:
    CIMPropertyBlock(const CIMPropertyBlock&) = delete;
    CIMPropertyBlock& operator=(const CIMPropertyBlock&) = delete;

    // The block being filled, and the representations still to come.
    CIMPropertyBlockStorage* _storage;
    Uint32 _remaining;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMPropertyBlock_h */
