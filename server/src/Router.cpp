#include "Router.h"
#include "IndicationService.h"
#include "ResponseCollectors.h"

#include <cimhost/Repository.h>

#include <CimXml/XmlReader.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <map>

using namespace Pegasus;

namespace cimhost
{

namespace
{

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

std::string lower(const String& s)
{
    std::string r = narrow(s);
    for (char& c : r)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return r;
}

// Fresh context for one provider call: identity and languages of the request.
OperationContext providerContext(const OperationContext& request)
{
    OperationContext context;
    if (request.contains(IdentityContainer::NAME))
        context.insert(request.get(IdentityContainer::NAME));
    else
        context.insert(IdentityContainer(String()));
    if (request.contains(AcceptLanguageListContainer::NAME))
        context.insert(request.get(AcceptLanguageListContainer::NAME));
    else
        context.insert(AcceptLanguageListContainer(AcceptLanguageList()));
    if (request.contains(ContentLanguageListContainer::NAME))
        context.insert(request.get(ContentLanguageListContainer::NAME));
    else
        context.insert(ContentLanguageListContainer(ContentLanguageList()));
    return context;
}

// Runs a provider operation; every exception leaves as a CIMException.
template <class F>
void callProvider(F&& f)
{
    try
    {
        f();
    }
    catch (const CIMException&)
    {
        throw;
    }
    catch (const Exception& e)
    {
        throw CIMException(CIM_ERR_FAILED, e.getMessage());
    }
    catch (const std::exception& e)
    {
        throw CIMException(CIM_ERR_FAILED, String(e.what()));
    }
    catch (...)
    {
        throw CIMException(CIM_ERR_FAILED, String("Unknown error."));
    }
}

template <class Interface>
Interface* providerInterface(const ProviderManager::Lease& lease)
{
    Interface* p = dynamic_cast<Interface*>(lease.provider());
    if (!p)
        throw CIMException(CIM_ERR_NOT_SUPPORTED, String("Invalid provider interface."));
    return p;
}

// ---- instance qualifiers

// A class qualifier reaches the class's instances when it would reach a
// subclass (ToSubclass) or is marked ToInstance; Restricted ones stay with
// the class that declares them.
bool flowsToInstances(const CIMConstQualifier& qualifier)
{
    const CIMFlavor& flavor = qualifier.getFlavor();
    return flavor.hasFlavor(CIMFlavor::TOSUBCLASS) || flavor.hasFlavor(CIMFlavor::TOINSTANCE);
}

template <class Target, class Source>
void addMissingQualifiers(Target& target, const Source& source)
{
    for (Uint32 i = 0; i < source.getQualifierCount(); i++)
    {
        CIMConstQualifier q = source.getQualifier(i);
        if (flowsToInstances(q) && target.findQualifier(q.getName()) == PEG_NOT_FOUND)
            target.addQualifier(q.clone());
    }
}

// The instance with the qualifiers of its class, and each property with
// those of the class's property, that flow to instances; qualifiers the
// provider put there already stay as they are.
CIMInstance withClassQualifiers(const CIMInstance& instance, const CIMConstClass& cls)
{
    CIMInstance copy = instance.clone();
    addMissingQualifiers(copy, cls);
    for (Uint32 i = 0; i < copy.getPropertyCount(); i++)
    {
        CIMProperty property = copy.getProperty(i);
        Uint32 declared = cls.findProperty(property.getName());
        if (declared != PEG_NOT_FOUND)
            addMissingQualifiers(property, cls.getProperty(declared));
    }
    return copy;
}

// ---- method parameter retyping

[[noreturn]] void badValue(const String& param, CIMType type, const String& text)
{
    throw CIMException(CIM_ERR_INVALID_PARAMETER,
        String(("value \"" + narrow(text) + "\" of parameter " + narrow(param) +
            " is not a valid " + cimTypeToString(type)).c_str()));
}

bool parseSigned(const std::string& s, long long lo, long long hi, long long& out)
{
    if (s.empty() || std::isspace(static_cast<unsigned char>(s[0])))
        return false;
    errno = 0;
    char* end = nullptr;
    bool hex = s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
    long long v = std::strtoll(s.c_str(), &end, hex ? 16 : 10);
    if (errno || *end || end == s.c_str() || v < lo || v > hi)
        return false;
    out = v;
    return true;
}

bool parseUnsigned(const std::string& s, unsigned long long hi, unsigned long long& out)
{
    if (s.empty() || s[0] == '-' || std::isspace(static_cast<unsigned char>(s[0])))
        return false;
    errno = 0;
    char* end = nullptr;
    bool hex = s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
    unsigned long long v = std::strtoull(s.c_str(), &end, hex ? 16 : 10);
    if (errno || *end || end == s.c_str() || v > hi)
        return false;
    out = v;
    return true;
}

CIMValue scalarFromString(const String& param, CIMType type, const String& text)
{
    std::string s = narrow(text);
    long long sv = 0;
    unsigned long long uv = 0;
    switch (type)
    {
    case CIMTYPE_BOOLEAN:
        if (String::equalNoCase(text, "true"))
            return CIMValue(Boolean(true));
        if (String::equalNoCase(text, "false"))
            return CIMValue(Boolean(false));
        badValue(param, type, text);
    case CIMTYPE_UINT8:
        if (!parseUnsigned(s, 0xFFu, uv))
            badValue(param, type, text);
        return CIMValue(Uint8(uv));
    case CIMTYPE_UINT16:
        if (!parseUnsigned(s, 0xFFFFu, uv))
            badValue(param, type, text);
        return CIMValue(Uint16(uv));
    case CIMTYPE_UINT32:
        if (!parseUnsigned(s, 0xFFFFFFFFu, uv))
            badValue(param, type, text);
        return CIMValue(Uint32(uv));
    case CIMTYPE_UINT64:
        if (!parseUnsigned(s, ~0ull, uv))
            badValue(param, type, text);
        return CIMValue(Uint64(uv));
    case CIMTYPE_SINT8:
        if (!parseSigned(s, -128, 127, sv))
            badValue(param, type, text);
        return CIMValue(Sint8(sv));
    case CIMTYPE_SINT16:
        if (!parseSigned(s, -32768, 32767, sv))
            badValue(param, type, text);
        return CIMValue(Sint16(sv));
    case CIMTYPE_SINT32:
        if (!parseSigned(s, -2147483648LL, 2147483647LL, sv))
            badValue(param, type, text);
        return CIMValue(Sint32(sv));
    case CIMTYPE_SINT64:
        if (!parseSigned(s, -9223372036854775807LL - 1, 9223372036854775807LL, sv))
            badValue(param, type, text);
        return CIMValue(Sint64(sv));
    case CIMTYPE_REAL32:
    case CIMTYPE_REAL64:
    {
        if (s.empty() || std::isspace(static_cast<unsigned char>(s[0])))
            badValue(param, type, text);
        char* end = nullptr;
        errno = 0;
        double d = std::strtod(s.c_str(), &end);
        if (*end || errno == ERANGE)
            badValue(param, type, text);
        if (type == CIMTYPE_REAL32)
            return CIMValue(Real32(d));
        return CIMValue(Real64(d));
    }
    case CIMTYPE_CHAR16:
        if (text.size() != 1)
            badValue(param, type, text);
        return CIMValue(text[0]);
    case CIMTYPE_STRING:
        return CIMValue(text);
    case CIMTYPE_DATETIME:
        try
        {
            return CIMValue(CIMDateTime(text));
        }
        catch (const Exception&)
        {
            badValue(param, type, text);
        }
    case CIMTYPE_REFERENCE:
        try
        {
            return CIMValue(CIMObjectPath(text));
        }
        catch (const Exception&)
        {
            badValue(param, type, text);
        }
    case CIMTYPE_INSTANCE:
    case CIMTYPE_OBJECT:
        try
        {
            CIMObject object = XmlReader::decodeEmbeddedObject(text, type == CIMTYPE_INSTANCE);
            if (type == CIMTYPE_INSTANCE)
                return CIMValue(CIMInstance(object));
            return CIMValue(object);
        }
        catch (const Exception&)
        {
            badValue(param, type, text);
        }
    default:
        break;
    }
    return CIMValue(text);
}

template <class T>
CIMValue arrayFromStrings(const String& param, CIMType type, const Array<String>& texts)
{
    Array<T> out;
    for (Uint32 i = 0; i < texts.size(); i++)
    {
        T x;
        scalarFromString(param, type, texts[i]).get(x);
        out.append(x);
    }
    return CIMValue(out);
}

CIMValue arrayFromStrings(const String& param, CIMType type, const Array<String>& texts)
{
    switch (type)
    {
    case CIMTYPE_BOOLEAN: return arrayFromStrings<Boolean>(param, type, texts);
    case CIMTYPE_UINT8: return arrayFromStrings<Uint8>(param, type, texts);
    case CIMTYPE_SINT8: return arrayFromStrings<Sint8>(param, type, texts);
    case CIMTYPE_UINT16: return arrayFromStrings<Uint16>(param, type, texts);
    case CIMTYPE_SINT16: return arrayFromStrings<Sint16>(param, type, texts);
    case CIMTYPE_UINT32: return arrayFromStrings<Uint32>(param, type, texts);
    case CIMTYPE_SINT32: return arrayFromStrings<Sint32>(param, type, texts);
    case CIMTYPE_UINT64: return arrayFromStrings<Uint64>(param, type, texts);
    case CIMTYPE_SINT64: return arrayFromStrings<Sint64>(param, type, texts);
    case CIMTYPE_REAL32: return arrayFromStrings<Real32>(param, type, texts);
    case CIMTYPE_REAL64: return arrayFromStrings<Real64>(param, type, texts);
    case CIMTYPE_CHAR16: return arrayFromStrings<Char16>(param, type, texts);
    case CIMTYPE_DATETIME: return arrayFromStrings<CIMDateTime>(param, type, texts);
    case CIMTYPE_REFERENCE: return arrayFromStrings<CIMObjectPath>(param, type, texts);
    case CIMTYPE_INSTANCE: return arrayFromStrings<CIMInstance>(param, type, texts);
    case CIMTYPE_OBJECT: return arrayFromStrings<CIMObject>(param, type, texts);
    default:
        return CIMValue(texts);
    }
}

} // namespace

CIMValue Router::retypeValue(const String& name, CIMType type, Boolean isArray,
    const CIMValue& value)
{
    if (value.isNull())
        return CIMValue(type, isArray);
    if (value.isArray() != isArray)
        throw CIMException(CIM_ERR_TYPE_MISMATCH, name);
    if (value.getType() != CIMTYPE_STRING || type == CIMTYPE_STRING)
        return value;
    if (value.isArray())
    {
        Array<String> texts;
        value.get(texts);
        return arrayFromStrings(name, type, texts);
    }
    String text;
    value.get(text);
    return scalarFromString(name, type, text);
}

Array<CIMParamValue> Router::retypeParameters(const CIMConstMethod& method,
    const Array<CIMParamValue>& inParameters)
{
    Array<CIMParamValue> result;
    for (Uint32 i = 0; i < inParameters.size(); i++)
    {
        const CIMParamValue& in = inParameters[i];
        String name = in.getParameterName();
        Uint32 pos = in.isTyped() ? PEG_NOT_FOUND : method.findParameter(CIMName(name));
        if (pos == PEG_NOT_FOUND)
        {
            result.append(in);
            continue;
        }
        CIMConstParameter decl = method.getParameter(pos);
        CIMType type = decl.getType();
        // A string parameter qualified EmbeddedInstance/EmbeddedObject carries
        // an object.
        if (type == CIMTYPE_STRING)
        {
            if (decl.findQualifier(CIMName("EmbeddedInstance")) != PEG_NOT_FOUND)
                type = CIMTYPE_INSTANCE;
            else if (decl.findQualifier(CIMName("EmbeddedObject")) != PEG_NOT_FOUND)
                type = CIMTYPE_OBJECT;
        }
        CIMValue typed = retypeValue(name, type, decl.isArray(), in.getValue());
        bool nowTyped = typed.getType() == type;
        result.append(CIMParamValue(name, typed, nowTyped));
    }
    return result;
}

Router::Router(Repository& repository, const ProviderRegistry& registry,
    ProviderManager& providers, const String& hostName)
    : _repository(repository), _registry(registry), _providers(providers),
      _hostName(hostName)
{
}

void Router::setAdministrators(const std::vector<std::string>& userNames)
{
    _administrators.clear();
    for (const std::string& name : userNames)
        if (!name.empty())
            _administrators.insert(name);
}

void Router::requireAdministrator(const OperationContext& context,
    const char* operation) const
{
    if (!context.contains(IdentityContainer::NAME))
        return;
    IdentityContainer identity(context.get(IdentityContainer::NAME));
    if (_administrators.count(narrow(identity.getUserName())))
        return;
    throw CIMException(CIM_ERR_ACCESS_DENIED, String(operation) +
        String(": only an administrator may change the schema or stored instances"));
}

void Router::checkNamespace(const CIMNamespaceName& nameSpace) const
{
    if (nameSpace.isNull() || !_repository.namespaceExists(nameSpace))
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.getString());
}

