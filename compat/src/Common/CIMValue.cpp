//
// CIMValue.
//
// Every stored value (scalar or Array) is constructed in place in the
// value's own storage, so setting a scalar never allocates and copying a
// string, path, array or embedded object copies one handle.
//
#include <cstdio>
#include <cstring>
#include <string>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>
#include <CimXml/XmlWriter.h>
#include "CIMDateTimeAccess.h"
#include "CIMValueInPlace.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

template<class T> struct Tag { typedef T type; };

template<class T> struct TypeOf;
template<> struct TypeOf<Boolean> { static const CIMType value = CIMTYPE_BOOLEAN; };
template<> struct TypeOf<Uint8> { static const CIMType value = CIMTYPE_UINT8; };
template<> struct TypeOf<Sint8> { static const CIMType value = CIMTYPE_SINT8; };
template<> struct TypeOf<Uint16> { static const CIMType value = CIMTYPE_UINT16; };
template<> struct TypeOf<Sint16> { static const CIMType value = CIMTYPE_SINT16; };
template<> struct TypeOf<Uint32> { static const CIMType value = CIMTYPE_UINT32; };
template<> struct TypeOf<Sint32> { static const CIMType value = CIMTYPE_SINT32; };
template<> struct TypeOf<Uint64> { static const CIMType value = CIMTYPE_UINT64; };
template<> struct TypeOf<Sint64> { static const CIMType value = CIMTYPE_SINT64; };
template<> struct TypeOf<Real32> { static const CIMType value = CIMTYPE_REAL32; };
template<> struct TypeOf<Real64> { static const CIMType value = CIMTYPE_REAL64; };
template<> struct TypeOf<Char16> { static const CIMType value = CIMTYPE_CHAR16; };
template<> struct TypeOf<String> { static const CIMType value = CIMTYPE_STRING; };
template<> struct TypeOf<CIMDateTime> { static const CIMType value = CIMTYPE_DATETIME; };
template<> struct TypeOf<CIMObjectPath> { static const CIMType value = CIMTYPE_REFERENCE; };
template<> struct TypeOf<CIMObject> { static const CIMType value = CIMTYPE_OBJECT; };
template<> struct TypeOf<CIMInstance> { static const CIMType value = CIMTYPE_INSTANCE; };

// Calls f(Tag<T>()) with the C++ type T of a CIM type.
template<class F>
void visitType(CIMType type, F&& f)
{
    switch (type)
    {
        case CIMTYPE_BOOLEAN: f(Tag<Boolean>()); break;
        case CIMTYPE_UINT8: f(Tag<Uint8>()); break;
        case CIMTYPE_SINT8: f(Tag<Sint8>()); break;
        case CIMTYPE_UINT16: f(Tag<Uint16>()); break;
        case CIMTYPE_SINT16: f(Tag<Sint16>()); break;
        case CIMTYPE_UINT32: f(Tag<Uint32>()); break;
        case CIMTYPE_SINT32: f(Tag<Sint32>()); break;
        case CIMTYPE_UINT64: f(Tag<Uint64>()); break;
        case CIMTYPE_SINT64: f(Tag<Sint64>()); break;
        case CIMTYPE_REAL32: f(Tag<Real32>()); break;
        case CIMTYPE_REAL64: f(Tag<Real64>()); break;
        case CIMTYPE_CHAR16: f(Tag<Char16>()); break;
        case CIMTYPE_STRING: f(Tag<String>()); break;
        case CIMTYPE_DATETIME: f(Tag<CIMDateTime>()); break;
        case CIMTYPE_REFERENCE: f(Tag<CIMObjectPath>()); break;
        case CIMTYPE_OBJECT: f(Tag<CIMObject>()); break;
        case CIMTYPE_INSTANCE: f(Tag<CIMInstance>()); break;
    }
}

// Embedded objects are stored as clones so that no one else can change
// them; everything else is stored as given.
template<class T> inline T stored(const T& x) { return x; }

template<> inline CIMObject stored(const CIMObject& x)
{
    if (x.isUninitialized())
        throw UninitializedObjectException();
    return x.clone();
}

template<> inline CIMInstance stored(const CIMInstance& x)
{
    if (x.isUninitialized())
        throw UninitializedObjectException();
    return x.clone();
}

template<class T> inline Array<T> storedArray(const Array<T>& x) { return x; }

