#include <cimhost/Repository.h>

#include "Text.h"

#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Exception.h>

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

using namespace Pegasus;

namespace cimhost {

namespace {

struct StoredInstance
{
    CIMObjectPath path;     // namespace set, no host
    CIMInstance instance;
};

struct ClassEntry
{
    CIMClass local;
    CIMClass resolved;
    std::string superKey;                 // empty for a root class
    std::vector<std::string> children;    // keys, definition order
    std::vector<StoredInstance> instances;
};

struct NamespaceData
{
    CIMNamespaceName name;
    std::vector<CIMQualifierDecl> qualifiers;
    std::unordered_map<std::string, std::size_t> qualifierIndex;
    std::vector<std::string> classOrder;
    std::unordered_map<std::string, ClassEntry> classes;
};

std::string nameKey(const CIMName& n)
{
    return lowerKey(n.getString());
}

[[noreturn]] void raise(CIMStatusCode code, const std::string& message)
{
    throw CIMException(code, toPeg(message));
}

std::string str(const CIMName& n)
{
    return toStd(n.getString());
}

bool qualifierIsTrue(const CIMConstQualifier& q)
{
    const CIMValue& v = q.getValue();
    if (v.isNull() || v.getType() != CIMTYPE_BOOLEAN || v.isArray())
        return false;
    Boolean b = false;
    v.get(b);
    return b;
}

template <class T>
bool hasTrueQualifier(const T& element, const char* name)
{
    Uint32 i = element.findQualifier(CIMName(name));
    return i != PEG_NOT_FOUND && qualifierIsTrue(element.getQualifier(i));
}

template <class T>
void removeAllQualifiers(T& element)
{
    for (Uint32 i = element.getQualifierCount(); i-- > 0;)
        element.removeQualifier(i);
}

// For an element inherited unchanged: drop the qualifiers that do not flow
// down and mark the rest as propagated.
template <class T>
void propagateQualifiers(T& element)
{
    for (Uint32 i = element.getQualifierCount(); i-- > 0;)
    {
        CIMQualifier q = element.getQualifier(i);
        if (!q.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS))
            element.removeQualifier(i);
        else
            q.setPropagated(true);
    }
}

// For an element declared again in a subclass: keep its own qualifiers and
// add the inherited ones it does not repeat. A DisableOverride qualifier may
// be repeated only with the same value.
template <class T, class P>
void inheritQualifiers(T& element, P& parent, const std::string& what)
{
    for (Uint32 i = 0; i < parent.getQualifierCount(); ++i)
    {
        CIMQualifier pq = parent.getQualifier(i);
        if (!pq.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS))
            continue;
        Uint32 j = element.findQualifier(pq.getName());
        if (j != PEG_NOT_FOUND)
        {
            if (pq.getFlavor().hasFlavor(CIMFlavor::DISABLEOVERRIDE)
                && !element.getQualifier(j).getValue().equal(pq.getValue()))
                raise(CIM_ERR_INVALID_PARAMETER, "qualifier " + str(pq.getName()) + " of " + what
                    + " cannot be overridden (its flavor is DisableOverride)");
            continue;
        }
        CIMQualifier q = pq.clone();
        q.setPropagated(true);
        element.addQualifier(q);
    }
}

// The CIM type a string element really has when it carries an embedded
// object: INSTANCE for EmbeddedInstance("Class"), OBJECT for EmbeddedObject.
template <class T>
CIMType embeddedType(const T& element, CIMType declared)
{
    if (declared != CIMTYPE_STRING)
        return declared;
    Uint32 i = element.findQualifier(CIMName("EmbeddedInstance"));
    if (i != PEG_NOT_FOUND && !element.getQualifier(i).getValue().isNull())
        return CIMTYPE_INSTANCE;
    if (hasTrueQualifier(element, "EmbeddedObject"))
        return CIMTYPE_OBJECT;
    return declared;
}

template <class T>
void copyQualifiers(T& to, const T& from)
{
    for (Uint32 i = 0; i < from.getQualifierCount(); ++i)
        to.addQualifier(from.getQualifier(i).clone());
}

CIMProperty retypeProperty(const CIMProperty& p, CIMType type)
{
    CIMProperty r(p.getName(), CIMValue(type, p.isArray(), p.getArraySize()), p.getArraySize(),
        CIMName(), p.getClassOrigin(), p.getPropagated());
    for (Uint32 i = 0; i < p.getQualifierCount(); ++i)
        r.addQualifier(p.getQualifier(i).clone());
    return r;
}

