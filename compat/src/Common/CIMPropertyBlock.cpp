//
// CIMPropertyBlock.
//
#include <new>
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

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
    : _first(0), _storage(0), _remaining(capacity)
{
}

CIMPropertyBlock::~CIMPropertyBlock()
{
    if (_storage)
        _storage->drop(1 + _storage->capacity - _storage->used);
}

void CIMPropertyBlock::nextStorage()
{
    // More copies than announced get blocks of one, so that every copy
    // lies in the chain.
    const Uint32 wanted = _remaining ? _remaining : 1;
    const Uint32 capacity = wanted < slotsPerStorage() ? wanted : slotsPerStorage();
    void* p = ::operator new(CIMPropertyBlockStorage::slotsOffset() +
        size_t(capacity) * sizeof(CIMPropertyRep));
    CIMPropertyBlockStorage* storage = new (p) CIMPropertyBlockStorage;
    storage->live.store(1 + capacity, std::memory_order_relaxed);
    storage->capacity = Uint16(capacity);
    storage->used = 0;
    storage->next = 0;
    if (_storage)
    {
        _storage->next = storage;
        _storage->drop(1);
    }
    else
        _first = storage;
    _storage = storage;
    _remaining = _remaining > capacity ? _remaining - capacity : 0;
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

void CIMPropertyBlock::releaseChain(CIMPropertyBlockStorage* first)
{
    for (CIMPropertyBlockStorage* storage = first; storage;)
    {
        // Read before the block may go: it lives while one of its
        // representations does, the ones ended here included until they
        // are counted down.
        CIMPropertyBlockStorage* next = storage->next;
        const Uint32 used = storage->used;
        Uint32 ended = 0;
        for (Uint32 i = 0; i < used; i++)
        {
            CIMPropertyRep* rep = storage->slot(i);
            if (rep->refs.load(std::memory_order_acquire) == 1)
            {
                rep->~CIMPropertyRep();
                ended++;
            }
            else
            {
                rep->dropOwner();
                repUnref(rep);
            }
        }
        if (ended)
            storage->drop(ended);
        storage = next;
    }
}

PEGASUS_NAMESPACE_END
