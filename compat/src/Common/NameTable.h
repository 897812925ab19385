//
// NameTable: the process-wide table of interned names (internal to
// libpegcommon).
//
#ifndef Pegasus_NameTable_h
#define Pegasus_NameTable_h

#include <Pegasus/Common/Config.h>
#include "StringRep.h"

PEGASUS_NAMESPACE_BEGIN

// Names that code spells as literals ("InstanceID") are made again and again
// on every request. The table decodes each such text once and hands the same
// immortal representation to every CIMName made from it, together with its
// case-folded hash, so that making the name allocates nothing and copying it
// touches no reference count. Entries are never removed; the table is
// bounded, and a text that does not fit is simply not interned.
class NameTable
{
public:
    // The interned representation of text when it is a legal CIM name of
    // ASCII characters that the table holds or can take; 0 otherwise (the
    // caller then makes the name the ordinary way).
    static StringRep* intern(const char* text);
    // The same for a namespace name ("root/cimv2"): legal names of ASCII
    // characters joined by single slashes, none leading.
    static StringRep* internNamespace(const char* text);
    // The interned representation of the text of rep when it is a legal CIM
    // name of ASCII characters the table holds or can take (rep itself when
    // it is one); 0 otherwise.
    static StringRep* intern(StringRep* rep);

    // The case-folded hash of an interned representation.
    static Uint32 hashOf(const StringRep* rep);
    // The text of an interned representation as bytes (ASCII letters,
    // digits, underscores and slashes only, so that it needs no escaping),
    // rep->size of them.
    static const char* bytesOf(const StringRep* rep);

    static bool interned(const StringRep* rep)
    {
        return rep->refs.load(std::memory_order_relaxed) == StringRep::INTERNED;
    }

private:
    static StringRep* lookup(const char* text, bool asNamespace);
};

// The hash of a name's text that ignores ASCII case (equal names, equal
// hashes); FNV-1a over the folded UTF-16 units.
inline Uint32 foldedNameHash(const Uint16* p, Uint32 n)
{
    Uint32 h = 2166136261u;
    for (Uint32 i = 0; i < n; i++)
        h = (h ^ foldLowerASCII(p[i])) * 16777619u;
    return h;
}

PEGASUS_NAMESPACE_END

#endif /* Pegasus_NameTable_h */