CIMParameter retypeParameter(const CIMParameter& p, CIMType type)
{
    CIMParameter r(p.getName(), type, p.isArray(), p.getArraySize());
    for (Uint32 i = 0; i < p.getQualifierCount(); ++i)
        r.addQualifier(p.getQualifier(i).clone());
    return r;
}

CIMMethod retypeMethod(const CIMMethod& m, CIMType type)
{
    CIMMethod r(m.getName(), type, m.getClassOrigin(), m.getPropagated());
    for (Uint32 i = 0; i < m.getQualifierCount(); ++i)
        r.addQualifier(m.getQualifier(i).clone());
    for (Uint32 i = 0; i < m.getParameterCount(); ++i)
        r.addParameter(m.getParameter(i).clone());
    return r;
}

CIMParameter fixParameterType(const CIMParameter& p)
{
    CIMType t = embeddedType(p, p.getType());
    return t == p.getType() ? p : retypeParameter(p, t);
}

CIMMethod fixMethodTypes(const CIMMethod& in)
{
    CIMMethod m = in;
    CIMType t = embeddedType(m, m.getType());
    if (t != m.getType())
        m = retypeMethod(m, t);
    for (Uint32 i = 0; i < m.getParameterCount(); ++i)
    {
        CIMParameter p = m.getParameter(i);
        CIMParameter f = fixParameterType(p);
        if (f.getType() != p.getType())
        {
            // Rebuild the parameter list in order with the retyped one.
            CIMMethod r(m.getName(), m.getType(), m.getClassOrigin(), m.getPropagated());
            copyQualifiers(r, m);
            for (Uint32 j = 0; j < m.getParameterCount(); ++j)
                r.addParameter(j == i ? f : m.getParameter(j));
            m = r;
        }
    }
    return m;
}

std::string keyText(const CIMObjectPath& p)
{
    return toStd(p.toString());
}

// A missing instance is named as the client names it: the path without
// host and namespace.
std::string missingText(const CIMObjectPath& p)
{
    CIMObjectPath local(p);
    local.setHost(String());
    local.setNameSpace(CIMNamespaceName());
    return toStd(local.toString());
}

// Reference key values compare as paths, without host, and a missing
// namespace stands for the namespace of the request.
bool referencesMatch(const String& a, const String& b, const CIMNamespaceName& ns)
{
    try
    {
        CIMObjectPath pa(a), pb(b);
        pa.setHost(String());
        pb.setHost(String());
        if (pa.getNameSpace().isNull())
            pa.setNameSpace(ns);
        if (pb.getNameSpace().isNull())
            pb.setNameSpace(ns);
        return pa.identical(pb);
    }
    catch (const Exception&)
    {
        return a == b;
    }
}

bool keysMatch(const Array<CIMKeyBinding>& stored, const Array<CIMKeyBinding>& wanted,
    const CIMNamespaceName& ns)
{
    if (stored.size() != wanted.size())
        return false;
    for (Uint32 i = 0; i < stored.size(); ++i)
    {
        const CIMKeyBinding& s = stored[i];
        bool found = false;
        for (Uint32 j = 0; j < wanted.size() && !found; ++j)
        {
            const CIMKeyBinding& w = wanted[j];
            if (!s.getName().equal(w.getName()))
                continue;
            found = true;
            bool sRef = s.getType() == CIMKeyBinding::REFERENCE;
            bool wRef = w.getType() == CIMKeyBinding::REFERENCE;
            if (sRef || wRef)
            {
                if ((sRef || s.getType() == CIMKeyBinding::STRING)
                    && (wRef || w.getType() == CIMKeyBinding::STRING))
                {
                    if (!referencesMatch(s.getValue(), w.getValue(), ns))
                        return false;
                }
                else
                    return false;
            }
            else if (!(s == w))
                return false;
        }
        if (!found)
            return false;
    }
    return true;
}

void filterInstance(CIMInstance& inst, bool includeClassOrigin, const CIMPropertyList& pl,
    const CIMClass* limitTo)
{
    for (Uint32 i = inst.getPropertyCount(); i-- > 0;)
    {
        CIMProperty p = inst.getProperty(i);
        if ((!pl.isNull() && !pl.contains(p.getName()))
            || (limitTo && limitTo->findProperty(p.getName()) == PEG_NOT_FOUND))
        {
            inst.removeProperty(i);
            continue;
        }
        if (!includeClassOrigin)
            p.setClassOrigin(CIMName());
    }
    for (Uint32 i = inst.getQualifierCount(); i-- > 0;)
        inst.removeQualifier(i);
}