template<class T> inline Array<T> clonedArray(const Array<T>& x)
{
    Array<T> out;
    out.reserveCapacity(x.size());
    for (Uint32 i = 0; i < x.size(); i++)
        out.append(stored(x[i]));
    return out;
}

template<> inline Array<CIMObject> storedArray(const Array<CIMObject>& x)
{
    return clonedArray(x);
}

template<> inline Array<CIMInstance> storedArray(const Array<CIMInstance>& x)
{
    return clonedArray(x);
}

// What get() hands out: clones for embedded objects.
template<class T> inline T given(const T& x) { return x; }
template<> inline CIMObject given(const CIMObject& x) { return x.clone(); }
template<> inline CIMInstance given(const CIMInstance& x) { return x.clone(); }

template<class T> inline Array<T> givenArray(const Array<T>& x) { return x; }
template<> inline Array<CIMObject> givenArray(const Array<CIMObject>& x)
{
    return clonedArray(x);
}
template<> inline Array<CIMInstance> givenArray(const Array<CIMInstance>& x)
{
    return clonedArray(x);
}

// Element comparison under CIMValue::equal.
template<class T> inline bool sameElement(const T& a, const T& b) { return a == b; }
inline bool sameElement(const CIMDateTime& a, const CIMDateTime& b) { return a.equal(b); }
inline bool sameElement(const CIMObjectPath& a, const CIMObjectPath& b) { return a.identical(b); }
inline bool sameElement(const String& a, const String& b) { return String::equal(a, b); }
inline bool sameElement(const CIMObject& a, const CIMObject& b) { return a.identical(b); }
inline bool sameElement(const CIMInstance& a, const CIMInstance& b) { return a.identical(b); }

// Display text of one element.
void appendText(String& out, Boolean x) { out.append(String(x ? "TRUE" : "FALSE")); }

void appendUnsigned(String& out, Uint64 x)
{
    char buf[32];
    int n = std::snprintf(buf, sizeof(buf), "%llu", x);
    out.append(String(buf, Uint32(n)));
}

void appendSigned(String& out, Sint64 x)
{
    char buf[32];
    int n = std::snprintf(buf, sizeof(buf), "%lld", x);
    out.append(String(buf, Uint32(n)));
}

void appendReal(String& out, Real64 x)
{
    char buf[64];
    int n = std::snprintf(buf, sizeof(buf), "%.16e", x);
    out.append(String(buf, Uint32(n)));
}

void appendText(String& out, Uint8 x) { appendUnsigned(out, x); }
void appendText(String& out, Sint8 x) { appendSigned(out, x); }
void appendText(String& out, Uint16 x) { appendUnsigned(out, x); }
void appendText(String& out, Sint16 x) { appendSigned(out, x); }
void appendText(String& out, Uint32 x) { appendUnsigned(out, x); }
void appendText(String& out, Sint32 x) { appendSigned(out, x); }
void appendText(String& out, Uint64 x) { appendUnsigned(out, x); }
void appendText(String& out, Sint64 x) { appendSigned(out, x); }
void appendText(String& out, Real32 x) { appendReal(out, x); }
void appendText(String& out, Real64 x) { appendReal(out, x); }
void appendText(String& out, const Char16& x) { out.append(x); }
void appendText(String& out, const String& x) { out.append(x); }
void appendText(String& out, const CIMDateTime& x) { out.append(x.toString()); }
void appendText(String& out, const CIMObjectPath& x) { out.append(x.toString()); }

void appendObjectText(String& out, const CIMConstObject& x)
{
    out.append(XmlWriter::objectToXml(x));
}

void appendText(String& out, const CIMObject& x) { appendObjectText(out, CIMConstObject(x)); }
void appendText(String& out, const CIMInstance& x)
{
    appendObjectText(out, CIMConstObject(CIMObject(x)));
}

} // namespace

// Typed access to the arrays kept in a CIMValue.
template<class T>
struct CIMValueArrayAccess
{
    static_assert(sizeof(Array<T>) <= sizeof(CIMValue::Storage),
        "array must fit the inline storage");

    static Array<T>& array(CIMValue& v) { return *reinterpret_cast<Array<T>*>(v._u.raw); }
    static const Array<T>& array(const CIMValue& v)
    {
        return *reinterpret_cast<const Array<T>*>(v._u.raw);
    }