void Router::checkClass(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    // One look-up when both are there; the checks below tell what is not.
    if (!nameSpace.isNull() && !className.isNull() &&
        _repository.classExists(nameSpace, className))
        return;
    checkNamespace(nameSpace);
    if (className.isNull() || !_repository.classExists(nameSpace, className))
        throw CIMException(CIM_ERR_INVALID_CLASS, className.getString());
}

ProviderManager::Lease Router::lease(const ProviderCapability& capability)
{
    const ProviderModuleInfo* module = _registry.findModule(capability.moduleName);
    if (!module)
    {
        throw CIMException(CIM_ERR_FAILED, String(("provider module \"" +
            narrow(capability.moduleName) + "\" is not registered").c_str()));
    }
    return _providers.get(*module, capability.providerName);
}

CIMObjectPath Router::providerPath(const CIMObjectPath& path,
    const CIMNamespaceName& nameSpace) const
{
    CIMObjectPath result(path);
    result.setHost(_hostName);
    result.setNameSpace(nameSpace);
    return result;
}

void Router::completePath(CIMObjectPath& path, const CIMNamespaceName& nameSpace) const
{
    if (path.getHost().size() == 0)
        path.setHost(_hostName);
    if (path.getNameSpace().isNull())
        path.setNameSpace(nameSpace);
}

