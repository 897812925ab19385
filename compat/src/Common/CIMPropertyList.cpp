#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

void checkNames(const Array<CIMName>& names)
{
    for (Uint32 i = 0; i < names.size(); i++)
    {
        if (names[i].isNull())
            throw UninitializedObjectException();
    }
}

}

CIMPropertyList::CIMPropertyList() : _isNull(true) {}

CIMPropertyList::CIMPropertyList(const CIMPropertyList& x)
    : _names(x._names), _tags(x._tags), _isNull(x._isNull)
{
}

CIMPropertyList::CIMPropertyList(const Array<CIMName>& propertyNames)
    : _isNull(false)
{
    checkNames(propertyNames);
    _names = propertyNames;
}

CIMPropertyList::~CIMPropertyList() {}

void CIMPropertyList::set(const Array<CIMName>& propertyNames)
{
    checkNames(propertyNames);
    _names = propertyNames;
    _tags.clear();
    _isNull = false;
}

CIMPropertyList& CIMPropertyList::operator=(const CIMPropertyList& x)
{
    _names = x._names;
    _tags = x._tags;
    _isNull = x._isNull;
    return *this;
}

void CIMPropertyList::clear()
{
    _names.clear();
    _tags.clear();
    _isNull = true;
}

Boolean CIMPropertyList::isNull() const
{
    return _isNull;
}

Uint32 CIMPropertyList::size() const
{
    return _names.size();
}

const CIMName& CIMPropertyList::operator[](Uint32 index) const
{
    return _names[index];
}

Array<CIMName> CIMPropertyList::getPropertyNameArray() const
{
    return _names;
}

Uint32 CIMPropertyList::getCIMNameTag(Uint32 index) const
{
    return _tags[index];
}

void CIMPropertyList::append(Array<String>& propertyListArray)
{
    if (propertyListArray.size())
    {
        Array<CIMName> names;
        names.reserveCapacity(propertyListArray.size());
        for (Uint32 i = 0; i < propertyListArray.size(); i++)
        {
            CIMName name(propertyListArray[i]);
            Boolean seen = false;
            for (Uint32 j = 0; j < names.size() && !seen; j++)
                seen = names[j].equal(name);
            if (!seen)
                names.append(name);
        }
        _names = names;
        _tags.clear();
    }
    _isNull = false;
}

void CIMPropertyList::appendCIMNameTag(Uint32 nameTag)
{
    _tags.append(nameTag);
}

Boolean CIMPropertyList::contains(const CIMName& name) const
{
    for (Uint32 i = 0, n = _names.size(); i < n; i++)
    {
        if (_names[i].equal(name))
            return true;
    }
    return false;
}

Boolean CIMPropertyList::useThisProperty(const CIMName& name) const
{
    return _isNull || contains(name);
}

String CIMPropertyList::toString() const
{
    if (_isNull)
        return String("NULL");
    if (_names.size() == 0)
        return String("EMPTY");
    String text;
    for (Uint32 i = 0; i < _names.size(); i++)
    {
        if (i)
            text.append(String(", "));
        text.append(_names[i].getString());
    }
    return text;
}

PEGASUS_NAMESPACE_END
