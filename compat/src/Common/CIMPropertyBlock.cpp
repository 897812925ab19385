//
// CIMPropertyBlock.
//
#include <new>
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

// The allocation: this header, then room for the representations. live
// counts the representations not yet released, plus one while the maker
// holds the block.
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

    void drop()
    {
        if (live.fetch_sub(1, std::memory_order_acq_rel) == 1)
        {
            this->~CIMPropertyBlockStorage();
            ::operator delete(this);
        }
    }
};

CIMPropertyBlock::CIMPropertyBlock(Uint32 capacity) : _storage(0)
{
    void* p = ::operator new(CIMPropertyBlockStorage::slotsOffset() +
        size_t(capacity) * sizeof(CIMPropertyRep));
    _storage = new (p) CIMPropertyBlockStorage;
    _storage->live.store(1, std::memory_order_relaxed);
    _storage->capacity = capacity;
    _storage->used = 0;
}

CIMPropertyBlock::~CIMPropertyBlock()
{
    _storage->drop();
}

CIMPropertyRep* CIMPropertyBlock::copy(const CIMPropertyRep& x,
    Boolean withQualifiers, Boolean withClassOrigin)
{
    if (_storage->used == _storage->capacity)
        return new CIMPropertyRep(x, withQualifiers, withClassOrigin);
    CIMPropertyRep* rep = new (_storage->slot(_storage->used))
        CIMPropertyRep(x, withQualifiers, withClassOrigin);
    _storage->used++;
    rep->block = _storage;
    _storage->live.fetch_add(1, std::memory_order_relaxed);
    return rep;
}

void CIMPropertyBlock::release(CIMPropertyRep* rep)
{
    CIMPropertyBlockStorage* storage = rep->block;
    rep->~CIMPropertyRep();
    storage->drop();
}

PEGASUS_NAMESPACE_END
