//
// The shared representation behind String (not part of the SDK headers).
//
#ifndef Pegasus_StringRep_h
#define Pegasus_StringRep_h

#include <atomic>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

// A reference-counted, null-terminated block of UTF-16 units. Some
// representations live as long as the process and are never changed: the
// one all empty strings share, and the interned names (NameTable). Their
// counts hold a mark at or above IMMORTAL and are never touched, so sharing
// them costs no atomic operation.
struct StringRep
{
    std::atomic<Uint32> refs;
    Uint32 size;
    Uint32 cap;
    Uint16 data[1];

    static const Uint32 IMMORTAL = 0x80000000u;
    // The mark of an interned name, whose case-folded hash precedes it.
    static const Uint32 INTERNED = 0xC0000000u;
    // Set in `cap` of a representation that lies within a larger block
    // (a path's key value): its last reference releases that block
    // instead of freeing itself.
    static const Uint32 WITHIN = 0x80000000u;

    static Uint32 capacity(const StringRep* rep) { return rep->cap & ~WITHIN; }

    static StringRep* alloc(Uint32 cap);
    static bool immortal(const StringRep* rep)
    {
        return rep->refs.load(std::memory_order_relaxed) >= IMMORTAL;
    }
    static void ref(StringRep* rep)
    {
        if (!immortal(rep))
            rep->refs.fetch_add(1, std::memory_order_relaxed);
    }
    static void unref(StringRep* rep)
    {
        if (!immortal(rep) && rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            destroy(rep);
    }
    // Frees a representation whose last reference is gone; out of line, so
    // that the compiler does not see it applied to the immortal ones.
    static void destroy(StringRep* rep);

    static StringRep emptyRep;

    // Releases the block a WITHIN representation lies in.
    static void releaseWithin(StringRep* rep);

    static StringRep* of(const String& s) { return s._rep; }
    static String adopt(StringRep* rep) { return String(rep); }
};

// ASCII-only case folding, as the name rules of CIM require.
inline Uint16 foldLowerASCII(Uint16 c)
{
    return (c >= 'A' && c <= 'Z') ? Uint16(c + ('a' - 'A')) : c;
}

inline Uint16 foldUpperASCII(Uint16 c)
{
    return (c >= 'a' && c <= 'z') ? Uint16(c - ('a' - 'A')) : c;
}

PEGASUS_NAMESPACE_END

#endif /* Pegasus_StringRep_h */
