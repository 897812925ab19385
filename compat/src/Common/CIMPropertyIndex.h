//
// CIMPropertyIndex: a name index over the properties of a class or an
// instance (internal to libpegcommon).
//
#ifndef Pegasus_CIMPropertyIndex_h
#define Pegasus_CIMPropertyIndex_h

#include <atomic>
#include <vector>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMProperty.h>

PEGASUS_NAMESPACE_BEGIN

class CIMPropertyStore;

// Finds a property by name without walking the list. A class makes its
// index once, when instances are first built from it; the instances built
// with all its properties hold them at the same positions under the same
// names, and so do clones, so they share the class's index. Any change to
// which properties a class or instance holds drops its index (names of
// contained properties cannot change). Immutable once made; shared between
// threads through its atomic count.
class CIMPropertyIndex
{
public:
    // Lists shorter than this are searched faster without an index.
    static const Uint32 MIN_PROPERTIES = 8;

    // An index of properties, with one reference for the caller.
    static CIMPropertyIndex* make(const CIMPropertyStore& properties);

    static CIMPropertyIndex* ref(CIMPropertyIndex* index)
    {
        if (index)
            index->_refs.fetch_add(1, std::memory_order_relaxed);
        return index;
    }

    static void unref(CIMPropertyIndex* index)
    {
        if (index && index->_refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy(index);
    }

    // The position in properties (the list the index was made of, or one
    // with the same names at the same positions) of the property called
    // name, whose nameHash is hash; PEG_NOT_FOUND if there is none.
    Uint32 find(const CIMPropertyStore& properties,
        const CIMName& name, Uint32 hash) const;

private:
    CIMPropertyIndex() = delete;
    static void destroy(CIMPropertyIndex* index);

    std::atomic<Uint32> _refs;
    Uint32 _mask;
    // Position + 1 of a property, 0 for an empty slot; open addressing on
    // the name hash, with at least half of the slots empty.
    Uint16 _slots[1];
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMPropertyIndex_h */
