//
// NameTable.
//
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include "NameTable.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

// An interned representation with its hashes and its UTF-8 (ASCII) bytes,
// which lookups compare against the text they are given.
struct InternedName
{
    Uint32 textHash;
    Uint32 nameHash;
    // False for a namespace name of several segments, which is no CIM name.
    bool isName;
    const char* bytes;
    StringRep rep;
};

// Open addressing over a fixed array; slots are filled once with a
// compare-and-swap and never emptied, so readers need no lock.
const Uint32 SLOT_COUNT = 4096;
const Uint32 MAX_PROBES = 32;
// Longer texts are rare as names and not worth keeping forever.
const size_t MAX_LENGTH = 64;

std::atomic<InternedName*> slots[SLOT_COUNT];

// A quick hash of the exact text: its length and its first and last eight
// bytes, which tell names apart well enough to find a slot; the full text
// is compared afterwards.
Uint32 textHash(const char* text, size_t n)
{
    Uint64 a = n, b = 0;
    if (n >= 8)
    {
        Uint64 x, y;
        std::memcpy(&x, text, 8);
        std::memcpy(&y, text + n - 8, 8);
        a ^= x;
        b = y;
    }
    else
    {
        for (size_t i = 0; i < n; i++)
            b = (b << 8) | Uint8(text[i]);
    }
    Uint64 h = (a * 0x9E3779B97F4A7C15ull) ^ (b * 0xC2B2AE3D27D4EB4Full);
    return Uint32(h >> 32) ^ Uint32(h);
}

// True when text is a legal CIM name made of ASCII characters only.
bool legalASCIIName(const char* text, size_t n)
{
    for (size_t i = 0; i < n; i++)
    {
        Uint8 c = Uint8(text[i]);
        bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
        if (!letter && (i == 0 || c < '0' || c > '9'))
            return false;
    }
    return n > 0;
}

// True when text is a legal namespace name of ASCII characters: legal names
// joined by single slashes, with none leading or trailing.
bool legalASCIINamespace(const char* text, size_t n)
{
    size_t start = 0;
    for (size_t i = 0; i <= n; i++)
    {
        if (i == n || text[i] == '/')
        {
            if (!legalASCIIName(text + start, i - start))
                return false;
            start = i + 1;
        }
    }
    return true;
}

// The entry last found for a text at a given address, by a hash of the
// address: literals are looked up again and again from the same place, and
// comparing the text with one entry's is quicker than finding the entry.
const Uint32 RECENT_COUNT = 256;
std::atomic<InternedName*> recent[RECENT_COUNT];

std::atomic<InternedName*>& recentFor(const char* text)
{
    const Uint64 address = reinterpret_cast<std::uintptr_t>(text);
    return recent[Uint32((address * 0x9E3779B97F4A7C15ull) >> 56) & (RECENT_COUNT - 1)];
}

InternedName* makeEntry(const char* text, Uint32 n, Uint32 hash, bool isName)
{
    size_t repSize = offsetof(StringRep, data) + (size_t(n) + 1) * sizeof(Uint16);
    void* p = ::operator new(offsetof(InternedName, rep) + repSize + n + 1);
    InternedName* entry = static_cast<InternedName*>(p);
    char* bytes = static_cast<char*>(p) + offsetof(InternedName, rep) + repSize;
    std::memcpy(bytes, text, size_t(n) + 1);
    entry->textHash = hash;
    entry->isName = isName;
    entry->bytes = bytes;
    new (&entry->rep.refs) std::atomic<Uint32>(StringRep::INTERNED);
    entry->rep.size = n;
    entry->rep.cap = n;
    for (Uint32 i = 0; i < n; i++)
        entry->rep.data[i] = Uint8(text[i]);
    entry->rep.data[n] = 0;
    entry->nameHash = foldedNameHash(entry->rep.data, n);
    return entry;
}

} // namespace

StringRep* NameTable::intern(const char* text)
{
    return lookup(text, false);
}

StringRep* NameTable::internNamespace(const char* text)
{
    return lookup(text, true);
}

StringRep* NameTable::intern(StringRep* rep)
{
    if (interned(rep))
        return rep;
    const Uint32 n = rep->size;
    if (n == 0 || n > MAX_LENGTH)
        return 0;
    char text[MAX_LENGTH + 1];
    for (Uint32 i = 0; i < n; i++)
    {
        if (rep->data[i] >= 0x80)
            return 0;
        text[i] = char(rep->data[i]);
    }
    text[n] = 0;
    return lookup(text, false);
}

StringRep* NameTable::lookup(const char* text, bool asNamespace)
{
    std::atomic<InternedName*>& seen = recentFor(text);
    if (InternedName* known = seen.load(std::memory_order_acquire))
    {
        if (std::strncmp(known->bytes, text, size_t(known->rep.size) + 1) == 0)
            return asNamespace || known->isName ? &known->rep : 0;
    }

    const size_t n = std::strlen(text);
    if (n == 0 || n > MAX_LENGTH)
        return 0;
    const Uint32 hash = textHash(text, n);
    InternedName* made = 0;
    Uint32 slot = hash & (SLOT_COUNT - 1);
    for (Uint32 probe = 0; probe < MAX_PROBES;)
    {
        InternedName* entry = slots[slot].load(std::memory_order_acquire);
        if (!entry)
        {
            // Only legal names are kept, so a text found in the table
            // needs no further check.
            if (!made)
            {
                bool isName = legalASCIIName(text, n);
                if (!isName && !(asNamespace && legalASCIINamespace(text, n)))
                    return 0;
                made = makeEntry(text, Uint32(n), hash, isName);
            }
            if (slots[slot].compare_exchange_strong(entry, made,
                    std::memory_order_acq_rel, std::memory_order_acquire))
            {
                seen.store(made, std::memory_order_release);
                return &made->rep;
            }
            // Another thread filled the slot first: look at its entry.
        }
        if (entry->textHash == hash && entry->rep.size == n &&
            std::memcmp(entry->bytes, text, n) == 0)
        {
            if (made)
                ::operator delete(made);
            seen.store(entry, std::memory_order_release);
            // A namespace of several segments is no CIM name.
            return asNamespace || entry->isName ? &entry->rep : 0;
        }
        slot = (slot + 1) & (SLOT_COUNT - 1);
        probe++;
    }
    if (made)
        ::operator delete(made);
    return 0;
}

const char* NameTable::bytesOf(const StringRep* rep)
{
    const char* p = reinterpret_cast<const char*>(rep) - offsetof(InternedName, rep);
    return reinterpret_cast<const InternedName*>(p)->bytes;
}

Uint32 NameTable::hashOf(const StringRep* rep)
{
    const char* p = reinterpret_cast<const char*>(rep) - offsetof(InternedName, rep);
    return reinterpret_cast<const InternedName*>(p)->nameHash;
}

PEGASUS_NAMESPACE_END
