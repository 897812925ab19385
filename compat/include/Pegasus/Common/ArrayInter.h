//
// Array<T>: a reference-counted, copy-on-write vector with value semantics.
//
// The template is complete in this header, so Array<T> works for every
// element type of the API (and for the element types the headers of this
// SDK add). A type only has to be complete where an Array of it is created,
// copied, changed or destroyed.
//
#ifndef Pegasus_ArrayInter_h
#define Pegasus_ArrayInter_h

#include <atomic>
#include <new>
#include <cstring>
#include <type_traits>
#include <utility>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

PEGASUS_NAMESPACE_BEGIN

// Header of every array representation; the elements follow it.
struct alignas(16) ArrayRepBase
{
    std::atomic<Uint32> refs;
    Uint32 size;
    Uint32 capacity;
    // 0 for a representation allocated on its own. Otherwise it lies this
    // many bytes into a block it shares with its owner (an object path and
    // its only key share one allocation), and freeing it gives up its hold
    // on the block.
    Uint32 within;
};

// The shared representation of all empty arrays. Never freed, never
// written.
extern PEGASUS_COMMON_LINKAGE ArrayRepBase ArrayRepBase_empty;

// Drops a representation's hold on the block it lies within.
PEGASUS_COMMON_LINKAGE void ArrayRepBase_releaseWithin(ArrayRepBase* rep);

PEGASUS_COMMON_LINKAGE void ArrayThrowIndexOutOfBoundsException();

struct CIMObjectPathRep;

template<class T>
class Array
{
public:
    typedef T value_type;

    Array() : _rep(&ArrayRepBase_empty) {}

    Array(const Array<T>& x) : _rep(x._rep) { _ref(_rep); }

    Array(Array<T>&& x) noexcept : _rep(x._rep) { x._rep = &ArrayRepBase_empty; }

    Array(Uint32 size) : _rep(&ArrayRepBase_empty)
    {
        if (size)
        {
            _rep = _alloc(size);
            T* d = _data(_rep);
            for (Uint32 i = 0; i < size; i++)
                new (d + i) T();
            _rep->size = size;
        }
    }

    Array(Uint32 size, const T& x) : _rep(&ArrayRepBase_empty)
    {
        if (size)
        {
            _rep = _alloc(size);
            T* d = _data(_rep);
            for (Uint32 i = 0; i < size; i++)
                new (d + i) T(x);
            _rep->size = size;
        }
    }

    Array(const T* items, Uint32 size) : _rep(&ArrayRepBase_empty)
    {
        if (size)
        {
            _rep = _alloc(size);
            _copyConstruct(_data(_rep), items, size);
            _rep->size = size;
        }
    }

    ~Array() { _unref(_rep); }

    Array<T>& operator=(const Array<T>& x)
    {
        if (x._rep != _rep)
        {
            _ref(x._rep);
            _unref(_rep);
            _rep = x._rep;
        }
        return *this;
    }

    Array<T>& operator=(Array<T>&& x) noexcept
    {
        if (this != &x)
        {
            _unref(_rep);
            _rep = x._rep;
            x._rep = &ArrayRepBase_empty;
        }
        return *this;
    }

    void clear()
    {
        if (_rep->size == 0)
            return;
        if (_unique())
        {
            _destroy(_data(_rep), _rep->size);
            _rep->size = 0;
        }
        else
        {
            _unref(_rep);
            _rep = &ArrayRepBase_empty;
        }
    }

    void reserveCapacity(Uint32 capacity)
    {
        if (capacity > _rep->capacity || (!_unique() && capacity > 0))
            _reallocate(capacity > _rep->size ? capacity : _rep->size);
    }

    void grow(Uint32 size, const T& x)
    {
        if (!size)
            return;
        // x may live inside this array: copy it before reallocating.
        T tmp(x);
        _prepareAppend(size);
        T* d = _data(_rep) + _rep->size;
        for (Uint32 i = 0; i < size; i++)
            new (d + i) T(tmp);
        _rep->size += size;
    }

