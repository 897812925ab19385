// Shared representations behind the handle classes of the object model
// (qualifiers, properties, parameters, methods, classes, instances).
// Internal to libpegcommon.
#ifndef Pegasus_ObjectModelReps_h
#define Pegasus_ObjectModelReps_h

#include <atomic>
#include <vector>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>

PEGASUS_NAMESPACE_BEGIN

// Most elements a qualifier, property, method or parameter list may hold.
const Uint32 MAX_CONTAINER_ELEMENTS = 1000;

// Base of every shared representation: an atomic reference count that
// starts at one for the handle that creates the representation.
struct RefCountedRep
{
    RefCountedRep() : refs(1) {}
    RefCountedRep(const RefCountedRep&) : refs(1) {}
    RefCountedRep& operator=(const RefCountedRep&) = delete;

    mutable std::atomic<Uint32> refs;
};

template<class R>
inline R* repRef(R* rep)
{
    if (rep)
        rep->refs.fetch_add(1, std::memory_order_relaxed);
    return rep;
}

// Frees a representation whose last reference is gone. Property
// representations may live in a shared block (CIMPropertyBlock) and have an
// overload of their own.
template<class R>
inline void repDelete(R* rep)
{
    delete rep;
}

class CIMPropertyRep;
void repDelete(CIMPropertyRep* rep);