// Instances in an answer need a path with keys; providers that deliver an
// instance without one get it built from the class.
CIMInstance Router::withPath(const CIMInstance& instance,
    const CIMNamespaceName& nameSpace) const
{
    const CIMObjectPath& path = instance.getPath();
    if (!path.getClassName().isNull() && path.getKeyBindings().size() > 0)
        return instance;
    try
    {
        CIMClass cls = _repository.getFullClass(nameSpace, instance.getClassName());
        CIMInstance copy = instance.clone();
        CIMObjectPath built = copy.buildPath(cls);
        if (built.getKeyBindings().size() > 0)
            copy.setPath(built);
        return copy;
    }
    catch (const Exception&)
    {
        return instance;
    }
}

// ---- class and qualifier operations: the repository

CIMClass Router::getClass(const OperationContext&, const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    checkNamespace(nameSpace);
    return _repository.getClass(nameSpace, className, localOnly, includeQualifiers,
        includeClassOrigin, propertyList);
}

Array<CIMClass> Router::enumerateClasses(const OperationContext&,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin)
{
    checkNamespace(nameSpace);
    return _repository.enumerateClasses(nameSpace, className, deepInheritance,
        localOnly, includeQualifiers, includeClassOrigin);
}

Array<CIMName> Router::enumerateClassNames(const OperationContext&,
    const CIMNamespaceName& nameSpace, const CIMName& className, Boolean deepInheritance)
{
    checkNamespace(nameSpace);
    return _repository.enumerateClassNames(nameSpace, className, deepInheritance);
}

