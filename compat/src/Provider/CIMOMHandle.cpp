#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Internal/CIMOMHandleAccess.h>

#include <atomic>
#include <mutex>

PEGASUS_NAMESPACE_BEGIN

class CIMOMHandleRep
{
public:
    explicit CIMOMHandleRep(CIMOperations* ops) : operations(ops) {}

    std::atomic<Uint32> refs{1};
    CIMOperations* operations;
    std::atomic<Sint32> unloadBlocks{0};
};

namespace
{

const char NOT_CONNECTED[] =
    "CIMOMHandle is not connected to a CIM server: use the handle the server "
    "passed to initialize()";

// Only the identity and the language containers travel with an up-call; a
// missing container is replaced by its default (empty user, no languages).
OperationContext filterContext(const OperationContext& context)
{
    OperationContext result;
    if (context.contains(IdentityContainer::NAME))
        result.insert(context.get(IdentityContainer::NAME));
    else
        result.insert(IdentityContainer(String()));

    if (context.contains(AcceptLanguageListContainer::NAME))
        result.insert(context.get(AcceptLanguageListContainer::NAME));
    else
        result.insert(AcceptLanguageListContainer(AcceptLanguageList()));

    if (context.contains(ContentLanguageListContainer::NAME))
        result.insert(context.get(ContentLanguageListContainer::NAME));
    else
        result.insert(ContentLanguageListContainer(ContentLanguageList()));
    return result;
}

CIMOperations& backendOf(CIMOMHandleRep* rep)
{
    if (!rep || !rep->operations)
        throw CIMException(CIM_ERR_FAILED, String(NOT_CONNECTED));
    return *rep->operations;
}

// Runs one up-call: CIM errors pass through with their code and raw message,
// any other failure becomes the generic CIMOMHandle failure.
template <class F>
auto forward(CIMOMHandleRep* rep, const OperationContext& context, F&& f)
    -> decltype(f(backendOf(rep), context))
{
    CIMOperations& ops = backendOf(rep);
    OperationContext filtered;
    try
    {
        filtered = filterContext(context);
    }
    catch (...)
    {
        throw CIMException(CIM_ERR_FAILED,
            String("Exception caught in CIMOMHandle"));
    }
    try
    {
        return f(ops, filtered);
    }
    catch (const CIMException&)
    {
        throw;
    }
    catch (...)
    {
        throw CIMException(CIM_ERR_FAILED,
            String("Exception caught in CIMOMHandle"));
    }
}

} // namespace

CIMOMHandle::CIMOMHandle() : _rep(0)
{
}

CIMOMHandle::CIMOMHandle(const CIMOMHandle& handle) : _rep(handle._rep)
{
    if (_rep)
        _rep->refs.fetch_add(1);
}

CIMOMHandle::~CIMOMHandle()
{
    if (_rep && _rep->refs.fetch_sub(1) == 1)
        delete _rep;
}

CIMOMHandle& CIMOMHandle::operator=(const CIMOMHandle& handle)
{
    if (_rep != handle._rep)
    {
        if (handle._rep)
            handle._rep->refs.fetch_add(1);
        if (_rep && _rep->refs.fetch_sub(1) == 1)
            delete _rep;
        _rep = handle._rep;
    }
    return *this;
}

CIMClass CIMOMHandle::getClass(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.getClass(ctx, nameSpace, className, localOnly,
                includeQualifiers, includeClassOrigin, propertyList);
        });
}

Array<CIMClass> CIMOMHandle::enumerateClasses(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.enumerateClasses(ctx, nameSpace, className,
                deepInheritance, localOnly, includeQualifiers,
                includeClassOrigin);
        });
}

Array<CIMName> CIMOMHandle::enumerateClassNames(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.enumerateClassNames(ctx, nameSpace, className,
                deepInheritance);
        });
}

void CIMOMHandle::createClass(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMClass& newClass)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.createClass(ctx, nameSpace, newClass);
        });
}

void CIMOMHandle::modifyClass(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMClass& modifiedClass)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.modifyClass(ctx, nameSpace, modifiedClass);
        });
}

