//
// CIMPropertyBlock.
//
#include <new>
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

// The allocation: this header, then room for the representations. live
// counts the representations not yet released and the slots not yet used,
// plus one while the maker holds the block: the maker takes every slot at
// once and gives back the ones it did not fill when it is done.
struct CIMPropertyBlockStorage
{
    std::atomic<Uint32> live;
    Uint32 capacity;
    Uint32 used;

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

static_assert(sizeof(CIMPropertyRep) <= 32, "a property representation takes 32 bytes");

namespace
{

// Allocations up to about a kilobyte stay in the allocator's per-thread
// caches; larger ones take its slower paths, so a block holds at most this
// many representations and a long list takes several.
const Uint32 MAX_BLOCK_BYTES = 1000;
// A representation keeps its position in its block in a byte.
const Uint32 MAX_SLOTS = 255;

Uint32 slotsPerStorage()
{
    const size_t n = (MAX_BLOCK_BYTES - CIMPropertyBlockStorage::slotsOffset()) /
        sizeof(CIMPropertyRep);
    return n == 0 ? 1 : n > MAX_SLOTS ? MAX_SLOTS : Uint32(n);
}

} // namespace

CIMPropertyBlock::CIMPropertyBlock(Uint32 capacity)
    : _storage(0), _remaining(capacity)
{
}

CIMPropertyBlock::~CIMPropertyBlock()
{
    if (_storage)
        _storage->drop(1 + _storage->capacity - _storage->used);
}

CIMPropertyRep* CIMPropertyBlock::copy(const CIMPropertyRep& x,
    Boolean withQualifiers, Boolean withClassOrigin)
{
    if (!_storage || _storage->used == _storage->capacity)
    {
        if (_remaining == 0)
            return new CIMPropertyRep(x, withQualifiers, withClassOrigin);
        const Uint32 capacity = _remaining < slotsPerStorage() ? _remaining : slotsPerStorage();
        void* p = ::operator new(CIMPropertyBlockStorage::slotsOffset() +
            size_t(capacity) * sizeof(CIMPropertyRep));
        CIMPropertyBlockStorage* storage = new (p) CIMPropertyBlockStorage;
        storage->live.store(1 + capacity, std::memory_order_relaxed);
        storage->capacity = capacity;
        storage->used = 0;
        if (_storage)
            _storage->drop(1);
        _storage = storage;
        _remaining -= capacity;
    }
    CIMPropertyRep* rep = new (_storage->slot(_storage->used))
        CIMPropertyRep(x, withQualifiers, withClassOrigin);
    _storage->used++;
    rep->setSlot(_storage->used);
    return rep;
}

void CIMPropertyBlock::release(CIMPropertyRep* rep)
{
    CIMPropertyBlockStorage* storage = CIMPropertyBlockStorage::of(rep);
    rep->~CIMPropertyRep();
    storage->drop(1);
}

void CIMPropertyBlock::releaseAll(std::vector<CIMProperty>& properties)
{
    CIMPropertyBlockStorage* run = 0;
    Uint32 ended = 0;
    for (CIMProperty& p : properties)
    {
        CIMPropertyRep* rep = CIMRepAccess::rep(p);
        // One reference means this object's handle is the only one, and no
        // other can be made while the object goes.
        if (rep->slot() && rep->refs.load(std::memory_order_acquire) == 1)
        {
            CIMPropertyBlockStorage* storage = CIMPropertyBlockStorage::of(rep);
            rep->~CIMPropertyRep();
            CIMRepAccess::forget(p);
            if (storage != run)
            {
                if (run)
                    run->drop(ended);
                run = storage;
                ended = 0;
            }
            ended++;
        }
        else
        {
            rep->dropOwner();
        }
    }
    if (run)
        run->drop(ended);
}

PEGASUS_NAMESPACE_END
