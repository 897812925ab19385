//
// CIMName and CIMNamespaceName: legal CIM names, compared without regard to
// (ASCII) case.
//
#ifndef Pegasus_Name_h
#define Pegasus_Name_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CIMName
{
public:
    CIMName();
    CIMName(const String& name);
    CIMName(const char* name);

    CIMName& operator=(const CIMName& name);
    CIMName& operator=(const String& name);

    const String& getString() const;
    Boolean isNull() const;
    void clear();
    Boolean equal(const CIMName& name) const;
    static Boolean legal(const String& name);

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    // OpenPegasus declares this for experimental-interface builds but
    // defines it only inline in internal builds, so elsewhere a call leaves
    // an unresolved symbol that shows when the module is loaded. Here such a
    // call fails to compile instead.
# ifdef PEGASUS_INTERNALONLY
    Boolean equal(const char* name) const;
# else
    Boolean equal(const char* name) const = delete;
# endif
    CIMName& operator=(const char* name);
#endif

    CIMName(const CIMName& name) = default;

private:
    String cimName;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMName& name1, const CIMName& name2);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMName& name1, const CIMName& name2);

class PEGASUS_COMMON_LINKAGE CIMNamespaceName
{
public:
    CIMNamespaceName();
    CIMNamespaceName(const String& name);
    CIMNamespaceName(const char* name);

    CIMNamespaceName& operator=(const CIMNamespaceName& name);
    CIMNamespaceName& operator=(const String& name);

    const String& getString() const;
    Boolean isNull() const;
    void clear();
    Boolean equal(const CIMNamespaceName& name) const;
    static Boolean legal(const String& name);

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    Boolean equal(const char* name) const;
    CIMNamespaceName& operator=(const char* name);
#endif

    CIMNamespaceName(const CIMNamespaceName& name) = default;

private:
    String cimNamespaceName;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(
    const CIMNamespaceName& name1, const CIMNamespaceName& name2);
PEGASUS_COMMON_LINKAGE Boolean operator!=(
    const CIMNamespaceName& name1, const CIMNamespaceName& name2);

PEGASUS_NAMESPACE_END

#endif /* Pegasus_Name_h */
