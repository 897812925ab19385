//
// CIMPropertyStore: the list of properties of a class or an instance
// (internal to libpegcommon).
//
// ObjectModelReps.h includes this header where an object's list of
// properties needs it, after the property representation; included first,
// this header has it include the rest first.
#include "ObjectModelReps.h"

#ifndef Pegasus_CIMPropertyStore_h
#define Pegasus_CIMPropertyStore_h

#include <vector>
#include <Pegasus/Common/Config.h>
#include "CIMPropertyBlock.h"

PEGASUS_NAMESPACE_BEGIN

// The properties of an object, in order, with one reference to each. A list
// copied at once (an instance built from a class, a clone) is read where its
// representations lie, in the chain of blocks they were made in, so that the
// object keeps no handle per property; the first change to which properties
// the object holds turns it into a list of handles.
class CIMPropertyStore
{
public:
    CIMPropertyStore() : _chain(0), _count(0) {}
    ~CIMPropertyStore();

    Uint32 size() const { return _chain ? _count : Uint32(_list.size()); }

    // The representation at index (below size()).
    CIMPropertyRep* at(Uint32 index) const
    {
        if (!_chain)
            return CIMRepAccess::rep(_list[index]);
        CIMPropertyBlockStorage* storage = _chain;
        while (index >= storage->used)
        {
            index -= storage->used;
            storage = storage->next;
        }
        return storage->slot(index);
    }

    // Calls f with each representation in order.
    template <class F>
    void forEach(F f) const
    {
        if (!_chain)
        {
            for (const CIMProperty& p : _list)
                f(CIMRepAccess::rep(p));
            return;
        }
        for (CIMPropertyBlockStorage* s = _chain; s; s = s->next)
        {
            for (Uint32 i = 0, n = s->used; i < n; i++)
                f(s->slot(i));
        }
    }

    // Fills this empty list with copies of the properties of x that keep
    // accepts (at most most of them), made in blocks and owned by this list.
    template <class Keep>
    void copyFrom(const CIMPropertyStore& x, Uint32 most,
        Boolean withQualifiers, Boolean withClassOrigin, Keep keep)
    {
        CIMPropertyBlock block(most);
        Uint32 count = 0;
        try
        {
            x.forEach([&](const CIMPropertyRep* source) {
                if (!keep(source))
                    return;
                CIMPropertyRep* rep = block.copy(*source, withQualifiers, withClassOrigin);
                rep->setFirstOwner();
                count++;
            });
        }
        catch (...)
        {
            _chain = block.first();
            _count = count;
            throw;
        }
        _chain = block.first();
        _count = count;
    }

    // Appends p, whose reference the list takes a copy of.
    void append(const CIMProperty& p)
    {
        unfold();
        _list.push_back(p);
    }

    void erase(Uint32 index)
    {
        unfold();
        _list.erase(_list.begin() + index);
    }

    // The handles, for changes in place (made first if the list is read in
    // place).
    std::vector<CIMProperty>& handles()
    {
        unfold();
        return _list;
    }

private:
    CIMPropertyStore(const CIMPropertyStore&) = delete;
    CIMPropertyStore& operator=(const CIMPropertyStore&) = delete;

    // Turns a list read in place into handles, which take over its
    // references.
    void unfold();

    std::vector<CIMProperty> _list;
    // The chain of blocks read in place, or 0 when the list is _list.
    CIMPropertyBlockStorage* _chain;
    Uint32 _count;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMPropertyStore_h */
