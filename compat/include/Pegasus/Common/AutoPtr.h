//
// AutoPtr / AutoArrayPtr: owning pointers that free their object (or array)
// when they go out of scope. Not copyable.
//
#ifndef Pegasus_AutoPtr_h
#define Pegasus_AutoPtr_h

#include <Pegasus/Common/Config.h>

PEGASUS_NAMESPACE_BEGIN

template<class T>
struct DeletePtr
{
    void operator()(T* ptr) { delete ptr; }
};

template<class T>
struct DeleteArrayPtr
{
    void operator()(T* ptr) { delete [] ptr; }
};

template<class X, class D = DeletePtr<X> >
class AutoPtr
{
public:
    typedef X element_type;

    explicit AutoPtr(X* p = 0) : _ptr(p) {}

    ~AutoPtr() { _d(_ptr); }

    AutoPtr& operator=(X* p)
    {
        reset(p);
        return *this;
    }

    X& operator*() const { return *_ptr; }
    X* operator->() const { return _ptr; }
    X* get() const { return _ptr; }

    X* release()
    {
        X* t = _ptr;
        _ptr = 0;
        return t;
    }

    void reset(X* p = 0)
    {
        if (p != _ptr)
        {
            _d(_ptr);
            _ptr = p;
        }
    }

private:
    AutoPtr(const AutoPtr&);
    AutoPtr& operator=(const AutoPtr&);

    X* _ptr;
    D _d;
};

template<class X>
class AutoArrayPtr
{
public:
    typedef X element_type;

    explicit AutoArrayPtr(X* p = 0) : _ptr(p) {}

    ~AutoArrayPtr() { delete [] _ptr; }

    AutoArrayPtr& operator=(X* p)
    {
        reset(p);
        return *this;
    }

    X& operator[](size_t i) const { return _ptr[i]; }
    X* get() const { return _ptr; }

    X* release()
    {
        X* t = _ptr;
        _ptr = 0;
        return t;
    }

    void reset(X* p = 0)
    {
        if (p != _ptr)
        {
            delete [] _ptr;
            _ptr = p;
        }
    }

private:
    AutoArrayPtr(const AutoArrayPtr&);
    AutoArrayPtr& operator=(const AutoArrayPtr&);

    X* _ptr;
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_AutoPtr_h */