CIMClass filterClass(const CIMClass& resolved, bool localOnly, bool includeQualifiers,
    bool includeClassOrigin, const CIMPropertyList& pl)
{
    CIMClass c = resolved.clone();
    for (Uint32 i = c.getPropertyCount(); i-- > 0;)
    {
        CIMProperty p = c.getProperty(i);
        if ((localOnly && p.getPropagated()) || (!pl.isNull() && !pl.contains(p.getName())))
        {
            c.removeProperty(i);
            continue;
        }
        if (!includeQualifiers)
            removeAllQualifiers(p);
        if (!includeClassOrigin)
            p.setClassOrigin(CIMName());
    }
    for (Uint32 i = c.getMethodCount(); i-- > 0;)
    {
        CIMMethod m = c.getMethod(i);
        if (localOnly && m.getPropagated())
        {
            c.removeMethod(i);
            continue;
        }
        if (!includeQualifiers)
        {
            removeAllQualifiers(m);
            for (Uint32 j = 0; j < m.getParameterCount(); ++j)
            {
                CIMParameter p = m.getParameter(j);
                removeAllQualifiers(p);
            }
        }
        if (!includeClassOrigin)
            m.setClassOrigin(CIMName());
    }
    for (Uint32 i = c.getQualifierCount(); i-- > 0;)
        if (!includeQualifiers || (localOnly && c.getQualifier(i).getPropagated()))
            c.removeQualifier(i);
    return c;
}

} // namespace

struct Repository::Data
{
    std::vector<std::string> namespaceOrder;
    std::unordered_map<std::string, NamespaceData> namespaces;
    // alias key -> key of the namespace it names
    std::unordered_map<std::string, std::string> aliases;

    NamespaceData* findNamespace(const CIMNamespaceName& ns)
    {
        std::string key = lowerKey(ns.getString());
        auto alias = aliases.find(key);
        if (alias != aliases.end())
            key = alias->second;
        auto it = namespaces.find(key);
        return it == namespaces.end() ? nullptr : &it->second;
    }

    NamespaceData& getNamespace(const CIMNamespaceName& ns)
    {
        NamespaceData* d = findNamespace(ns);
        if (!d)
            raise(CIM_ERR_INVALID_NAMESPACE, toStd(ns.getString()));
        return *d;
    }

    static ClassEntry* findClass(NamespaceData& ns, const CIMName& name)
    {
        if (name.isNull())
            return nullptr;
        auto it = ns.classes.find(nameKey(name));
        return it == ns.classes.end() ? nullptr : &it->second;
    }

    static ClassEntry& getClass(NamespaceData& ns, const CIMName& name, CIMStatusCode code)
    {
        ClassEntry* e = findClass(ns, name);
        if (!e)
            raise(code, str(name));
        return *e;
    }

    static bool derivesFrom(NamespaceData& ns, const std::string& key, const std::string& baseKey)
    {
        std::string k = key;
        while (!k.empty())
        {
            if (k == baseKey)
                return true;
            auto it = ns.classes.find(k);
            if (it == ns.classes.end())
                return false;
            k = it->second.superKey;
        }
        return false;
    }

    // Stored instances of the class and its subclasses, in definition order.
    static std::vector<ClassEntry*> subtree(NamespaceData& ns, const std::string& key)
    {
        std::vector<ClassEntry*> out;
        for (const std::string& k : ns.classOrder)
            if (derivesFrom(ns, k, key))
                out.push_back(&ns.classes[k]);
        return out;
    }

    static StoredInstance* findInstance(NamespaceData& ns, const CIMObjectPath& path,
        ClassEntry** owner, std::size_t* index)
    {
        getClass(ns, path.getClassName(), CIM_ERR_INVALID_CLASS);   // the class must exist
        for (ClassEntry* e : subtree(ns, nameKey(path.getClassName())))
            for (std::size_t i = 0; i < e->instances.size(); ++i)
                if (keysMatch(e->instances[i].path.getKeyBindings(), path.getKeyBindings(), ns.name))
                {
                    if (owner)
                        *owner = e;
                    if (index)
                        *index = i;
                    return &e->instances[i];
                }
        return nullptr;
    }

    CIMClass resolve(NamespaceData& ns, const CIMClass& local);
};