void Router::createClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMClass& newClass)
{
    checkNamespace(nameSpace);
    requireAdministrator(context, "CreateClass");
    _repository.addClass(nameSpace, newClass);
    invalidateClassCaches();
}

void Router::modifyClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMClass&)
{
    checkNamespace(nameSpace);
    requireAdministrator(context, "ModifyClass");
    throw CIMException(CIM_ERR_NOT_SUPPORTED, String());
}

void Router::deleteClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className)
{
    checkNamespace(nameSpace);
    requireAdministrator(context, "DeleteClass");
    _repository.deleteClass(nameSpace, className);
    invalidateClassCaches();
}

CIMQualifierDecl Router::getQualifier(const OperationContext&,
    const CIMNamespaceName& nameSpace, const CIMName& qualifierName)
{
    checkNamespace(nameSpace);
    return _repository.getQualifier(nameSpace, qualifierName);
}

Array<CIMQualifierDecl> Router::enumerateQualifiers(const OperationContext&,
    const CIMNamespaceName& nameSpace)
{
    checkNamespace(nameSpace);
    return _repository.enumerateQualifiers(nameSpace);
}

// ---- instance operations

CIMInstance Router::getInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    Boolean, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    const CIMName& className = instanceName.getClassName();
    checkClass(nameSpace, className);
    const ProviderCapability* cap =
        _registry.find(nameSpace, className, PROVIDER_TYPE_INSTANCE);
    Array<CIMInstance> results;
    if (!cap)
    {
        CIMObjectPath path(instanceName);
        path.setHost(String());
        path.setNameSpace(nameSpace);
        results.append(
            _repository.getInstance(nameSpace, path, includeClassOrigin, propertyList));
    }
    else
    {
        ProviderManager::Lease l = lease(*cap);
        CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
        InstanceCollector handler(Cardinality::ExactlyOne);
        OperationContext ctx = providerContext(context);
        CIMObjectPath path = providerPath(instanceName, nameSpace);
        callProvider([&] {
            provider->getInstance(ctx, path, includeQualifiers, includeClassOrigin,
                propertyList, handler);
        });
        results = handler.results();
        if (results.size() == 0)
            throw CIMException(CIM_ERR_FAILED, String("Too few objects delivered."));
        results[0] = withPath(results[0], nameSpace);
    }
    if (includeQualifiers)
        addClassQualifiers(results, nameSpace);
    return results[0];
}

void Router::enumerateInstancesTo(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList, CIMResultSink& sink)
{
    enumerateInstances(context, nameSpace, className, deepInheritance, includeQualifiers,
        includeClassOrigin, propertyList,
        [&sink](const CIMInstance& instance) { sink.instance(instance); });
}

