#ifndef Pegasus_CIMInstance_h
#define Pegasus_CIMInstance_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>

PEGASUS_NAMESPACE_BEGIN

class CIMConstClass;
class CIMConstInstance;
class CIMInstanceRep;

// An instance of a class. Handle: copies share one representation; clone()
// copies deeply. Properties keep the order in which they were added.
class PEGASUS_COMMON_LINKAGE CIMInstance
{
public:
    CIMInstance();
    CIMInstance(const CIMInstance& x);
    explicit CIMInstance(const CIMObject& x);
    CIMInstance(const CIMName& className);
    CIMInstance& operator=(const CIMInstance& x);
    ~CIMInstance();

    const CIMName& getClassName() const;
    const CIMObjectPath& getPath() const;
    void setPath (const CIMObjectPath & path);

    CIMInstance& addQualifier(const CIMQualifier& qualifier);
    Uint32 findQualifier(const CIMName& name) const;
    CIMQualifier getQualifier(Uint32 index);
    CIMConstQualifier getQualifier(Uint32 index) const;
    void removeQualifier(Uint32 index);
    Uint32 getQualifierCount() const;

    CIMInstance& addProperty(const CIMProperty& x);
    Uint32 findProperty(const CIMName& name) const;
    CIMProperty getProperty(Uint32 index);
    CIMConstProperty getProperty(Uint32 index) const;
    void removeProperty(Uint32 index);
    Uint32 getPropertyCount() const;

    // The path of this instance: the class name and the key bindings built
    // from the Key properties of cimClass with this instance's values.
    CIMObjectPath buildPath(const CIMConstClass& cimClass) const;

    CIMInstance clone() const;
    Boolean identical(const CIMConstInstance& x) const;
    Boolean isUninitialized() const;

#ifdef PEGASUS_USE_DEPRECATED_INTERFACES
    // Kept for source compatibility; does nothing.
    void filter(
        Boolean includeQualifiers,
        Boolean includeClassOrigin,
        const CIMPropertyList & propertyList);
#endif

    void instanceFilter(
        Boolean includeQualifiers,
        Boolean includeClassOrigin,
        const CIMPropertyList & propertyList);

private:
    CIMInstanceRep* _rep;

    friend class CIMConstInstance;
    friend class CIMObject;
    friend class CIMConstObject;
    friend struct CIMRepAccess;
};

// Read-only view of an instance.
class PEGASUS_COMMON_LINKAGE CIMConstInstance
{
public:
    CIMConstInstance();
    CIMConstInstance(const CIMConstInstance& x);
    CIMConstInstance(const CIMInstance& x);
    explicit CIMConstInstance(const CIMObject& x);
    explicit CIMConstInstance(const CIMConstObject& x);
    CIMConstInstance(const CIMName& className);
    CIMConstInstance& operator=(const CIMConstInstance& x);
    CIMConstInstance& operator=(const CIMInstance& x);
    ~CIMConstInstance();

    const CIMName& getClassName() const;
    const CIMObjectPath& getPath() const;

    Uint32 findQualifier(const CIMName& name) const;
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;

    Uint32 findProperty(const CIMName& name) const;
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;

    CIMObjectPath buildPath(const CIMConstClass& cimClass) const;

    CIMInstance clone() const;
    Boolean identical(const CIMConstInstance& x) const;
    Boolean isUninitialized() const;

private:
    CIMInstanceRep* _rep;

    friend class CIMInstance;
    friend class CIMObject;
    friend class CIMConstObject;
    friend struct CIMRepAccess;
};


PEGASUS_NAMESPACE_END

#endif