    static void setArray(CIMValue& v, const Array<T>& x)
    {
        Array<T> tmp(storedArray(x));
        v._release();
        new (v._u.raw) Array<T>(std::move(tmp));
        v._type = Uint8(TypeOf<T>::value);
        v._isArray = true;
        v._isNull = false;
        v._nullArraySize = 0;
    }

    static void getArray(const CIMValue& v, Array<T>& x)
    {
        v._checkGet(TypeOf<T>::value, true);
        if (!v._isNull)
            x = givenArray(array(v));
    }
};

// Typed access to the storage of a CIMValue.
template<class T>
struct CIMValueAccess : CIMValueArrayAccess<T>
{
    static_assert(sizeof(T) <= sizeof(CIMValue::Storage) && alignof(T) <= 8,
        "value must fit the inline storage");

    static T& scalar(CIMValue& v) { return *reinterpret_cast<T*>(v._u.raw); }
    static const T& scalar(const CIMValue& v) { return *reinterpret_cast<const T*>(v._u.raw); }

    static void setScalar(CIMValue& v, const T& x)
    {
        T tmp(stored(x));
        v._release();
        new (v._u.raw) T(std::move(tmp));
        v._type = Uint8(TypeOf<T>::value);
        v._isArray = false;
        v._isNull = false;
        v._nullArraySize = 0;
    }

    static void getScalar(const CIMValue& v, T& x)
    {
        v._checkGet(TypeOf<T>::value, false);
        if (!v._isNull)
            x = given(scalar(v));
    }

    // Copies the scalar of x (not null) into v's empty storage.
    static void copyScalar(CIMValue& v, const CIMValue& x)
    {
        new (v._u.raw) T(scalar(x));
    }

    static void destroyScalar(CIMValue& v) { scalar(v).~T(); }
};

// A CIMDateTime is kept in pieces (see CIMValue::Storage): plain data,
// handed out as a copy.
template<>
struct CIMValueAccess<CIMDateTime> : CIMValueArrayAccess<CIMDateTime>
{
    static CIMDateTime scalar(const CIMValue& v)
    {
        return CIMDateTimeAccess::unpack(v._u.u64, v._nullArraySize);
    }

    static void setScalar(CIMValue& v, const CIMDateTime& x)
    {
        v._release();
        CIMDateTimeAccess::pack(x, v._u.u64, v._nullArraySize);
        v._type = Uint8(CIMTYPE_DATETIME);
        v._isArray = false;
        v._isNull = false;
    }

    static void getScalar(const CIMValue& v, CIMDateTime& x)
    {
        v._checkGet(CIMTYPE_DATETIME, false);
        if (!v._isNull)
            x = scalar(v);
    }

    static void copyScalar(CIMValue& v, const CIMValue& x) { v._u.u64 = x._u.u64; }

    static void destroyScalar(CIMValue&) {}
};

const String& CIMValueInPlace::string(const CIMValue& value)
{
    return CIMValueAccess<String>::scalar(value);
}

//
// Construction, copy, release
//

namespace
{

// True for a value that holds no handle: null, or a scalar number, Boolean,
// Char16 or date-time, all kept in place. Such values copy bytewise and
// release nothing.
inline bool plainData(bool isNull, bool isArray, Uint8 type)
{
    return isNull ||
        (!isArray && (type <= CIMTYPE_CHAR16 || type == CIMTYPE_DATETIME));
}

} // namespace

CIMValue::CIMValue()
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
}

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize)
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
    setNullValue(type, isArray, arraySize);
}

#define PEGASUS_VALUE_CTORS(T, PARAM) \
    CIMValue::CIMValue(PARAM x) \
        : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true) \
    { \
        CIMValueAccess<T>::setScalar(*this, x); \
    } \
    CIMValue::CIMValue(const Array<T>& x) \
        : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true) \
    { \
        CIMValueAccess<T>::setArray(*this, x); \
    } \
    void CIMValue::set(PARAM x) { CIMValueAccess<T>::setScalar(*this, x); } \
    void CIMValue::set(const Array<T>& x) { CIMValueAccess<T>::setArray(*this, x); } \
    void CIMValue::get(T& x) const { CIMValueAccess<T>::getScalar(*this, x); } \
    void CIMValue::get(Array<T>& x) const { CIMValueAccess<T>::getArray(*this, x); }