void Router::enumerateInstanceNamesTo(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className, CIMResultSink& sink)
{
    enumerateInstanceNameChunks(context, nameSpace, className,
        [&sink](const Array<CIMObjectPath>& chunk) { sink.paths(chunk); });
}

Array<CIMInstance> Router::enumerateInstances(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    Array<CIMInstance> result;
    enumerateInstances(context, nameSpace, className, deepInheritance, includeQualifiers,
        includeClassOrigin, propertyList,
        [&result](const CIMInstance& instance) { result.append(instance); });
    return result;
}

void Router::enumerateInstances(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, const InstanceSink& sink)
{
    checkClass(nameSpace, className);
    Array<CIMName> classes;
    classes.append(className);
    classes.appendArray(_repository.getSubclassNames(nameSpace, className, true));

    // Without deepInheritance, instances of subclasses keep only the
    // properties of the requested class.
    bool trim = !deepInheritance && classes.size() > 1;
    CIMClass requested;
    if (trim)
        requested = _repository.getFullClass(nameSpace, className);
    ClassCache qualifierClasses;
    auto emit = [&](const CIMInstance& instance) {
        CIMInstance out = instance;
        if (trim && instance.getClassName() != className)
        {
            out = instance.clone();
            for (Uint32 p = out.getPropertyCount(); p-- > 0;)
            {
                if (requested.findProperty(out.getProperty(p).getName()) == PEG_NOT_FOUND)
                    out.removeProperty(p);
            }
        }
        if (includeQualifiers)
            out = withQualifiersOfClass(out, nameSpace, qualifierClasses);
        sink(out);
    };

    OperationContext ctx = providerContext(context);
    for (Uint32 i = 0; i < classes.size(); i++)
    {
        const CIMName& cls = classes[i];
        const ProviderCapability* cap =
            _registry.find(nameSpace, cls, PROVIDER_TYPE_INSTANCE);
        if (!cap)
        {
            Array<CIMInstance> stored = _repository.enumerateInstances(
                nameSpace, cls, true, includeClassOrigin, propertyList);
            for (Uint32 j = 0; j < stored.size(); j++)
                if (stored[j].getClassName() == cls)
                    emit(stored[j]);
            continue;
        }
        ProviderManager::Lease l = lease(*cap);
        CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
        InstanceCollector handler(Cardinality::Many, [&](const Array<CIMInstance>& chunk) {
            for (Uint32 j = 0; j < chunk.size(); j++)
                emit(withPath(chunk[j], nameSpace));
        });
        CIMObjectPath path(_hostName, nameSpace, cls);
        callProvider([&] {
            provider->enumerateInstances(ctx, path, includeQualifiers,
                includeClassOrigin, propertyList, handler);
        });
    }
}

void Router::addClassQualifiers(Array<CIMInstance>& instances,
    const CIMNamespaceName& nameSpace) const
{
    ClassCache classes;
    for (Uint32 i = 0; i < instances.size(); i++)
        instances[i] = withQualifiersOfClass(instances[i], nameSpace, classes);
}

CIMInstance Router::withQualifiersOfClass(const CIMInstance& instance,
    const CIMNamespaceName& nameSpace, ClassCache& classes) const
{
    const CIMName& className = instance.getClassName();
    auto it = classes.find(lower(className.getString()));
    if (it == classes.end())
    {
        CIMClass cls;
        try
        {
            cls = _repository.getFullClass(nameSpace, className);
        }
        catch (const CIMException&)
        {
            // A class the repository does not know has no qualifiers
            // to give.
        }
        it = classes.emplace(lower(className.getString()), cls).first;
    }
    if (it->second.isUninitialized())
        return instance;
    return withClassQualifiers(instance, it->second);
}

Array<CIMObjectPath> Router::enumerateInstanceNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className)
{
    Array<CIMObjectPath> result;
    enumerateInstanceNames(context, nameSpace, className,
        [&result](const CIMObjectPath& path) { result.append(path); });
    return result;
}

void Router::enumerateInstanceNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className, const PathSink& sink)
{
    enumerateInstanceNameChunks(context, nameSpace, className,
        [&sink](const Array<CIMObjectPath>& chunk) {
            for (Uint32 j = 0; j < chunk.size(); j++)
                sink(chunk[j]);
        });
}