CIMClass Repository::Data::resolve(NamespaceData& ns, const CIMClass& localIn)
{
    CIMClass local = localIn.clone();
    const CIMName className = local.getClassName();
    const std::string cname = str(className);
    CIMClass parent;
    if (!local.getSuperClassName().isNull())
    {
        ClassEntry* p = findClass(ns, local.getSuperClassName());
        if (!p)
            raise(CIM_ERR_INVALID_SUPERCLASS, "superclass " + str(local.getSuperClassName())
                + " is not defined in namespace " + toStd(ns.name.getString()));
        parent = p->resolved;
    }

    // The superclass is named as it was defined, whatever case the subclass used.
    CIMClass out(className, parent.isUninitialized() ? CIMName() : parent.getClassName());

    // Class qualifiers.
    for (Uint32 i = 0; i < local.getQualifierCount(); ++i)
        out.addQualifier(local.getQualifier(i).clone());
    if (!parent.isUninitialized())
        inheritQualifiers(out, parent, "class " + cname);
    const bool isAssociation = hasTrueQualifier(out, "Association");

    // Properties: the inherited ones that the class does not declare again
    // come first, in the superclass's order; then the class's own, in
    // declaration order, overrides included.
    auto finishProperty = [&](CIMProperty p) {
        CIMType t = embeddedType(p, p.getType());
        if (t != p.getType())
        {
            if (!p.getValue().isNull())
                raise(CIM_ERR_INVALID_PARAMETER, "property " + str(p.getName())
                    + " holds an embedded object and cannot have a default value");
            p = retypeProperty(p, t);
        }
        if (hasTrueQualifier(p, "Key") && p.isArray())
            raise(CIM_ERR_INVALID_PARAMETER, "key property " + str(p.getName()) + " cannot be an array");
        out.addProperty(p);
    };
    if (!parent.isUninitialized())
        for (Uint32 i = 0; i < parent.getPropertyCount(); ++i)
        {
            CIMProperty pp = parent.getProperty(i);
            if (local.findProperty(pp.getName()) != PEG_NOT_FOUND)
                continue;
            CIMProperty p = pp.clone();
            p.setPropagated(true);
            propagateQualifiers(p);
            out.addProperty(p);
        }
    for (Uint32 i = 0; i < local.getPropertyCount(); ++i)
    {
        CIMProperty lp = local.getProperty(i).clone();
        const std::string what = "property " + str(lp.getName());
        Uint32 pi = parent.isUninitialized() ? PEG_NOT_FOUND : parent.findProperty(lp.getName());
        if (pi == PEG_NOT_FOUND)
        {
            if (lp.getType() == CIMTYPE_REFERENCE && !isAssociation)
                raise(CIM_ERR_INVALID_PARAMETER, "reference " + str(lp.getName())
                    + " is not allowed in a class that is not an association");
        }
        else
        {
            CIMProperty pp = parent.getProperty(pi);
            // A string override of an embedded-object property takes its type.
            if (lp.getType() == CIMTYPE_STRING && lp.isArray() == pp.isArray()
                && (pp.getType() == CIMTYPE_INSTANCE || pp.getType() == CIMTYPE_OBJECT))
            {
                if (!lp.getValue().isNull())
                    raise(CIM_ERR_INVALID_PARAMETER, what
                        + " holds an embedded object and cannot have a default value");
                lp = retypeProperty(lp, pp.getType());
            }
            if (lp.getType() != pp.getType() || lp.isArray() != pp.isArray())
                raise(CIM_ERR_INVALID_PARAMETER, what + " overrides the one of class "
                    + str(pp.getClassOrigin()) + " with another type");
            if (lp.getType() == CIMTYPE_REFERENCE
                && !derivesFrom(ns, nameKey(lp.getReferenceClassName()), nameKey(pp.getReferenceClassName()))
                && !lp.getReferenceClassName().equal(className))
                raise(CIM_ERR_INVALID_PARAMETER, "reference " + str(lp.getName()) + " must refer to "
                    + str(pp.getReferenceClassName()) + " or a subclass of it");
            if (lp.getValue().isNull() && !pp.getValue().isNull())
                lp.setValue(pp.getValue());
            inheritQualifiers(lp, pp, what);
        }
        lp.setClassOrigin(className);
        lp.setPropagated(false);
        finishProperty(lp);
    }

    // Methods, the same way.
    if (!parent.isUninitialized())
        for (Uint32 i = 0; i < parent.getMethodCount(); ++i)
        {
            CIMMethod pm = parent.getMethod(i);
            if (local.findMethod(pm.getName()) != PEG_NOT_FOUND)
                continue;
            CIMMethod m = pm.clone();
            m.setPropagated(true);
            propagateQualifiers(m);
            for (Uint32 j = 0; j < m.getParameterCount(); ++j)
            {
                CIMParameter p = m.getParameter(j);
                propagateQualifiers(p);
            }
            out.addMethod(m);
        }
    for (Uint32 i = 0; i < local.getMethodCount(); ++i)
    {
        CIMMethod lm = local.getMethod(i).clone();
        const std::string what = "method " + str(lm.getName());
        Uint32 pi = parent.isUninitialized() ? PEG_NOT_FOUND : parent.findMethod(lm.getName());
        if (pi != PEG_NOT_FOUND)
        {
            CIMMethod pm = parent.getMethod(pi);
            inheritQualifiers(lm, pm, what);
            for (Uint32 j = 0; j < lm.getParameterCount(); ++j)
            {
                CIMParameter lp = lm.getParameter(j);
                Uint32 pj = pm.findParameter(lp.getName());
                if (pj != PEG_NOT_FOUND)
                {
                    CIMParameter pp = pm.getParameter(pj);
                    inheritQualifiers(lp, pp, "parameter " + str(lp.getName()) + " of " + what);
                }
            }
            lm = fixMethodTypes(lm);
            if (lm.getType() != pm.getType())
                raise(CIM_ERR_INVALID_PARAMETER, what + " overrides the one of class "
                    + str(pm.getClassOrigin()) + " with another return type");
        }
        else
            lm = fixMethodTypes(lm);
        lm.setClassOrigin(className);
        lm.setPropagated(false);
        out.addMethod(lm);
    }
    return out;
}

