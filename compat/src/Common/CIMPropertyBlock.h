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
// property at once. The copies share one allocation instead of one each;
// every copy is still a representation of its own, with its own count and
// life, and the block is freed when the last of them is released, on
// whatever thread. The object of this class is the maker of one block.
class CIMPropertyBlock
{
public:
    // A block with room for capacity representations.
    explicit CIMPropertyBlock(Uint32 capacity);
    // Lets the block go once the representations made in it are gone.
    ~CIMPropertyBlock();

    // Makes the next representation, a copy of x as CIMPropertyRep's copy
    // constructor makes it; the caller owns its one reference.
    CIMPropertyRep* copy(const CIMPropertyRep& x, Boolean withQualifiers,
        Boolean withClassOrigin);

    // Destroys a representation made in a block (its count is zero) and
    // frees the block after its last one.
    static void release(CIMPropertyRep* rep);

private:
    CIMPropertyBlock(const CIMPropertyBlock&) = delete;
    CIMPropertyBlock& operator=(const CIMPropertyBlock&) = delete;

    CIMPropertyBlockStorage* _storage;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMPropertyBlock_h */