void Router::enumerateInstanceNameChunks(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    const PathChunkSink& sink)
{
    checkClass(nameSpace, className);
    Array<CIMName> classes;
    classes.append(className);
    classes.appendArray(_repository.getSubclassNames(nameSpace, className, true));

    OperationContext ctx = providerContext(context);
    for (Uint32 i = 0; i < classes.size(); i++)
    {
        const CIMName& cls = classes[i];
        const ProviderCapability* cap =
            _registry.find(nameSpace, cls, PROVIDER_TYPE_INSTANCE);
        if (!cap)
        {
            Array<CIMObjectPath> stored =
                _repository.enumerateInstanceNames(nameSpace, cls);
            Array<CIMObjectPath> own;
            for (Uint32 j = 0; j < stored.size(); j++)
                if (stored[j].getClassName() == cls)
                    own.append(stored[j]);
            if (own.size())
                sink(own);
            continue;
        }
        ProviderManager::Lease l = lease(*cap);
        CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
        ObjectPathCollector handler(Cardinality::Many, sink);
        CIMObjectPath path(_hostName, nameSpace, cls);
        callProvider([&] { provider->enumerateInstanceNames(ctx, path, handler); });
    }
}

CIMObjectPath Router::createInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMInstance& newInstance)
{
    if (newInstance.isUninitialized())
        throw CIMException(CIM_ERR_INVALID_PARAMETER, String("NewInstance"));
    const CIMName& className = newInstance.getClassName();
    checkClass(nameSpace, className);
    const ProviderCapability* cap =
        _registry.find(nameSpace, className, PROVIDER_TYPE_INSTANCE);
    if (!cap && _indications && IndicationService::handles(className))
        return _indications->createInstance(nameSpace, newInstance,
            [&](const CIMNamespaceName& ns, const CIMName& cls) {
                enumerateInstanceNames(context, ns, cls, [](const CIMObjectPath&) {});
            });
    if (!cap)
    {
        requireAdministrator(context, "CreateInstance");
        return _repository.createInstance(nameSpace, newInstance);
    }

    ProviderManager::Lease l = lease(*cap);
    CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
    ObjectPathCollector handler(Cardinality::ExactlyOne);
    OperationContext ctx = providerContext(context);
    CIMObjectPath path(_hostName, nameSpace, className,
        newInstance.getPath().getKeyBindings());
    callProvider([&] { provider->createInstance(ctx, path, newInstance, handler); });
    Array<CIMObjectPath> results = handler.results();
    if (results.size() == 0)
        throw CIMException(CIM_ERR_FAILED, String("Too few objects delivered."));
    return results[0];
}

void Router::modifyInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
    Boolean includeQualifiers, const CIMPropertyList& propertyList)
{
    if (modifiedInstance.isUninitialized())
        throw CIMException(CIM_ERR_INVALID_PARAMETER, String("ModifiedInstance"));
    CIMObjectPath instancePath = modifiedInstance.getPath();
    CIMName className = instancePath.getClassName().isNull()
        ? modifiedInstance.getClassName() : instancePath.getClassName();
    checkClass(nameSpace, className);
    const ProviderCapability* cap =
        _registry.find(nameSpace, className, PROVIDER_TYPE_INSTANCE);
    if (!cap && _indications && IndicationService::handles(className))
        throw CIMException(CIM_ERR_NOT_SUPPORTED,
            String("subscriptions, filters and destinations are deleted and created again"));
    if (!cap)
    {
        requireAdministrator(context, "ModifyInstance");
        _repository.modifyInstance(nameSpace, modifiedInstance, propertyList);
        return;
    }
    ProviderManager::Lease l = lease(*cap);
    CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
    PlainCollector handler;
    OperationContext ctx = providerContext(context);
    CIMObjectPath path(_hostName, nameSpace, className, instancePath.getKeyBindings());
    callProvider([&] {
        provider->modifyInstance(ctx, path, modifiedInstance, includeQualifiers,
            propertyList, handler);
    });
}

void Router::deleteInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName)
{
    const CIMName& className = instanceName.getClassName();
    checkClass(nameSpace, className);
    const ProviderCapability* cap =
        _registry.find(nameSpace, className, PROVIDER_TYPE_INSTANCE);
    if (!cap && _indications && IndicationService::handles(className))
    {
        _indications->deleteInstance(nameSpace, instanceName);
        return;
    }
    if (!cap)
    {
        requireAdministrator(context, "DeleteInstance");
        CIMObjectPath path(instanceName);
        path.setHost(String());
        path.setNameSpace(nameSpace);
        _repository.deleteInstance(nameSpace, path);
        return;
    }
    ProviderManager::Lease l = lease(*cap);
    CIMInstanceProvider* provider = providerInterface<CIMInstanceProvider>(l);
    PlainCollector handler;
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(instanceName, nameSpace);
    callProvider([&] { provider->deleteInstance(ctx, path, handler); });
}

// ---- associations

