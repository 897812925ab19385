// The file that keeps indication filters, listener destinations and
// subscriptions across restarts: one record per instance (its namespace and
// its CIM-XML), rewritten whole and atomically on every change.
#ifndef CIMHOST_SUBSCRIPTION_STORE_H
#define CIMHOST_SUBSCRIPTION_STORE_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <string>
#include <vector>

namespace cimhost
{

class SubscriptionStore
{
public:
    struct Record
    {
        Pegasus::CIMNamespaceName nameSpace;
        Pegasus::CIMInstance instance;
    };

    // Empty path: nothing is kept.
    explicit SubscriptionStore(const std::string& path) : _path(path) {}

    const std::string& path() const { return _path; }

    // The records of the file, none when it does not exist; throws
    // std::runtime_error naming the file when it cannot be read or decoded.
    std::vector<Record> load() const;
    // Replaces the file; throws std::runtime_error when it cannot.
    void save(const std::vector<Record>& records) const;

private:
    std::string _path;
};

} // namespace cimhost

#endif
