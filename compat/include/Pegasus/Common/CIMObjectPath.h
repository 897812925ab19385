//
// CIMKeyBinding (one key of an instance path, kept as text) and
// CIMObjectPath (host, namespace, class name and sorted keys).
//
#ifndef Pegasus_ObjectPath_h
#define Pegasus_ObjectPath_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>

PEGASUS_NAMESPACE_BEGIN

class CIMValue;
class CIMObjectPath;
struct CIMObjectPathRep;

class PEGASUS_COMMON_LINKAGE CIMKeyBinding
{
public:
    enum Type { BOOLEAN, STRING, NUMERIC, REFERENCE };

    CIMKeyBinding();
    CIMKeyBinding(const CIMKeyBinding& x);
    CIMKeyBinding(const CIMName& name, const String& value, Type type);
    CIMKeyBinding(const CIMName& name, const CIMValue& value);
    ~CIMKeyBinding();

    CIMKeyBinding& operator=(const CIMKeyBinding& x);

    const CIMName& getName() const;
    void setName(const CIMName& name);
    const String& getValue() const;
    void setValue(const String& value);
    Type getType() const;
    void setType(Type type);

    Boolean equal(CIMValue value);

private:
    CIMName _name;
    String _value;
    Type _type;

    friend class CIMObjectPath;
    friend struct CIMObjectPathRep;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y);

class PEGASUS_COMMON_LINKAGE CIMObjectPath
{
public:
    CIMObjectPath();
    CIMObjectPath(const CIMObjectPath& x);
    CIMObjectPath(const String& objectName);
    CIMObjectPath(
        const String& host,
        const CIMNamespaceName& nameSpace,
        const CIMName& className,
        const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    ~CIMObjectPath();

    CIMObjectPath& operator=(const CIMObjectPath& x);

    void clear();

    void set(
        const String& host,
        const CIMNamespaceName& nameSpace,
        const CIMName& className,
        const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    void set(const String& objectName);
    CIMObjectPath& operator=(const String& objectName);

    const String& getHost() const;
    void setHost(const String& host);
    const CIMNamespaceName& getNameSpace() const;
    void setNameSpace(const CIMNamespaceName& nameSpace);
    const CIMName& getClassName() const;
    void setClassName(const CIMName& className);
    const Array<CIMKeyBinding>& getKeyBindings() const;
    void setKeyBindings(const Array<CIMKeyBinding>& keyBindings);

    String toString() const;
    Boolean identical(const CIMObjectPath& x) const;
    Uint32 makeHashCode() const;

    // Not part of the provider API: moving leaves an empty path.
    CIMObjectPath(CIMObjectPath&& x) noexcept;
    CIMObjectPath& operator=(CIMObjectPath&& x) noexcept;

private:
    void _unshare();
    CIMObjectPathRep* _rep;
    friend struct CIMObjectPathRep;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMObjectPath& x, const CIMObjectPath& y);
PEGASUS_COMMON_LINKAGE Boolean operator!=(const CIMObjectPath& x, const CIMObjectPath& y);

PEGASUS_NAMESPACE_END

#endif /* Pegasus_ObjectPath_h */