void Router::invalidateClassCaches()
{
    std::lock_guard<std::mutex> lock(_cacheMutex);
    _associations.clear();
}

std::vector<CIMName> Router::associationClassesFor(const CIMNamespaceName& nameSpace,
    const CIMName& objectClass, const CIMName& filter, const String& role)
{
    std::vector<AssociationClass> all;
    {
        std::lock_guard<std::mutex> lock(_cacheMutex);
        auto it = _associations.find(lower(nameSpace.getString()));
        if (it != _associations.end())
            all = it->second;
    }
    if (all.empty())
    {
        Array<CIMName> names = _repository.enumerateClassNames(nameSpace, CIMName(), true);
        for (Uint32 i = 0; i < names.size(); i++)
        {
            CIMClass cls = _repository.getFullClass(nameSpace, names[i]);
            if (!cls.isAssociation())
                continue;
            AssociationClass a;
            a.name = names[i];
            for (Uint32 p = 0; p < cls.getPropertyCount(); p++)
            {
                CIMProperty prop = cls.getProperty(p);
                if (prop.getType() == CIMTYPE_REFERENCE)
                    a.references.emplace_back(prop.getName(), prop.getReferenceClassName());
            }
            all.push_back(a);
        }
        std::lock_guard<std::mutex> lock(_cacheMutex);
        _associations[lower(nameSpace.getString())] = all;
    }

    std::vector<CIMName> result;
    for (const AssociationClass& a : all)
    {
        if (!filter.isNull() && !_repository.isSubclassOf(nameSpace, a.name, filter))
            continue;
        bool matches = false;
        for (const auto& ref : a.references)
        {
            if (role.size() != 0 && !String::equalNoCase(role, ref.first.getString()))
                continue;
            if (_repository.isSubclassOf(nameSpace, objectClass, ref.second))
            {
                matches = true;
                break;
            }
        }
        if (matches)
            result.push_back(a.name);
    }
    return result;
}

template <class Collector, class Result, class Call>
void Router::gatherAssociations(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& filter, const String& role, Call call,
    const std::function<void(const Result&)>& sink)
{
    checkClass(nameSpace, objectName.getClassName());
    for (const CIMName& a : associationClassesFor(
             nameSpace, objectName.getClassName(), filter, role))
    {
        const ProviderCapability* cap =
            _registry.find(nameSpace, a, PROVIDER_TYPE_ASSOCIATION);
        if (!cap)
            continue;
        ProviderManager::Lease l = lease(*cap);
        CIMAssociationProvider* provider = providerInterface<CIMAssociationProvider>(l);
        Collector handler([&](const Array<Result>& chunk) {
            for (Uint32 i = 0; i < chunk.size(); i++)
            {
                Result r = chunk[i];
                completeResult(r, nameSpace);
                sink(r);
            }
        });
        callProvider([&] { call(provider, a, handler); });
    }
}

void Router::completeResult(CIMObject& object, const CIMNamespaceName& nameSpace) const
{
    CIMObjectPath p = object.getPath();
    completePath(p, nameSpace);
    object.setPath(p);
}

void Router::completeResult(CIMObjectPath& path, const CIMNamespaceName& nameSpace) const
{
    completePath(path, nameSpace);
}

Array<CIMObject> Router::associators(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& assocClass, const CIMName& resultClass, const String& role,
    const String& resultRole, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    Array<CIMObject> result;
    associators(context, nameSpace, objectName, assocClass, resultClass, role, resultRole,
        includeQualifiers, includeClassOrigin, propertyList,
        [&result](const CIMObject& object) { result.append(object); });
    return result;
}

void Router::associators(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& assocClass, const CIMName& resultClass, const String& role,
    const String& resultRole, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, const ObjectSink& sink)
{
    checkClass(nameSpace, objectName.getClassName());
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(objectName, nameSpace);
    gatherAssociations<ObjectCollector, CIMObject>(nameSpace, objectName, assocClass, role,
        [&](CIMAssociationProvider* provider, const CIMName& a, ObjectCollector& h) {
            provider->associators(ctx, path, a, resultClass, role, resultRole,
                includeQualifiers, includeClassOrigin, propertyList, h);
        },
        sink);
}

Array<CIMObjectPath> Router::associatorNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& assocClass, const CIMName& resultClass, const String& role,
    const String& resultRole)
{
    Array<CIMObjectPath> result;
    associatorNames(context, nameSpace, objectName, assocClass, resultClass, role,
        resultRole, [&result](const CIMObjectPath& path) { result.append(path); });
    return result;
}