Repository::Repository() : _data(new Data)
{
}

Repository::~Repository() = default;

// ---- namespaces

void Repository::createNamespace(const CIMNamespaceName& nameSpace)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    std::string key = lowerKey(nameSpace.getString());
    if (_data->namespaces.count(key) || _data->aliases.count(key))
        return;
    NamespaceData& d = _data->namespaces[key];
    d.name = nameSpace;
    _data->namespaceOrder.push_back(key);
}

bool Repository::namespaceExists(const CIMNamespaceName& nameSpace) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    return _data->findNamespace(nameSpace) != nullptr;
}

CIMNamespaceName Repository::canonicalNamespace(const CIMNamespaceName& nameSpace) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    return _data->getNamespace(nameSpace).name;
}

Array<CIMNamespaceName> Repository::enumerateNamespaces() const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    Array<CIMNamespaceName> out;
    for (const std::string& k : _data->namespaceOrder)
        out.append(_data->namespaces.at(k).name);
    return out;
}

void Repository::addNamespaceAlias(const CIMNamespaceName& alias, const CIMNamespaceName& target)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    const std::string targetKey = lowerKey(target.getString());
    if (!_data->namespaces.count(targetKey))
        raise(CIM_ERR_INVALID_NAMESPACE, toStd(target.getString()));
    const std::string key = lowerKey(alias.getString());
    if (_data->namespaces.count(key) || _data->aliases.count(key))
        raise(CIM_ERR_ALREADY_EXISTS, toStd(alias.getString()));
    _data->aliases[key] = targetKey;
}

// ---- qualifier declarations

void Repository::setQualifier(const CIMNamespaceName& nameSpace, const CIMQualifierDecl& decl)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    std::string key = nameKey(decl.getName());
    auto it = ns.qualifierIndex.find(key);
    if (it != ns.qualifierIndex.end())
        ns.qualifiers[it->second] = decl.clone();
    else
    {
        ns.qualifierIndex[key] = ns.qualifiers.size();
        ns.qualifiers.push_back(decl.clone());
    }
}

CIMQualifierDecl Repository::getQualifier(const CIMNamespaceName& nameSpace,
    const CIMName& qualifierName) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    auto it = ns.qualifierIndex.find(nameKey(qualifierName));
    if (it == ns.qualifierIndex.end())
        raise(CIM_ERR_NOT_FOUND, str(qualifierName));
    return ns.qualifiers[it->second].clone();
}

Array<CIMQualifierDecl> Repository::enumerateQualifiers(const CIMNamespaceName& nameSpace) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    Array<CIMQualifierDecl> out;
    for (const CIMQualifierDecl& d : ns.qualifiers)
        out.append(d.clone());
    return out;
}

// ---- classes

namespace {

// The class an element's EmbeddedInstance qualifier names must exist when
// the element's class is defined (the class itself may be named); an
// embedded instance of an unknown class could not be checked or decoded.
template <class T>
void checkEmbeddedClass(const NamespaceData& ns, const CIMClass& newClass, const T& element,
    const std::string& what)
{
    Uint32 i = element.findQualifier(CIMName("EmbeddedInstance"));
    if (i == PEG_NOT_FOUND)
        return;
    CIMValue v = element.getQualifier(i).getValue();
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_STRING)
        return;
    String named;
    v.get(named);
    std::string key = lowerKey(named);
    if (key == nameKey(newClass.getClassName()) || ns.classes.count(key))
        return;
    raise(CIM_ERR_INVALID_PARAMETER, "the EmbeddedInstance qualifier of " + what + " names class "
        + toStd(named) + ", which is not defined");
}