    void swap(Array<T>& x)
    {
        ArrayRepBase* t = _rep;
        _rep = x._rep;
        x._rep = t;
    }

    Uint32 size() const { return _rep->size; }

    Uint32 getCapacity() const { return _rep->capacity; }

    const T* getData() const { return _data(_rep); }

    T& operator[](Uint32 index)
    {
        if (index >= _rep->size)
            ArrayThrowIndexOutOfBoundsException();
        if (!_unique())
            _reallocate(_rep->capacity);
        return _data(_rep)[index];
    }

    const T& operator[](Uint32 index) const
    {
        if (index >= _rep->size)
            ArrayThrowIndexOutOfBoundsException();
        return _data(_rep)[index];
    }

    void append(const T& x)
    {
        if (_unique() && _rep->size < _rep->capacity)
        {
            new (_data(_rep) + _rep->size) T(x);
            _rep->size++;
            return;
        }
        T tmp(x);
        _prepareAppend(1);
        new (_data(_rep) + _rep->size) T(std::move(tmp));
        _rep->size++;
    }

    void append(const T* x, Uint32 size)
    {
        if (!size)
            return;
        if (_overlaps(x))
        {
            Array<T> tmp(x, size);
            append(tmp.getData(), size);
            return;
        }
        _prepareAppend(size);
        _copyConstruct(_data(_rep) + _rep->size, x, size);
        _rep->size += size;
    }

    void appendArray(const Array<T>& x)
    {
        Array<T> keep(x);
        append(keep.getData(), keep.size());
    }

    void prepend(const T& x) { insert(0, &x, 1); }

    void prepend(const T* x, Uint32 size) { insert(0, x, size); }

    void insert(Uint32 index, const T& x) { insert(index, &x, 1); }

    void insert(Uint32 index, const T* x, Uint32 size)
    {
        if (index > _rep->size)
            ArrayThrowIndexOutOfBoundsException();
        if (!size)
            return;
        if (_overlaps(x))
        {
            Array<T> tmp(x, size);
            insert(index, tmp.getData(), size);
            return;
        }
        Uint32 oldSize = _rep->size;
        Uint32 n = oldSize + size;
        ArrayRepBase* rep = _alloc(_grownCapacity(n));
        T* dst = _data(rep);
        T* src = _data(_rep);
        if (_rep == &ArrayRepBase_empty)
        {
            _copyConstruct(dst, x, size);
        }
        else if (_unique())
        {
            _moveConstruct(dst, src, index);
            _copyConstruct(dst + index, x, size);
            _moveConstruct(dst + index + size, src + index, oldSize - index);
            _rep->size = 0;
        }
        else
        {
            _copyConstruct(dst, src, index);
            _copyConstruct(dst + index, x, size);
            _copyConstruct(dst + index + size, src + index, oldSize - index);
        }
        rep->size = n;
        _unref(_rep);
        _rep = rep;
    }

    void remove(Uint32 index) { remove(index, 1); }

    void remove(Uint32 index, Uint32 size)
    {
        if (index + size < index || index + size > _rep->size)
            ArrayThrowIndexOutOfBoundsException();
        if (!size)
            return;
        if (!_unique())
            _reallocate(_rep->capacity);
        T* d = _data(_rep);
        Uint32 tail = _rep->size - index - size;
        for (Uint32 i = 0; i < tail; i++)
            d[index + i] = std::move(d[index + size + i]);
        _destroy(d + _rep->size - size, size);
        _rep->size -= size;
    }

private:
    // Takes over a representation its maker has filled (one reference).
    struct Adopt {};
    Array(ArrayRepBase* rep, Adopt) : _rep(rep) {}
    friend struct CIMObjectPathRep;

    static T* _data(ArrayRepBase* rep)
    {
        return reinterpret_cast<T*>(rep + 1);
    }

    static const T* _data(const ArrayRepBase* rep)
    {
        return reinterpret_cast<const T*>(rep + 1);
    }

