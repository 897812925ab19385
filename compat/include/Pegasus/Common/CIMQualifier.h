#ifndef Pegasus_CIMQualifier_h
#define Pegasus_CIMQualifier_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/Array.h>

PEGASUS_NAMESPACE_BEGIN

class CIMValue;
class CIMConstQualifier;
class CIMQualifierRep;

// A qualifier value attached to a class, instance, property, method or
// parameter. Handle: copies share one representation; clone() copies deeply.
class PEGASUS_COMMON_LINKAGE CIMQualifier
{
public:
    CIMQualifier();
    CIMQualifier(const CIMQualifier& x);
    CIMQualifier(
        const CIMName& name,
        const CIMValue& value,
        const CIMFlavor & flavor = CIMFlavor (CIMFlavor::NONE),
        Boolean propagated = false);
    ~CIMQualifier();
    CIMQualifier& operator=(const CIMQualifier& x);

    const CIMName& getName() const;
    void setName(const CIMName& name);
    CIMType getType() const;
    Boolean isArray() const;
    const CIMValue& getValue() const;
    void setValue(const CIMValue& value);
    void setFlavor(const CIMFlavor & flavor);
    void unsetFlavor(const CIMFlavor & flavor);
    const CIMFlavor & getFlavor() const;
    Uint32 getPropagated() const;
    void setPropagated(Boolean propagated);
    Boolean isUninitialized() const;
    Boolean identical(const CIMConstQualifier& x) const;
    CIMQualifier clone() const;

private:
    CIMQualifierRep* _rep;

    friend class CIMConstQualifier;
    friend struct CIMRepAccess;
};

// Read-only view of a qualifier.
class PEGASUS_COMMON_LINKAGE CIMConstQualifier
{
public:
    CIMConstQualifier();
    CIMConstQualifier(const CIMConstQualifier& x);
    CIMConstQualifier(const CIMQualifier& x);
    CIMConstQualifier(
        const CIMName& name,
        const CIMValue& value,
        const CIMFlavor & flavor = CIMFlavor (CIMFlavor::NONE),
        Boolean propagated = false);
    ~CIMConstQualifier();
    CIMConstQualifier& operator=(const CIMConstQualifier& x);
    CIMConstQualifier& operator=(const CIMQualifier& x);

    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    const CIMValue& getValue() const;
    const CIMFlavor & getFlavor() const;
    Uint32 getPropagated() const;
    Boolean isUninitialized() const;
    Boolean identical(const CIMConstQualifier& x) const;
    CIMQualifier clone() const;

private:
    CIMQualifierRep* _rep;

    friend class CIMQualifier;
    friend struct CIMRepAccess;
};


PEGASUS_NAMESPACE_END

#include <Pegasus/Common/CIMValue.h>

#endif