void checkEmbeddedClasses(const NamespaceData& ns, const CIMClass& newClass)
{
    for (Uint32 i = 0; i < newClass.getPropertyCount(); ++i)
    {
        CIMConstProperty p = newClass.getProperty(i);
        checkEmbeddedClass(ns, newClass, p, "property " + str(p.getName()));
    }
    for (Uint32 i = 0; i < newClass.getMethodCount(); ++i)
    {
        CIMConstMethod m = newClass.getMethod(i);
        checkEmbeddedClass(ns, newClass, m, "method " + str(m.getName()));
        for (Uint32 j = 0; j < m.getParameterCount(); ++j)
        {
            CIMConstParameter prm = m.getParameter(j);
            checkEmbeddedClass(ns, newClass, prm, "parameter " + str(prm.getName()) + " of method "
                + str(m.getName()));
        }
    }
}

} // namespace

void Repository::addClass(const CIMNamespaceName& nameSpace, const CIMClass& newClass)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    std::string key = nameKey(newClass.getClassName());
    if (ns.classes.count(key))
        raise(CIM_ERR_ALREADY_EXISTS, "class " + str(newClass.getClassName()) + " is already defined");
    checkEmbeddedClasses(ns, newClass);
    CIMClass resolved = _data->resolve(ns, newClass);
    ClassEntry entry;
    entry.local = newClass.clone();
    entry.local.setSuperClassName(resolved.getSuperClassName());
    entry.resolved = resolved;
    if (!newClass.getSuperClassName().isNull())
    {
        entry.superKey = nameKey(newClass.getSuperClassName());
        ns.classes[entry.superKey].children.push_back(key);
    }
    ns.classes.emplace(key, std::move(entry));
    ns.classOrder.push_back(key);
}

void Repository::deleteClass(const CIMNamespaceName& nameSpace, const CIMName& className)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry& e = Data::getClass(ns, className, CIM_ERR_NOT_FOUND);
    if (!e.children.empty())
        raise(CIM_ERR_CLASS_HAS_CHILDREN, str(className));
    if (!e.instances.empty())
        raise(CIM_ERR_CLASS_HAS_INSTANCES, str(className));
    std::string key = nameKey(className);
    if (!e.superKey.empty())
    {
        auto& siblings = ns.classes[e.superKey].children;
        for (auto it = siblings.begin(); it != siblings.end(); ++it)
            if (*it == key)
            {
                siblings.erase(it);
                break;
            }
    }
    for (auto it = ns.classOrder.begin(); it != ns.classOrder.end(); ++it)
        if (*it == key)
        {
            ns.classOrder.erase(it);
            break;
        }
    ns.classes.erase(key);
}

CIMClass Repository::getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
    bool localOnly, bool includeQualifiers, bool includeClassOrigin,
    const CIMPropertyList& propertyList) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry& e = Data::getClass(ns, className, CIM_ERR_NOT_FOUND);
    return filterClass(e.resolved, localOnly, includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMClass> Repository::enumerateClasses(const CIMNamespaceName& nameSpace,
    const CIMName& className, bool deepInheritance, bool localOnly, bool includeQualifiers,
    bool includeClassOrigin) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    std::string base;
    if (!className.isNull())
    {
        Data::getClass(ns, className, CIM_ERR_INVALID_CLASS);
        base = nameKey(className);
    }
    Array<CIMClass> out;
    for (const std::string& k : ns.classOrder)
    {
        ClassEntry& e = ns.classes[k];
        bool take = deepInheritance ? (base.empty() || (k != base && Data::derivesFrom(ns, k, base)))
                                    : e.superKey == base;
        if (take)
            out.append(filterClass(e.resolved, localOnly, includeQualifiers, includeClassOrigin,
                CIMPropertyList()));
    }
    return out;
}

Array<CIMName> Repository::enumerateClassNames(const CIMNamespaceName& nameSpace,
    const CIMName& className, bool deepInheritance) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    std::string base;
    if (!className.isNull())
    {
        Data::getClass(ns, className, CIM_ERR_INVALID_CLASS);
        base = nameKey(className);
    }
    Array<CIMName> out;
    for (const std::string& k : ns.classOrder)
    {
        ClassEntry& e = ns.classes[k];
        bool take = deepInheritance ? (base.empty() || (k != base && Data::derivesFrom(ns, k, base)))
                                    : e.superKey == base;
        if (take)
            out.append(e.resolved.getClassName());
    }
    return out;
}

