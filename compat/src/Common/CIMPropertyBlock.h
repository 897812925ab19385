//
// CIMPropertyBlock: property representations made together in one
// allocation (internal to libpegcommon).
//
// ObjectModelReps.h includes this header (through CIMPropertyStore.h) after
// the property representation; included first, this header has it include
// the rest first.
#include "ObjectModelReps.h"

#ifndef Pegasus_CIMPropertyBlock_h
#define Pegasus_CIMPropertyBlock_h

#include <new>
#include <Pegasus/Common/Config.h>

PEGASUS_NAMESPACE_BEGIN

// One allocation: this header, then room for capacity representations. live
// counts the representations not yet released and the slots not yet used,
// plus one while the maker holds the block: the maker takes every slot at
// once and gives back the ones it did not fill when it is done. The blocks
// made for one list are chained in order through next, so that the list can
// read its properties where they lie (CIMPropertyStore).
struct CIMPropertyBlockStorage
{
    std::atomic<Uint32> live;
    Uint16 capacity;
    Uint16 used;
    CIMPropertyBlockStorage* next;

    static size_t slotsOffset()
    {
        const size_t align = alignof(CIMPropertyRep);
        return (sizeof(CIMPropertyBlockStorage) + align - 1) / align * align;
    }

    CIMPropertyRep* slot(Uint32 i)
    {
        char* base = reinterpret_cast<char*>(this) + slotsOffset();
        return reinterpret_cast<CIMPropertyRep*>(base + i * sizeof(CIMPropertyRep));
    }

    // The block of a representation made in one.
    static CIMPropertyBlockStorage* of(const CIMPropertyRep* rep)
    {
        const char* base = reinterpret_cast<const char*>(rep) -
            (rep->slot() - 1) * sizeof(CIMPropertyRep) - slotsOffset();
        return reinterpret_cast<CIMPropertyBlockStorage*>(const_cast<char*>(base));
    }

    void drop(Uint32 n)
    {
        if (live.fetch_sub(n, std::memory_order_acq_rel) == n)
        {
            this->~CIMPropertyBlockStorage();
            ::operator delete(this);
        }
    }
};

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
        Boolean withClassOrigin)
    {
        if (!_storage || _storage->used == _storage->capacity)
            nextStorage();
        CIMPropertyRep* rep = new (_storage->slot(_storage->used))
            CIMPropertyRep(x, withQualifiers, withClassOrigin);
        _storage->used++;
        rep->setSlot(_storage->used);
        return rep;
    }

    // Destroys a representation made in a block (its count is zero) and
    // frees the block after its last one.
    static void release(CIMPropertyRep* rep);

    // Lets go of the properties of an object being destroyed. Those made in
    // a block that no handle outside the object holds are destroyed here,
    // their blocks counted down once for each run of them rather than once
    // each, and their handles emptied; the others are only marked as having
    // one owner less (their handles still hold them).
    static void releaseAll(std::vector<CIMProperty>& properties);

    // The same for a list read in place: the representations of the chain
    // of blocks from first, which the list holds one reference to each.
    static void releaseChain(CIMPropertyBlockStorage* first);

    // The first block made, 0 before the first copy.
    CIMPropertyBlockStorage* first() const { return _first; }

private:
    CIMPropertyBlock(const CIMPropertyBlock&) = delete;
    // Makes the next block to fill.
    void nextStorage();
    CIMPropertyBlock& operator=(const CIMPropertyBlock&) = delete;

    // The first block, the block being filled, and the representations
    // still to come.
    CIMPropertyBlockStorage* _first;
    CIMPropertyBlockStorage* _storage;
    Uint32 _remaining;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMPropertyBlock_h */