    static ArrayRepBase* _alloc(Uint32 capacity)
    {
        static_assert(alignof(T) <= alignof(ArrayRepBase),
            "Array element alignment too large");
        void* p = ::operator new(sizeof(ArrayRepBase) + sizeof(T) * size_t(capacity));
        ArrayRepBase* rep = static_cast<ArrayRepBase*>(p);
        new (&rep->refs) std::atomic<Uint32>(1);
        rep->size = 0;
        rep->capacity = capacity;
        rep->within = 0;
        return rep;
    }

    static void _ref(ArrayRepBase* rep)
    {
        if (rep != &ArrayRepBase_empty)
            rep->refs.fetch_add(1, std::memory_order_relaxed);
    }

    static void _unref(ArrayRepBase* rep)
    {
        if (rep != &ArrayRepBase_empty &&
            rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            _free(rep);
    }

    // Kept out of line: the common path is the decrement alone, and the
    // compiler cannot mistake a shared representation for a freed one.
#if defined(__GNUC__)
    __attribute__((noinline))
#endif
    static void _free(ArrayRepBase* rep)
    {
        _destroy(_data(rep), rep->size);
        if (rep->within)
            ArrayRepBase_releaseWithin(rep);
        else
            ::operator delete(rep);
    }

    bool _unique() const
    {
        return _rep != &ArrayRepBase_empty &&
            _rep->refs.load(std::memory_order_acquire) == 1;
    }

    bool _overlaps(const T* x) const
    {
        const T* d = _data(_rep);
        return x >= d && x < d + _rep->size;
    }

    static void _destroy(T* p, Uint32 n)
    {
        if (!std::is_trivially_destructible<T>::value)
            for (Uint32 i = 0; i < n; i++)
                p[i].~T();
    }

    static void _copyConstruct(T* dst, const T* src, Uint32 n)
    {
        if (std::is_trivially_copyable<T>::value)
        {
            if (n)
                std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), sizeof(T) * size_t(n));
        }
        else
        {
            for (Uint32 i = 0; i < n; i++)
                new (dst + i) T(src[i]);
        }
    }

    // Moves n elements into raw storage and destroys the sources.
    static void _moveConstruct(T* dst, T* src, Uint32 n)
    {
        if (std::is_trivially_copyable<T>::value)
        {
            if (n)
                std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), sizeof(T) * size_t(n));
        }
        else
        {
            for (Uint32 i = 0; i < n; i++)
            {
                new (dst + i) T(std::move(src[i]));
                src[i].~T();
            }
        }
    }

    // Room for needed elements and more. Most arrays of the object model
    // hold one or two elements (a key binding, a status) and many of them
    // are held at once, so the first room is about 32 bytes of elements; it
    // doubles from there.
    static Uint32 _grownCapacity(Uint32 needed)
    {
        Uint32 cap = sizeof(T) >= 32 ? 1 : Uint32(32 / sizeof(T));
        while (cap < needed)
            cap = cap > 0x7FFFFFFF ? needed : cap * 2;
        return cap;
    }

    // Gives this array its own representation with room for capacity
    // elements (at least its size).
    void _reallocate(Uint32 capacity)
    {
        if (capacity < _rep->size)
            capacity = _rep->size;
        if (capacity == 0)
        {
            _unref(_rep);
            _rep = &ArrayRepBase_empty;
            return;
        }
        ArrayRepBase* rep = _alloc(capacity);
        if (_rep == &ArrayRepBase_empty)
        {
            // Nothing to carry over.
        }
        else if (_unique())
        {
            _moveConstruct(_data(rep), _data(_rep), _rep->size);
            rep->size = _rep->size;
            _rep->size = 0;
        }
        else
        {
            _copyConstruct(_data(rep), _data(_rep), _rep->size);
            rep->size = _rep->size;
        }
        _unref(_rep);
        _rep = rep;
    }

    void _prepareAppend(Uint32 extra)
    {
        Uint32 needed = _rep->size + extra;
        if (!_unique() || needed > _rep->capacity)
            _reallocate(_grownCapacity(needed));
    }

    ArrayRepBase* _rep;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_ArrayInter_h */