CIMClass Repository::getFullClass(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    return Data::getClass(ns, className, CIM_ERR_NOT_FOUND).resolved.clone();
}

CIMClass Repository::getLocalClass(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    return Data::getClass(ns, className, CIM_ERR_NOT_FOUND).local.clone();
}

bool Repository::classExists(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData* ns = _data->findNamespace(nameSpace);
    return ns && Data::findClass(*ns, className);
}

bool Repository::isSubclassOf(const CIMNamespaceName& nameSpace, const CIMName& className,
    const CIMName& baseClassName) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData* ns = _data->findNamespace(nameSpace);
    if (!ns || !Data::findClass(*ns, className) || !Data::findClass(*ns, baseClassName))
        return false;
    return Data::derivesFrom(*ns, nameKey(className), nameKey(baseClassName));
}

Array<CIMName> Repository::getSubclassNames(const CIMNamespaceName& nameSpace,
    const CIMName& className, bool deep) const
{
    if (className.isNull())
        raise(CIM_ERR_INVALID_CLASS, "");
    return enumerateClassNames(nameSpace, className, deep);
}

Array<CIMName> Repository::getSuperClassNames(const CIMNamespaceName& nameSpace,
    const CIMName& className) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry* e = &Data::getClass(ns, className, CIM_ERR_INVALID_CLASS);
    Array<CIMName> out;
    while (!e->superKey.empty())
    {
        e = &ns.classes[e->superKey];
        out.append(e->resolved.getClassName());
    }
    return out;
}

// ---- instances

CIMObjectPath Repository::createInstance(const CIMNamespaceName& nameSpace,
    const CIMInstance& newInstance)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry& e = Data::getClass(ns, newInstance.getClassName(), CIM_ERR_INVALID_CLASS);
    const CIMClass& cls = e.resolved;
    const std::string cname = str(cls.getClassName());
    if (hasTrueQualifier(cls, "Abstract"))
        raise(CIM_ERR_INVALID_CLASS, "class " + cname + " is abstract and cannot have instances");

    for (Uint32 i = 0; i < newInstance.getPropertyCount(); ++i)
    {
        CIMConstProperty p = newInstance.getProperty(i);
        if (cls.findProperty(p.getName()) == PEG_NOT_FOUND)
            raise(CIM_ERR_INVALID_PARAMETER, "class " + cname + " has no property " + str(p.getName()));
    }

    CIMInstance stored(cls.getClassName());
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < cls.getPropertyCount(); ++i)
    {
        CIMConstProperty cp = cls.getProperty(i);
        CIMValue value = cp.getValue();
        Uint32 gi = newInstance.findProperty(cp.getName());
        if (gi != PEG_NOT_FOUND)
        {
            CIMValue given = newInstance.getProperty(gi).getValue();
            if (given.isNull())
                value = CIMValue(cp.getType(), cp.isArray());
            else if (given.getType() != cp.getType() || given.isArray() != cp.isArray())
                raise(CIM_ERR_INVALID_PARAMETER, "property " + str(cp.getName()) + " of class " + cname
                    + " has type " + cimTypeToString(cp.getType()) + (cp.isArray() ? "[]" : "")
                    + ", the value given is " + cimTypeToString(given.getType())
                    + (given.isArray() ? "[]" : ""));
            else
                value = given;
        }
        if (hasTrueQualifier(cp, "Key"))
        {
            if (value.isNull())
                raise(CIM_ERR_INVALID_PARAMETER, "key property " + str(cp.getName()) + " of class "
                    + cname + " has no value");
            keys.append(CIMKeyBinding(cp.getName(), value));
        }
        stored.addProperty(CIMProperty(cp.getName(), value, cp.getArraySize(),
            cp.getReferenceClassName(), cp.getClassOrigin(), cp.getPropagated()));
    }
    CIMObjectPath path(String(), ns.name, cls.getClassName(), keys);
    stored.setPath(path);
    if (Data::findInstance(ns, path, nullptr, nullptr))
        raise(CIM_ERR_ALREADY_EXISTS, keyText(path));
    e.instances.push_back(StoredInstance{path, stored});
    return path;
}

CIMInstance Repository::getInstance(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, bool includeClassOrigin,
    const CIMPropertyList& propertyList) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    StoredInstance* s = Data::findInstance(ns, instanceName, nullptr, nullptr);
    if (!s)
        raise(CIM_ERR_NOT_FOUND, missingText(instanceName));
    CIMInstance out = s->instance.clone();
    filterInstance(out, includeClassOrigin, propertyList, nullptr);
    return out;
}