void CIMOMHandle::deleteClass(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMName& className)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.deleteClass(ctx, nameSpace, className);
        });
}

CIMInstance CIMOMHandle::getInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.getInstance(ctx, nameSpace, instanceName, localOnly,
                includeQualifiers, includeClassOrigin, propertyList);
        });
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance, Boolean localOnly,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.enumerateInstances(ctx, nameSpace, className,
                deepInheritance, localOnly, includeQualifiers,
                includeClassOrigin, propertyList);
        });
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.enumerateInstanceNames(ctx, nameSpace, className);
        });
}

CIMObjectPath CIMOMHandle::createInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMInstance& newInstance)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.createInstance(ctx, nameSpace, newInstance);
        });
}

void CIMOMHandle::modifyInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
    Boolean includeQualifiers, const CIMPropertyList& propertyList)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.modifyInstance(ctx, nameSpace, modifiedInstance,
                includeQualifiers, propertyList);
        });
}

void CIMOMHandle::deleteInstance(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.deleteInstance(ctx, nameSpace, instanceName);
        });
}

Array<CIMObject> CIMOMHandle::execQuery(const OperationContext& context,
    const CIMNamespaceName&, const String& queryLanguage, const String&)
{
    backendOf(_rep);
    (void)context;
    throw CIMException(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, queryLanguage);
}

Array<CIMObject> CIMOMHandle::associators(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& assocClass, const CIMName& resultClass,
    const String& role, const String& resultRole,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.associators(ctx, nameSpace, objectName, assocClass,
                resultClass, role, resultRole, includeQualifiers,
                includeClassOrigin, propertyList);
        });
}

Array<CIMObjectPath> CIMOMHandle::associatorNames(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.associatorNames(ctx, nameSpace, objectName,
                assocClass, resultClass, role, resultRole);
        });
}

Array<CIMObject> CIMOMHandle::references(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
    const CIMName& resultClass, const String& role,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.references(ctx, nameSpace, objectName, resultClass,
                role, includeQualifiers, includeClassOrigin, propertyList);
        });
}

Array<CIMObjectPath> CIMOMHandle::referenceNames(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.referenceNames(ctx, nameSpace, objectName,
                resultClass, role);
        });
}

CIMValue CIMOMHandle::getProperty(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& propertyName)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            return ops.getProperty(ctx, nameSpace, instanceName,
                propertyName);
        });
}

void CIMOMHandle::setProperty(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& propertyName, const CIMValue& newValue)
{
    forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            ops.setProperty(ctx, nameSpace, instanceName, propertyName,
                newValue);
        });
}

CIMValue CIMOMHandle::invokeMethod(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
    const CIMName& methodName, const Array<CIMParamValue>& inParameters,
    Array<CIMParamValue>& outParameters)
{
    return forward(_rep, context,
        [&](CIMOperations& ops, const OperationContext& ctx) {
            Array<CIMParamValue> out;
            CIMValue result = ops.invokeMethod(ctx, nameSpace, instanceName,
                methodName, inParameters, out);
            outParameters = out;
            return result;
        });
}

void CIMOMHandle::disallowProviderUnload()
{
    if (_rep)
        _rep->unloadBlocks.fetch_add(1);
}

void CIMOMHandle::allowProviderUnload()
{
    if (_rep)
        _rep->unloadBlocks.fetch_sub(1);
}

OperationContext CIMOMHandle::getResponseContext()
{
    // Responses of this server carry no content languages.
    OperationContext context;
    context.insert(ContentLanguageListContainer(ContentLanguageList()));
    return context;
}

CIMOMHandle CIMOMHandleAccess::create(CIMOperations& operations)
{
    CIMOMHandle handle;
    handle._rep = new CIMOMHandleRep(&operations);
    return handle;
}

CIMOperations* CIMOMHandleAccess::backend(const CIMOMHandle& handle)
{
    return handle._rep ? handle._rep->operations : 0;
}

Sint32 CIMOMHandleAccess::unloadBlockCount(const CIMOMHandle& handle)
{
    return handle._rep ? handle._rep->unloadBlocks.load() : 0;
}

PEGASUS_NAMESPACE_END