void Router::associatorNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& assocClass, const CIMName& resultClass, const String& role,
    const String& resultRole, const PathSink& sink)
{
    checkClass(nameSpace, objectName.getClassName());
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(objectName, nameSpace);
    gatherAssociations<ObjectPathCollector, CIMObjectPath>(nameSpace, objectName,
        assocClass, role,
        [&](CIMAssociationProvider* provider, const CIMName& a, ObjectPathCollector& h) {
            provider->associatorNames(ctx, path, a, resultClass, role, resultRole, h);
        },
        sink);
}

Array<CIMObject> Router::references(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    Array<CIMObject> result;
    references(context, nameSpace, objectName, resultClass, role, includeQualifiers,
        includeClassOrigin, propertyList,
        [&result](const CIMObject& object) { result.append(object); });
    return result;
}

void Router::references(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList, const ObjectSink& sink)
{
    checkClass(nameSpace, objectName.getClassName());
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(objectName, nameSpace);
    gatherAssociations<ObjectCollector, CIMObject>(nameSpace, objectName, resultClass, role,
        [&](CIMAssociationProvider* provider, const CIMName& a, ObjectCollector& h) {
            provider->references(ctx, path, a, role, includeQualifiers, includeClassOrigin,
                propertyList, h);
        },
        sink);
}

Array<CIMObjectPath> Router::referenceNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role)
{
    Array<CIMObjectPath> result;
    referenceNames(context, nameSpace, objectName, resultClass, role,
        [&result](const CIMObjectPath& path) { result.append(path); });
    return result;
}

void Router::referenceNames(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role, const PathSink& sink)
{
    checkClass(nameSpace, objectName.getClassName());
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(objectName, nameSpace);
    gatherAssociations<ObjectPathCollector, CIMObjectPath>(nameSpace, objectName,
        resultClass, role,
        [&](CIMAssociationProvider* provider, const CIMName& a, ObjectPathCollector& h) {
            provider->referenceNames(ctx, path, a, role, h);
        },
        sink);
}

// ---- properties: through getInstance / modifyInstance

CIMValue Router::getProperty(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& propertyName)
{
    Array<CIMName> names;
    names.append(propertyName);
    CIMInstance inst = getInstance(context, nameSpace, instanceName, false, false,
        false, CIMPropertyList(names));
    Uint32 pos = inst.findProperty(propertyName);
    if (pos == PEG_NOT_FOUND)
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
    return inst.getProperty(pos).getValue();
}

void Router::setProperty(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& propertyName, const CIMValue& newValue)
{
    const CIMName& className = instanceName.getClassName();
    checkClass(nameSpace, className);
    CIMClass cls = _repository.getFullClass(nameSpace, className);
    Uint32 pos = cls.findProperty(propertyName);
    if (pos == PEG_NOT_FOUND)
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
    CIMProperty decl = cls.getProperty(pos);
    CIMValue value = retypeValue(propertyName.getString(), decl.getType(), decl.isArray(),
        newValue);
    CIMInstance inst(className);
    if (decl.getType() == CIMTYPE_REFERENCE)
        inst.addProperty(CIMProperty(propertyName, value, 0, decl.getReferenceClassName()));
    else
        inst.addProperty(CIMProperty(propertyName, value));
    inst.setPath(instanceName);
    Array<CIMName> names;
    names.append(propertyName);
    modifyInstance(context, nameSpace, inst, false, CIMPropertyList(names));
}

// ---- methods

CIMValue Router::invokeMethod(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& methodName, const Array<CIMParamValue>& inParameters,
    Array<CIMParamValue>& outParameters)
{
    const CIMName& className = instanceName.getClassName();
    checkClass(nameSpace, className);
    CIMClass cls = _repository.getFullClass(nameSpace, className);
    Uint32 m = cls.findMethod(methodName);
    const ProviderCapability* cap =
        _registry.find(nameSpace, className, PROVIDER_TYPE_METHOD);
    if (!cap)
    {
        throw CIMException(m == PEG_NOT_FOUND ? CIM_ERR_METHOD_NOT_FOUND
            : CIM_ERR_METHOD_NOT_AVAILABLE, methodName.getString());
    }

    // The class's method provider answers for every method name, declared or
    // not; parameters of an undeclared method go as the client sent them.
    Array<CIMParamValue> typed = m == PEG_NOT_FOUND ? inParameters
        : retypeParameters(CIMConstMethod(cls.getMethod(m)), inParameters);
    ProviderManager::Lease l = lease(*cap);
    CIMMethodProvider* provider = providerInterface<CIMMethodProvider>(l);
    MethodResultCollector handler;
    OperationContext ctx = providerContext(context);
    CIMObjectPath path = providerPath(instanceName, nameSpace);
    callProvider([&] { provider->invokeMethod(ctx, path, methodName, typed, handler); });
    outParameters = handler.outParameters();
    return handler.returnValue();
}

} // namespace cimhost
