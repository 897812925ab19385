//
// CIMValue: a typed CIM value (scalar or array, possibly null) of one of the
// seventeen CIM types. A value type: copies are independent.
//
#ifndef Pegasus_Value_h
#define Pegasus_Value_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>

PEGASUS_NAMESPACE_BEGIN

class CIMObject;
class CIMInstance;

class PEGASUS_COMMON_LINKAGE CIMValue
{
public:
    CIMValue();
    CIMValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);
    CIMValue(Boolean x);
    CIMValue(Uint8 x);
    CIMValue(Sint8 x);
    CIMValue(Uint16 x);
    CIMValue(Sint16 x);
    CIMValue(Uint32 x);
    CIMValue(Sint32 x);
    CIMValue(Uint64 x);
    CIMValue(Sint64 x);
    CIMValue(Real32 x);
    CIMValue(Real64 x);
    CIMValue(const Char16& x);
    CIMValue(const String& x);
    CIMValue(const CIMDateTime& x);
    CIMValue(const CIMObjectPath& x);
    CIMValue(const CIMObject& x);
    CIMValue(const CIMInstance& x);
    CIMValue(const Array<Boolean>& x);
    CIMValue(const Array<Uint8>& x);
    CIMValue(const Array<Sint8>& x);
    CIMValue(const Array<Uint16>& x);
    CIMValue(const Array<Sint16>& x);
    CIMValue(const Array<Uint32>& x);
    CIMValue(const Array<Sint32>& x);
    CIMValue(const Array<Uint64>& x);
    CIMValue(const Array<Sint64>& x);
    CIMValue(const Array<Real32>& x);
    CIMValue(const Array<Real64>& x);
    CIMValue(const Array<Char16>& x);
    CIMValue(const Array<String>& x);
    CIMValue(const Array<CIMDateTime>& x);
    CIMValue(const Array<CIMObjectPath>& x);
    CIMValue(const Array<CIMObject>& x);
    CIMValue(const Array<CIMInstance>& x);
    CIMValue(const CIMValue& x);
    ~CIMValue();

    CIMValue& operator=(const CIMValue& x);
    void assign(const CIMValue& x);
    void clear();

    Boolean typeCompatible(const CIMValue& x) const;
    Boolean isArray() const;
    Boolean isNull() const;
    Uint32 getArraySize() const;
    CIMType getType() const;

    void setNullValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);

    void set(Boolean x);
    void set(Uint8 x);
    void set(Sint8 x);
    void set(Uint16 x);
    void set(Sint16 x);
    void set(Uint32 x);
    void set(Sint32 x);
    void set(Uint64 x);
    void set(Sint64 x);
    void set(Real32 x);
    void set(Real64 x);
    void set(const Char16& x);
    void set(const String& x);
    void set(const CIMDateTime& x);
    void set(const CIMObjectPath& x);
    void set(const CIMObject& x);
    void set(const CIMInstance& x);
    void set(const Array<Boolean>& x);
    void set(const Array<Uint8>& x);
    void set(const Array<Sint8>& x);
    void set(const Array<Uint16>& x);
    void set(const Array<Sint16>& x);
    void set(const Array<Uint32>& x);
    void set(const Array<Sint32>& x);
    void set(const Array<Uint64>& x);
    void set(const Array<Sint64>& x);
    void set(const Array<Real32>& x);
    void set(const Array<Real64>& x);
    void set(const Array<Char16>& x);
    void set(const Array<String>& x);
    void set(const Array<CIMDateTime>& x);
    void set(const Array<CIMObjectPath>& x);
    void set(const Array<CIMObject>& x);
    void set(const Array<CIMInstance>& x);

    void get(Boolean& x) const;
    void get(Uint8& x) const;
    void get(Sint8& x) const;
    void get(Uint16& x) const;
    void get(Sint16& x) const;
    void get(Uint32& x) const;
    void get(Sint32& x) const;
    void get(Uint64& x) const;
    void get(Sint64& x) const;
    void get(Real32& x) const;
    void get(Real64& x) const;
    void get(Char16& x) const;
    void get(String& x) const;
    void get(CIMDateTime& x) const;
    void get(CIMObjectPath& x) const;
    void get(CIMObject& x) const;
    void get(CIMInstance& x) const;
    void get(Array<Boolean>& x) const;
    void get(Array<Uint8>& x) const;
    void get(Array<Sint8>& x) const;
    void get(Array<Uint16>& x) const;
    void get(Array<Sint16>& x) const;
    void get(Array<Uint32>& x) const;
    void get(Array<Sint32>& x) const;
    void get(Array<Uint64>& x) const;
    void get(Array<Sint64>& x) const;
    void get(Array<Real32>& x) const;
    void get(Array<Real64>& x) const;
    void get(Array<Char16>& x) const;
    void get(Array<String>& x) const;
    void get(Array<CIMDateTime>& x) const;
    void get(Array<CIMObjectPath>& x) const;
    void get(Array<CIMObject>& x) const;
    void get(Array<CIMInstance>& x) const;

    Boolean equal(const CIMValue& x) const;
    String toString() const;

#ifdef PEGASUS_USE_DEPRECATED_INTERFACES
    CIMValue(char x);
    CIMValue(const Array<char>& x);
    void set(char x);
    void set(const Array<char>& x);
    void get(char& x) const;
    void get(Array<char>& x) const;
#endif

    // Not part of the provider API: moving a value leaves a null boolean.
    CIMValue(CIMValue&& x) noexcept;
    CIMValue& operator=(CIMValue&& x) noexcept;

private:
    void _release();
    void _copyFrom(const CIMValue& x);
    void _moveFrom(CIMValue& x);
    void _setType(CIMType type, Boolean isArray);
    void _checkGet(CIMType type, Boolean isArray) const;
    template<class T> friend struct CIMValueAccess;
    template<class T> friend struct CIMValueArrayAccess;

    // Scalars of the number types live in place; String, CIMObjectPath,
    // embedded objects and every Array (each one pointer) are constructed
    // in _u.raw. A CIMDateTime keeps its microseconds in _u.u64 and the
    // rest of it in _nullArraySize, so that a value takes 16 bytes.
    union Storage
    {
        Boolean b;
        Uint8 u8;
        Sint8 s8;
        Uint16 u16;
        Sint16 s16;
        Uint32 u32;
        Sint32 s32;
        Uint64 u64;
        Sint64 s64;
        Real32 r32;
        Real64 r64;
        void* ptr;
        alignas(8) unsigned char raw[8];
    } _u;
    // The size of a null array, or the rest of a CIMDateTime.
    Uint32 _nullArraySize;
    Uint8 _type;
    Boolean _isArray;
    Boolean _isNull;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMValue& x, const CIMValue& y);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMValue& x, const CIMValue& y);

PEGASUS_NAMESPACE_END

#endif /* Pegasus_Value_h */