template<class R>
inline void repUnref(R* rep)
{
    if (rep && rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
        repDelete(rep);
}

template<class R>
inline R* checkedRep(R* rep)
{
    if (!rep)
        throw UninitializedObjectException();
    return rep;
}

// Reaches the representation inside a handle, and makes handles from
// representations, for the implementation of the object model.
struct CIMRepAccess
{
    template<class H>
    static auto rep(const H& handle) -> decltype(handle._rep)
    {
        return handle._rep;
    }

    // A handle holding rep; takes over one reference the caller owns.
    template<class H, class R>
    static H adopt(R* rep)
    {
        H handle;
        handle._rep = rep;
        return handle;
    }

    // A handle sharing rep (adds a reference).
    template<class H, class R>
    static H share(R* rep)
    {
        return adopt<H>(repRef(rep));
    }

    // Empties a handle without touching its representation, which the
    // caller has already done away with.
    template<class H>
    static void forget(H& handle)
    {
        handle._rep = 0;
    }
};

// Assigns a representation to a handle's pointer, keeping counts right even
// when both are the same.
template<class R, class S>
inline void repAssign(R*& target, S* source)
{
    if (target != source)
    {
        repRef(source);
        repUnref(target);
        target = source;
    }
}

class CIMQualifierRep : public RefCountedRep
{
public:
    CIMQualifierRep(const CIMName& name_, const CIMValue& value_,
        const CIMFlavor& flavor_, Uint32 propagated_);

    CIMName name;
    CIMValue value;
    CIMFlavor flavor;
    Uint32 propagated;

    Boolean identical(const CIMQualifierRep* x) const;
};

class CIMQualifierDeclRep : public RefCountedRep
{
public:
    CIMQualifierDeclRep(const CIMName& name_, const CIMValue& value_,
        const CIMScope& scope_, const CIMFlavor& flavor_, Uint32 arraySize_);

    CIMName name;
    CIMValue value;
    CIMScope scope;
    CIMFlavor flavor;
    Uint32 arraySize;

    Boolean identical(const CIMQualifierDeclRep* x) const;
};

// The qualifiers of an element, in the order they were added; names unique
// ignoring case.
class CIMQualifierList
{
public:
    void add(const CIMQualifier& qualifier);
    Uint32 find(const CIMName& name) const;
    CIMQualifierRep* at(Uint32 index) const;
    void remove(Uint32 index);
    Uint32 size() const { return Uint32(_items.size()); }
    void clear() { _items.clear(); }
    Boolean identical(const CIMQualifierList& x) const;
    // Appends deep copies of the qualifiers of x.
    void cloneFrom(const CIMQualifierList& x)
    {
        if (!x._items.empty())
            appendClones(x);
    }
    // True when the named qualifier is present with the boolean value true.
    Boolean isTrue(const CIMName& name) const;
    // True when a handle outside this list holds one of its qualifiers (one
    // added, or given out to be changed): copies of the list may then not
    // share it.
    Boolean heldElsewhere() const
    {
        for (const CIMQualifier& q : _items)
        {
            if (CIMRepAccess::rep(q)->refs.load(std::memory_order_acquire) != 1)
                return true;
        }
        return false;
    }

private:
    void appendClones(const CIMQualifierList& x);

    std::vector<CIMQualifier> _items;
};

struct CIMPropertyBlockStorage;
class CIMPropertyIndex;

// What a property is apart from its value: its name, array size, reference
// class, class origin, propagated flag and qualifiers. Copies of a property
// (an instance built from a class, a clone) share their original's
// definition, so that copying a property copies no names and no qualifiers;
// the first copy to change any of it takes a definition of its own
// (CIMPropertyRep::ownDefinition). A shared definition is never changed.
class CIMPropertyDefinition : public RefCountedRep
{
public:
    CIMPropertyDefinition(const CIMName& name_, Uint32 arraySize_,
        const CIMName& referenceClassName_, const CIMName& classOrigin_,
        Boolean propagated_);
    // A copy of x with deep copies of its qualifiers (or none), and its
    // class origin (or none).
    CIMPropertyDefinition(const CIMPropertyDefinition& x,
        Boolean withQualifiers, Boolean withClassOrigin);
    ~CIMPropertyDefinition();

    // The definition of a copy of a property defined by x, with or without
    // qualifiers and class origin; the caller owns one reference. x itself
    // when nothing is left out, a copy kept with x for the next ones when
    // something is, and a copy of its own when it keeps qualifiers of x and
    // a handle to one of them has been given out (changing the qualifier
    // through it must not change the copies) and is still held.
    static CIMPropertyDefinition* share(CIMPropertyDefinition* x,
        Boolean withQualifiers, Boolean withClassOrigin)
    {
        if (withQualifiers && withClassOrigin && !x->qualifiers.heldElsewhere())
        {
            return repRef(x);
        }
        return shareLeavingOut(x, withQualifiers, withClassOrigin);
    }

    // Called before a change in place: forgets the copies kept by share(),
    // made from what is about to change.
    void forgetVariants();

    void setName(const CIMName& name_);

    CIMName name;
    // nameHash(name), so that lookups compare most names by one integer.
    Uint32 hash;
    Uint32 arraySize;
    CIMName referenceClassName;
    CIMName classOrigin;
    Boolean propagated;
    CIMQualifierList qualifiers;

    Boolean identical(const CIMPropertyDefinition* x) const;

private:
    static CIMPropertyDefinition* shareLeavingOut(CIMPropertyDefinition* x,
        Boolean withQualifiers, Boolean withClassOrigin);

    // The copies share() made: without qualifiers, without class origin,
    // without either (0 until asked for).
    mutable std::atomic<CIMPropertyDefinition*> _variants[3];
};

class CIMPropertyRep : public RefCountedRep
{
    static const Uint32 SLOT_SHIFT = 24;
    static const Uint32 OWNERS = (1u << SLOT_SHIFT) - 1;

    // The number of owners below SLOT_SHIFT, the slot above; beside the
    // count of references, so that the representation takes 32 bytes.
    // Atomic because containers sharing a property may die on different
    // threads.
    std::atomic<Uint32> _place;

public:
    CIMPropertyRep(const CIMName& name_, const CIMValue& value_,
        Uint32 arraySize_, const CIMName& referenceClassName_,
        const CIMName& classOrigin_, Boolean propagated_);
    // A copy of x sharing its definition (or a variant of it without
    // qualifiers or class origin).
    CIMPropertyRep(const CIMPropertyRep& x, Boolean withQualifiers,
        Boolean withClassOrigin)
        : RefCountedRep(), _place(0),
          def(CIMPropertyDefinition::share(x.def, withQualifiers, withClassOrigin)),
          value(x.value)
    {
    }
    ~CIMPropertyRep() { repUnref(def); }

    const CIMName& name() const { return def->name; }
    Uint32 hash() const { return def->hash; }

    // The definition, made this property's own first if it is shared.
    CIMPropertyDefinition* ownDefinition();
    // Leaves out qualifiers and class origin (instance filtering).
    void strip(Boolean withQualifiers, Boolean withClassOrigin);

    // The owners: classes or instances this property belongs to.
    Boolean owned() const
    {
        return (_place.load(std::memory_order_relaxed) & OWNERS) != 0;
    }
    void addOwner();
    void dropOwner() { _place.fetch_sub(1, std::memory_order_relaxed); }
    // The first owner of a representation no other thread has seen yet.
    void setFirstOwner()
    {
        _place.store(_place.load(std::memory_order_relaxed) + 1,
            std::memory_order_relaxed);
    }

    // The position of this representation in its block (CIMPropertyBlock)
    // counted from one; 0 when made on its own.
    Uint32 slot() const { return _place.load(std::memory_order_relaxed) >> SLOT_SHIFT; }
    void setSlot(Uint32 slot) { _place.store(slot << SLOT_SHIFT, std::memory_order_relaxed); }

    CIMPropertyDefinition* def;
    CIMValue value;

    Boolean identical(const CIMPropertyRep* x) const;
};

class CIMParameterRep : public RefCountedRep
{
public:
    CIMParameterRep(const CIMName& name_, CIMType type_, Boolean isArray_,
        Uint32 arraySize_, const CIMName& referenceClassName_);
    CIMParameterRep(const CIMParameterRep& x);

    CIMName name;
    CIMType type;
    Boolean isArray;
    Uint32 arraySize;
    CIMName referenceClassName;
    CIMQualifierList qualifiers;
    std::atomic<Uint32> ownerCount;

    Boolean identical(const CIMParameterRep* x) const;
};

class CIMMethodRep : public RefCountedRep
{
public:
    CIMMethodRep(const CIMName& name_, CIMType type_,
        const CIMName& classOrigin_, Boolean propagated_);
    CIMMethodRep(const CIMMethodRep& x);
    ~CIMMethodRep();

    CIMName name;
    CIMType type;
    CIMName classOrigin;
    Boolean propagated;
    CIMQualifierList qualifiers;
    std::vector<CIMParameter> parameters;
    std::atomic<Uint32> ownerCount;

    void addParameter(const CIMParameter& x);
    Uint32 findParameter(const CIMName& name) const;
    CIMParameterRep* parameterAt(Uint32 index) const;
    void removeParameter(Uint32 index);
    Boolean identical(const CIMMethodRep* x) const;
};

PEGASUS_NAMESPACE_END

#include "CIMPropertyStore.h"

PEGASUS_NAMESPACE_BEGIN

// What classes and instances have in common: a path (which carries the class
// name), qualifiers and properties.
class CIMObjectRep : public RefCountedRep
{
public:
    explicit CIMObjectRep(const CIMName& className);
    // An object whose path starts as a copy of reference (a class name).
    explicit CIMObjectRep(const CIMObjectPath& reference_);
    CIMObjectRep(const CIMObjectRep& x);
    virtual ~CIMObjectRep();

    virtual Boolean isClass() const = 0;
    virtual CIMObjectRep* cloneRep() const = 0;
    virtual Boolean identical(const CIMObjectRep* x) const;

    const CIMName& getClassName() const { return reference.getClassName(); }
    virtual void setPath(const CIMObjectPath& path);

    virtual void addProperty(const CIMProperty& x);
    Uint32 findProperty(const CIMName& name) const;
    CIMPropertyRep* propertyAt(Uint32 index) const;
    void removeProperty(Uint32 index);
    Uint32 propertyCount() const { return properties.size(); }

    // The name index of the properties, made now if there is none yet
    // (safe while other threads read the object); 0 for short lists.
    CIMPropertyIndex* propertyIndex() const;
    // Forgets the index after a change to which properties are held.
    void dropIndex();

    CIMObjectPath reference;
    CIMQualifierList qualifiers;
    CIMPropertyStore properties;
    // The name index of properties, or 0 (see CIMPropertyIndex); the object
    // holds one reference.
    mutable std::atomic<CIMPropertyIndex*> nameIndex;

protected:
    // Appends p (already checked) and marks it owned.
    void appendProperty(const CIMProperty& p);
};

class CIMClassRep : public CIMObjectRep
{
public:
    CIMClassRep(const CIMName& className, const CIMName& superClassName_);
    CIMClassRep(const CIMClassRep& x);
    ~CIMClassRep() override;

    Boolean isClass() const override { return true; }
    CIMObjectRep* cloneRep() const override;
    Boolean identical(const CIMObjectRep* x) const override;
    void addProperty(const CIMProperty& x) override;
    void setPath(const CIMObjectPath& path) override;

    void addMethod(const CIMMethod& x);
    Uint32 findMethod(const CIMName& name) const;
    CIMMethodRep* methodAt(Uint32 index) const;
    void removeMethod(Uint32 index);

    void getKeyNames(Array<CIMName>& keyNames) const;
    Boolean hasKeys() const;
    CIMInstance buildInstance(Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList) const;

    CIMName superClassName;
    std::vector<CIMMethod> methods;
    // The path an instance built from the class starts with: the class name
    // alone, shared by every such instance until one changes it.
    CIMObjectPath instanceReference;

private:
    void makeInstanceReference();
};

class CIMInstanceRep : public CIMObjectRep
{
public:
    explicit CIMInstanceRep(const CIMName& className);
    explicit CIMInstanceRep(const CIMObjectPath& reference_);
    CIMInstanceRep(const CIMInstanceRep& x);

    Boolean isClass() const override { return false; }
    CIMObjectRep* cloneRep() const override;

    CIMObjectPath buildPath(const CIMClassRep* cimClass) const;
    void instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);
};

class CIMParamValueRep : public RefCountedRep
{
public:
    CIMParamValueRep(const String& name_, const CIMValue& value_,
        Boolean isTyped_)
        : name(name_), value(value_), isTyped(isTyped_) {}

    String name;
    CIMValue value;
    Boolean isTyped;
};

// Checks shared by the handle classes.
void throwIndexOutOfBounds();

inline void checkIndex(Uint32 index, Uint32 size)
{
    if (index >= size)
        throwIndexOutOfBounds();
}

// Throws UninitializedObjectException for a null name.
void checkName(const CIMName& name);

// A hash of a name that ignores ASCII case (equal names, equal hashes).
Uint32 nameHash(const CIMName& name);

// Makes name share the interned representation of its text where there is
// one (NameTable): the names a class defines are looked up by names made
// from literals, which then compare as one pointer, and written as bytes.
void internName(CIMName& name);

// The text of an AlreadyExistsException: kind "name".
String quotedName(const char* kind, const CIMName& name);

PEGASUS_NAMESPACE_END

#endif
