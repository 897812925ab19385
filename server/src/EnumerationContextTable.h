// The pull operations of cimhost: the table of open enumeration contexts.
//
// An Open... operation checks its parameters, creates a context bound to the
// user who opened it and to the request namespace, starts the streamed
// router call that produces its objects, and answers the first page. Pulls
// of the right kind by the same user in the same namespace take further
// pages; any other use of a context's name is CIM_ERR_INVALID_ENUMERATION_
// CONTEXT, as is a closed, ended or expired one. A context expires when no
// operation has used it for its OperationTimeout; expiry and close cancel
// the producer and free the context. One operation at a time may use a
// context; CloseEnumeration during a pull abandons that pull.
//
// Only ContinueOnError = false is supported, and no filter query. The number
// of contexts (per server and per user) is bounded; a context counts until
// its producer has ended, so closing cannot be used to pile up running
// provider calls.
#ifndef CIMHOST_ENUMERATION_CONTEXT_TABLE_H
#define CIMHOST_ENUMERATION_CONTEXT_TABLE_H

#include "EnumerationContext.h"

#include <Pegasus/Internal/CIMPullOperations.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace cimhost
{

class Router;

class EnumerationContextTable : public Pegasus::CIMPullOperations
{
public:
    struct Limits
    {
        Pegasus::Uint32 maxContexts = 256;
        Pegasus::Uint32 maxContextsPerUser = 32;
        // Seconds; a NULL OperationTimeout gets the default, 0 (never
        // expire) and more than the maximum are refused.
        Pegasus::Uint32 defaultOperationTimeout = 30;
        Pegasus::Uint32 maxOperationTimeout = 600;
        // Largest page: a larger MaxObjectCount gets pages of this size.
        Pegasus::Uint32 maxObjectCount = 10000;
    };

    explicit EnumerationContextTable(Router& router);
    EnumerationContextTable(Router& router, const Limits& limits);
    // shutdown()
    ~EnumerationContextTable();
    EnumerationContextTable(const EnumerationContextTable&) = delete;
    EnumerationContextTable& operator=(const EnumerationContextTable&) = delete;

    // Cancels every context, waits for their producers, and refuses new
    // Open... operations. Idempotent.
    void shutdown();

    // Contexts that still hold resources: open ones and closed ones whose
    // producer has not ended yet.
    size_t size() const;

    Pegasus::CIMPullResult openEnumerateInstances(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList,
        const Pegasus::CIMPullRequest& request) override;
    Pegasus::CIMPullResult openEnumerateInstancePaths(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        const Pegasus::CIMPullRequest& request) override;
    Pegasus::CIMPullResult openAssociatorInstances(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList,
        const Pegasus::CIMPullRequest& request) override;
    Pegasus::CIMPullResult openAssociatorInstancePaths(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, const Pegasus::CIMPullRequest& request) override;
    Pegasus::CIMPullResult openReferenceInstances(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList,
        const Pegasus::CIMPullRequest& request) override;
    Pegasus::CIMPullResult openReferenceInstancePaths(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, const Pegasus::CIMPullRequest& request) override;

    Pegasus::CIMPullResult pullInstancesWithPath(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::String& enumerationContext,
        Pegasus::Uint32 maxObjectCount) override;
    Pegasus::CIMPullResult pullInstancePaths(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::String& enumerationContext,
        Pegasus::Uint32 maxObjectCount) override;
    void closeEnumeration(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::String& enumerationContext) override;
    Pegasus::CIMValue enumerationCount(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::String& enumerationContext) override;

private:
    typedef std::shared_ptr<EnumerationContext> ContextPtr;

    Pegasus::CIMPullResult open(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, EnumerationContext::Kind kind,
        const Pegasus::CIMPullRequest& request, EnumerationContext::Producer producer);
    // Marks the named context busy for one operation, after the checks of
    // user, namespace and (unless `anyKind`) kind.
    ContextPtr acquire(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::String& name,
        EnumerationContext::Kind kind, bool anyKind);
    // Takes a page for the operation holding `c`, then frees the context at
    // the end of the sequence or on error, or restarts its expiry time.
    Pegasus::CIMPullResult page(const ContextPtr& c, Pegasus::Uint32 maxObjectCount,
        bool first);
    void release(const ContextPtr& c);
    // With _mutex held: cancels the context and moves it to _retired.
    void retireLocked(const ContextPtr& c);
    // With _mutex held: retires expired contexts.
    void expireLocked(EnumerationContext::Clock::time_point now);
    // Joins the producers of retired contexts that have ended.
    void reap();
    void reaperLoop();

    Router& _router;
    const Limits _limits;

    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::map<std::string, ContextPtr> _open;
    std::vector<ContextPtr> _retired;
    bool _stopping = false;
    std::thread _reaper;
};

} // namespace cimhost

#endif
