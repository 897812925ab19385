//
// CIMPropertyIndex.
//
#include <cstddef>
#include <new>
#include "CIMPropertyIndex.h"
#include "ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

CIMPropertyIndex* CIMPropertyIndex::make(const CIMPropertyStore& properties)
{
    Uint32 size = 16;
    while (size < 2 * properties.size())
        size *= 2;
    void* p = ::operator new(offsetof(CIMPropertyIndex, _slots) + size * sizeof(Uint16));
    CIMPropertyIndex* index = static_cast<CIMPropertyIndex*>(p);
    new (&index->_refs) std::atomic<Uint32>(1);
    index->_mask = size - 1;
    for (Uint32 i = 0; i < size; i++)
        index->_slots[i] = 0;
    Uint32 pos = 0;
    properties.forEach([&](const CIMPropertyRep* rep) {
        Uint32 slot = rep->hash() & index->_mask;
        while (index->_slots[slot])
            slot = (slot + 1) & index->_mask;
        index->_slots[slot] = Uint16(++pos);
    });
    return index;
}

void CIMPropertyIndex::destroy(CIMPropertyIndex* index)
{
    index->_refs.~atomic();
    ::operator delete(index);
}

Uint32 CIMPropertyIndex::find(const CIMPropertyStore& properties,
    const CIMName& name, Uint32 hash) const
{
    for (Uint32 slot = hash & _mask;; slot = (slot + 1) & _mask)
    {
        Uint32 entry = _slots[slot];
        if (!entry)
            return PEG_NOT_FOUND;
        const CIMPropertyRep* rep = properties.at(entry - 1);
        if (rep->hash() == hash && rep->name().equal(name))
            return entry - 1;
    }
}

PEGASUS_NAMESPACE_END
