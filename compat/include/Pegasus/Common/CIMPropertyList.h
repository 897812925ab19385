#ifndef Pegasus_CIMPropertyList_h
#define Pegasus_CIMPropertyList_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Array.h>

PEGASUS_NAMESPACE_BEGIN

// The property filter of a request. A NULL list (the default) selects every
// property; a non-null empty list selects none. A value: copies are
// independent.
class PEGASUS_COMMON_LINKAGE CIMPropertyList
{
public:
    CIMPropertyList();
    CIMPropertyList(const CIMPropertyList& x);
    CIMPropertyList(const Array<CIMName>& propertyNames);
    ~CIMPropertyList();

    void set(const Array<CIMName>& propertyNames);
    CIMPropertyList& operator=(const CIMPropertyList& x);
    void clear();
    Boolean isNull() const;
    Uint32 size() const;
    const CIMName& operator[](Uint32 index) const;
    Array<CIMName> getPropertyNameArray() const;

    Uint32 getCIMNameTag(Uint32 index) const;
    void append(Array<String> & propertyListArray);
    void appendCIMNameTag(Uint32 nameTag);

    Boolean contains(const CIMName& name) const;
    Boolean useThisProperty(const CIMName& name) const;

    // "NULL", "EMPTY", or the names separated by ", ".
    String toString() const;

private:
    Array<CIMName> _names;
    Array<Uint32> _tags;
    Boolean _isNull;
};

PEGASUS_NAMESPACE_END

#endif
