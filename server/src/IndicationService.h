// Indication subscriptions: the instances of CIM_IndicationFilter,
// CIM_ListenerDestinationCIMXML and CIM_IndicationSubscription (kept in the
// repository, checked here, saved to the subscription file), the indication
// providers they call for, and the delivery of what those providers raise.
//
// - A filter needs Name, Query and QueryLanguage "WQL" (WqlQuery); its FROM
//   class must be an indication class of each source namespace
//   (SourceNamespaces, else SourceNamespace, else the filter's namespace).
// - A destination needs an http or https Destination URL.
// - A subscription needs an existing Filter and Handler. Filters and
//   destinations that a subscription names cannot be deleted. The creating
//   user must be able to read the class the filter's indications carry (the
//   `SourceInstance ISA` classes, else CIM_ManagedElement in the namespaces
//   of the indication providers the filter selects): the check's error
//   refuses the subscription.
// - System keys left empty are filled: SystemCreationClassName
//   "CIM_ComputerSystem", SystemName the server's host name,
//   CreationClassName the instance's class.
// - An indication provider (PG_ProviderCapabilities type 4) is enabled when
//   the first subscription whose filter could select one of its classes in
//   one of its namespaces exists, and disabled when the last one goes.
// - Each indication a provider delivers goes, as one ExportIndication
//   request, to every destination with an enabled subscription whose filter
//   selects it (once per destination), through that destination's queue.
#ifndef CIMHOST_INDICATION_SERVICE_H
#define CIMHOST_INDICATION_SERVICE_H

#include "IndicationDestination.h"
#include "ProviderManager.h"
#include "ProviderRegistry.h"
#include "SubscriptionStore.h"
#include "WqlQuery.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/OperationContext.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace cimhost
{

class Logger;
class Repository;

class IndicationService
{
public:
    IndicationService(Repository& repository, const ProviderRegistry& registry,
        ProviderManager& providers, const Pegasus::String& hostName,
        const std::string& subscriptionFile, const IndicationDestination::Settings& settings,
        Logger& logger);
    ~IndicationService();
    IndicationService(const IndicationService&) = delete;
    IndicationService& operator=(const IndicationService&) = delete;

    // Restores the saved subscriptions (into the repository) and enables
    // the providers they need. Throws std::runtime_error when the file
    // cannot be read.
    void start();
    // Disables every enabled provider and stops delivery. Idempotent.
    void stop();

    // Whether instance operations on this class are the service's.
    static bool handles(const Pegasus::CIMName& className);

    // Reads instance names of a class in a namespace as the requesting user;
    // throws what that read throws.
    typedef std::function<void(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className)> ReadCheck;

    // A subscription is created only when `mayRead` accepts every class its
    // filter's indications carry.
    Pegasus::CIMObjectPath createInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& newInstance, const ReadCheck& mayRead);
    void deleteInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName);

    // Called (through the handler given to the provider) for each indication
    // a provider raises in one of `namespaces`.
    void dispatch(const std::vector<Pegasus::CIMNamespaceName>& namespaces,
        const Pegasus::CIMInstance& indication);

    class Handler;

private:
    struct Filter
    {
        Pegasus::CIMNamespaceName nameSpace;
        std::vector<Pegasus::CIMNamespaceName> sourceNamespaces;
        std::shared_ptr<const WqlQuery> query;
        Pegasus::CIMInstance instance;
    };
    struct Destination
    {
        Pegasus::CIMNamespaceName nameSpace;
        std::shared_ptr<IndicationDestination> listener;
        Pegasus::CIMInstance instance;
    };
    struct Subscription
    {
        Pegasus::CIMNamespaceName nameSpace;
        std::string filterKey;
        std::string destinationKey;
        bool enabled = true;
        Pegasus::CIMInstance instance;
    };
    // What dispatch() reads: immutable once published.
    struct Route
    {
        std::vector<Pegasus::CIMNamespaceName> sourceNamespaces;
        std::shared_ptr<const WqlQuery> query;
        std::shared_ptr<IndicationDestination> listener;
    };
    struct EnabledProvider;

    Pegasus::CIMObjectPath addLocked(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& newInstance, bool save);
    Pegasus::CIMInstance withSystemKeys(const Pegasus::CIMInstance& instance) const;
    Filter checkFilter(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& instance) const;
    // The (namespace, class) pairs a subscription's creator must be able to
    // read to receive the filter's indications.
    std::vector<std::pair<Pegasus::CIMNamespaceName, Pegasus::CIMName>> sourcesOf(
        const Filter& filter) const;
    std::string referenceKey(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& instance, const char* property) const;
    void saveLocked();
    void publishLocked();
    // Providers whose indications the filter could select.
    std::vector<const ProviderCapability*> providersFor(const Filter& filter) const;
    void retainProviders(const Filter& filter);
    void releaseProviders(const Filter& filter);

    Repository& _repository;
    const ProviderRegistry& _registry;
    ProviderManager& _providers;
    Pegasus::String _hostName;
    SubscriptionStore _store;
    IndicationDestination::Settings _settings;
    Logger& _logger;

    std::mutex _mutex;  // guards the maps below and serializes changes
    bool _stopped = false;
    std::map<std::string, Filter> _filters;
    std::map<std::string, Destination> _destinations;
    std::map<std::string, Subscription> _subscriptions;
    std::map<std::string, std::unique_ptr<EnabledProvider>> _enabled;

    std::mutex _routesMutex;  // guards _routes (the pointer)
    std::shared_ptr<const std::vector<Route>> _routes;
    std::atomic<unsigned long> _messageId{0};
};

} // namespace cimhost

#endif