PEGASUS_VALUE_CTORS(Boolean, Boolean)
PEGASUS_VALUE_CTORS(Uint8, Uint8)
PEGASUS_VALUE_CTORS(Sint8, Sint8)
PEGASUS_VALUE_CTORS(Uint16, Uint16)
PEGASUS_VALUE_CTORS(Sint16, Sint16)
PEGASUS_VALUE_CTORS(Uint32, Uint32)
PEGASUS_VALUE_CTORS(Sint32, Sint32)
PEGASUS_VALUE_CTORS(Uint64, Uint64)
PEGASUS_VALUE_CTORS(Sint64, Sint64)
PEGASUS_VALUE_CTORS(Real32, Real32)
PEGASUS_VALUE_CTORS(Real64, Real64)
PEGASUS_VALUE_CTORS(Char16, const Char16&)
PEGASUS_VALUE_CTORS(String, const String&)
PEGASUS_VALUE_CTORS(CIMDateTime, const CIMDateTime&)
PEGASUS_VALUE_CTORS(CIMObjectPath, const CIMObjectPath&)
PEGASUS_VALUE_CTORS(CIMObject, const CIMObject&)
PEGASUS_VALUE_CTORS(CIMInstance, const CIMInstance&)

#undef PEGASUS_VALUE_CTORS

// char is handled as sint8.

namespace
{

Array<Sint8> toSint8Array(const Array<char>& x)
{
    Array<Sint8> out;
    out.reserveCapacity(x.size());
    for (Uint32 i = 0; i < x.size(); i++)
        out.append(Sint8(x[i]));
    return out;
}

} // namespace

CIMValue::CIMValue(char x)
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
    set(Sint8(x));
}

CIMValue::CIMValue(const Array<char>& x)
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
    set(toSint8Array(x));
}

void CIMValue::set(char x)
{
    set(Sint8(x));
}

void CIMValue::set(const Array<char>& x)
{
    set(toSint8Array(x));
}

void CIMValue::get(char& x) const
{
    Sint8 s = Sint8(x);
    get(s);
    x = char(s);
}

void CIMValue::get(Array<char>& x) const
{
    _checkGet(CIMTYPE_SINT8, true);
    if (_isNull)
        return;
    const Array<Sint8>& a = CIMValueAccess<Sint8>::array(*this);
    Array<char> out;
    out.reserveCapacity(a.size());
    for (Uint32 i = 0; i < a.size(); i++)
        out.append(char(a[i]));
    x = out;
}

CIMValue::CIMValue(const CIMValue& x)
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
    _copyFrom(x);
}

CIMValue::CIMValue(CIMValue&& x) noexcept
    : _nullArraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false), _isNull(true)
{
    _moveFrom(x);
}

CIMValue::~CIMValue()
{
    _release();
}

CIMValue& CIMValue::operator=(const CIMValue& x)
{
    if (this != &x)
    {
        // Nothing to release here and nothing to share from x: copy it.
        if (plainData(_isNull, _isArray, _type) && plainData(x._isNull, x._isArray, x._type))
        {
            _copyFrom(x);
            return *this;
        }
        CIMValue tmp(x);
        _release();
        _moveFrom(tmp);
    }
    return *this;
}

CIMValue& CIMValue::operator=(CIMValue&& x) noexcept
{
    if (this != &x)
    {
        _release();
        _moveFrom(x);
    }
    return *this;
}

void CIMValue::assign(const CIMValue& x)
{
    *this = x;
}

void CIMValue::clear()
{
    _release();
    _type = CIMTYPE_BOOLEAN;
    _isArray = false;
    _isNull = true;
    _nullArraySize = 0;
}

// Destroys the stored object, if any; leaves the type fields alone.
void CIMValue::_release()
{
    if (_isNull)
        return;
    if (!_isArray && _type <= CIMTYPE_CHAR16)
    {
        // Plain data: nothing to destroy.
        _isNull = true;
        return;
    }
    bool isArray = _isArray;
    visitType(CIMType(_type), [this, isArray](auto tag)
    {
        typedef typename decltype(tag)::type T;
        if (isArray)
            CIMValueAccess<T>::array(*this).~Array<T>();
        else
            CIMValueAccess<T>::destroyScalar(*this);
    });
    _isNull = true;
}

