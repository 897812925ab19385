#include <Pegasus/Common/CIMNameCast.h>
#include "ObjectModelReps.h"
#include "NameTable.h"
#include "StringRep.h"

PEGASUS_NAMESPACE_BEGIN

void throwIndexOutOfBounds()
{
    throw IndexOutOfBoundsException();
}

void checkName(const CIMName& name)
{
    if (name.isNull())
        throw UninitializedObjectException();
}

Uint32 nameHash(const CIMName& name)
{
    const StringRep* rep = StringRep::of(name.getString());
    if (NameTable::interned(rep))
        return NameTable::hashOf(rep);
    return foldedNameHash(rep->data, rep->size);
}

void internName(CIMName& name)
{
    StringRep* rep = StringRep::of(name.getString());
    if (NameTable::interned(rep))
        return;
    if (StringRep* known = NameTable::intern(rep))
    {
        const String text = StringRep::adopt(known);
        name = CIMNameCast(text);
    }
}

String quotedName(const char* kind, const CIMName& name)
{
    String text(kind);
    text.append(String(" \""));
    text.append(name.getString());
    text.append(Char16('"'));
    return text;
}

//
// CIMQualifierList
//

void CIMQualifierList::add(const CIMQualifier& qualifier)
{
    const CIMQualifierRep* rep = checkedRep(CIMRepAccess::rep(qualifier));
    if (find(rep->name) != PEG_NOT_FOUND)
    {
        throw AlreadyExistsException(quotedName("qualifier", rep->name));
    }
    if (_items.size() >= MAX_CONTAINER_ELEMENTS)
        throw TooManyElementsException();
    _items.push_back(qualifier);
}

Uint32 CIMQualifierList::find(const CIMName& name) const
{
    for (size_t i = 0, n = _items.size(); i < n; i++)
    {
        if (CIMRepAccess::rep(_items[i])->name.equal(name))
            return Uint32(i);
    }
    return PEG_NOT_FOUND;
}

CIMQualifierRep* CIMQualifierList::at(Uint32 index) const
{
    checkIndex(index, size());
    return CIMRepAccess::rep(_items[index]);
}

void CIMQualifierList::remove(Uint32 index)
{
    checkIndex(index, size());
    _items.erase(_items.begin() + index);
}

Boolean CIMQualifierList::identical(const CIMQualifierList& x) const
{
    if (_items.size() != x._items.size())
        return false;
    for (const CIMQualifier& q : _items)
    {
        const CIMQualifierRep* rep = CIMRepAccess::rep(q);
        Uint32 pos = x.find(rep->name);
        if (pos == PEG_NOT_FOUND || !rep->identical(x.at(pos)))
            return false;
    }
    return true;
}

void CIMQualifierList::appendClones(const CIMQualifierList& x)
{
    _items.reserve(_items.size() + x._items.size());
    for (const CIMQualifier& q : x._items)
        _items.push_back(q.clone());
}

Boolean CIMQualifierList::isTrue(const CIMName& name) const
{
    Uint32 pos = find(name);
    if (pos == PEG_NOT_FOUND)
        return false;
    const CIMValue& value = at(pos)->value;
    if (value.getType() != CIMTYPE_BOOLEAN || value.isArray() || value.isNull())
        return false;
    Boolean flag = false;
    value.get(flag);
    return flag;
}

PEGASUS_NAMESPACE_END