Array<CIMInstance> Repository::enumerateInstances(const CIMNamespaceName& nameSpace,
    const CIMName& className, bool deepInheritance, bool includeClassOrigin,
    const CIMPropertyList& propertyList) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry& base = Data::getClass(ns, className, CIM_ERR_INVALID_CLASS);
    Array<CIMInstance> out;
    for (ClassEntry* e : Data::subtree(ns, nameKey(className)))
        for (const StoredInstance& s : e->instances)
        {
            CIMInstance inst = s.instance.clone();
            filterInstance(inst, includeClassOrigin, propertyList,
                deepInheritance ? nullptr : &base.resolved);
            out.append(inst);
        }
    return out;
}

Array<CIMObjectPath> Repository::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
    const CIMName& className) const
{
    std::shared_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    Data::getClass(ns, className, CIM_ERR_INVALID_CLASS);
    Array<CIMObjectPath> out;
    for (ClassEntry* e : Data::subtree(ns, nameKey(className)))
        for (const StoredInstance& s : e->instances)
            out.append(s.path);
    return out;
}

void Repository::modifyInstance(const CIMNamespaceName& nameSpace,
    const CIMInstance& modifiedInstance, const CIMPropertyList& propertyList)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry* owner = nullptr;
    const CIMObjectPath& path = modifiedInstance.getPath();
    StoredInstance* s = Data::findInstance(ns, path, &owner, nullptr);
    if (!s)
        raise(CIM_ERR_NOT_FOUND, missingText(path));
    const CIMClass& cls = owner->resolved;

    // Check everything first so that a failure changes nothing.
    for (Uint32 i = 0; i < modifiedInstance.getPropertyCount(); ++i)
    {
        CIMConstProperty p = modifiedInstance.getProperty(i);
        Uint32 ci = cls.findProperty(p.getName());
        if (ci == PEG_NOT_FOUND)
            raise(CIM_ERR_NO_SUCH_PROPERTY, str(p.getName()));
        if (!propertyList.isNull() && !propertyList.contains(p.getName()))
            continue;
        CIMConstProperty cp = cls.getProperty(ci);
        const CIMValue& v = p.getValue();
        if (!v.isNull() && (v.getType() != cp.getType() || v.isArray() != cp.isArray()))
            raise(CIM_ERR_TYPE_MISMATCH, str(p.getName()));
        if (hasTrueQualifier(cp, "Key"))
        {
            Uint32 si = s->instance.findProperty(p.getName());
            if (v.isNull() || !v.equal(s->instance.getProperty(si).getValue()))
                raise(CIM_ERR_INVALID_PARAMETER, "key property " + str(p.getName()) + " cannot be changed");
        }
    }
    if (!propertyList.isNull())
        for (Uint32 i = 0; i < propertyList.size(); ++i)
        {
            Uint32 ci = cls.findProperty(propertyList[i]);
            if (ci == PEG_NOT_FOUND)
                raise(CIM_ERR_NO_SUCH_PROPERTY, str(propertyList[i]));
            if (hasTrueQualifier(cls.getProperty(ci), "Key")
                && modifiedInstance.findProperty(propertyList[i]) == PEG_NOT_FOUND)
                raise(CIM_ERR_INVALID_PARAMETER, "key property " + str(propertyList[i]) + " cannot be changed");
        }

    CIMInstance updated = s->instance.clone();
    for (Uint32 i = 0; i < cls.getPropertyCount(); ++i)
    {
        CIMConstProperty cp = cls.getProperty(i);
        bool listed = propertyList.isNull() || propertyList.contains(cp.getName());
        if (!listed)
            continue;
        Uint32 mi = modifiedInstance.findProperty(cp.getName());
        CIMValue v;
        if (mi != PEG_NOT_FOUND)
            v = modifiedInstance.getProperty(mi).getValue();
        else if (!propertyList.isNull())
            v = cp.getValue();
        else
            continue;
        if (v.isNull())
            v = CIMValue(cp.getType(), cp.isArray());
        CIMProperty target = updated.getProperty(updated.findProperty(cp.getName()));
        target.setValue(v);
    }
    s->instance = updated;
}

void Repository::deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName)
{
    std::unique_lock<std::shared_mutex> lock(_mutex);
    NamespaceData& ns = _data->getNamespace(nameSpace);
    ClassEntry* owner = nullptr;
    std::size_t index = 0;
    if (!Data::findInstance(ns, instanceName, &owner, &index))
        raise(CIM_ERR_NOT_FOUND, missingText(instanceName));
    owner->instances.erase(owner->instances.begin() + std::ptrdiff_t(index));
}

} // namespace cimhost