void CIMValue::_copyFrom(const CIMValue& x)
{
    if (!x._isNull && plainData(false, x._isArray, x._type))
    {
        std::memcpy(static_cast<void*>(_u.raw), static_cast<const void*>(x._u.raw), sizeof(_u.raw));
    }
    else if (!x._isNull)
    {
        bool isArray = x._isArray;
        visitType(CIMType(x._type), [this, &x, isArray](auto tag)
        {
            typedef typename decltype(tag)::type T;
            if (isArray)
                new (_u.raw) Array<T>(CIMValueAccess<T>::array(x));
            else
                CIMValueAccess<T>::copyScalar(*this, x);
        });
    }
    _type = x._type;
    _isArray = x._isArray;
    _isNull = x._isNull;
    _nullArraySize = x._nullArraySize;
}

// Every stored type is a handle or plain data that may be relocated
// bytewise; the source is left a null boolean without running destructors.
void CIMValue::_moveFrom(CIMValue& x)
{
    std::memcpy(static_cast<void*>(_u.raw), static_cast<const void*>(x._u.raw), sizeof(_u.raw));
    _type = x._type;
    _isArray = x._isArray;
    _isNull = x._isNull;
    _nullArraySize = x._nullArraySize;
    x._type = CIMTYPE_BOOLEAN;
    x._isArray = false;
    x._isNull = true;
    x._nullArraySize = 0;
}

void CIMValue::_setType(CIMType type, Boolean isArray)
{
    _type = Uint8(type);
    _isArray = isArray;
}

void CIMValue::_checkGet(CIMType type, Boolean isArray) const
{
    if (CIMType(_type) != type || _isArray != isArray)
        throw TypeMismatchException();
}

//
// Queries
//

Boolean CIMValue::typeCompatible(const CIMValue& x) const
{
    return _type == x._type && _isArray == x._isArray;
}

Boolean CIMValue::isArray() const
{
    return _isArray;
}

Boolean CIMValue::isNull() const
{
    return _isNull;
}

Uint32 CIMValue::getArraySize() const
{
    if (!_isArray)
        return 0;
    if (_isNull)
        return _nullArraySize;
    Uint32 n = 0;
    visitType(CIMType(_type), [this, &n](auto tag)
    {
        typedef typename decltype(tag)::type T;
        n = CIMValueAccess<T>::array(*this).size();
    });
    return n;
}

CIMType CIMValue::getType() const
{
    return CIMType(_type);
}

void CIMValue::setNullValue(CIMType type, Boolean isArray, Uint32 arraySize)
{
    _release();
    _setType(type, isArray);
    _isNull = true;
    _nullArraySize = isArray ? arraySize : 0;
}

Boolean CIMValue::equal(const CIMValue& x) const
{
    if (!typeCompatible(x))
        return false;
    if (_isNull || x._isNull)
        return _isNull && x._isNull;
    bool result = false;
    bool isArray = _isArray;
    visitType(CIMType(_type), [this, &x, &result, isArray](auto tag)
    {
        typedef typename decltype(tag)::type T;
        if (!isArray)
        {
            result = sameElement(CIMValueAccess<T>::scalar(*this), CIMValueAccess<T>::scalar(x));
            return;
        }
        const Array<T>& a = CIMValueAccess<T>::array(*this);
        const Array<T>& b = CIMValueAccess<T>::array(x);
        if (a.size() != b.size())
            return;
        for (Uint32 i = 0; i < a.size(); i++)
            if (!sameElement(a[i], b[i]))
                return;
        result = true;
    });
    return result;
}

String CIMValue::toString() const
{
    String out;
    if (_isNull)
        return out;
    bool isArray = _isArray;
    visitType(CIMType(_type), [this, &out, isArray](auto tag)
    {
        typedef typename decltype(tag)::type T;
        if (!isArray)
        {
            appendText(out, CIMValueAccess<T>::scalar(*this));
            return;
        }
        const Array<T>& a = CIMValueAccess<T>::array(*this);
        for (Uint32 i = 0; i < a.size(); i++)
        {
            appendText(out, a[i]);
            out.append(Char16(' '));
        }
    });
    return out;
}

Boolean operator==(const CIMValue& x, const CIMValue& y)
{
    return x.equal(y);
}

Boolean operator!=(const CIMValue& x, const CIMValue& y)
{
    return !x.equal(y);
}

PEGASUS_NAMESPACE_END
