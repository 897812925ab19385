// `velkjobs watch --indications`: a CIM-XML listener on a local port, and
// the subscription (filter, listener destination, subscription in
// root/interop) that sends it the job life-cycle indications. The
// subscription is removed when the object goes away.
#ifndef VELKJOBS_INDICATIONWATCH_H
#define VELKJOBS_INDICATIONWATCH_H

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace httplib
{
class Server;
}

namespace velkjobs
{

class IndicationWatch
{
public:
    // Listens on `address` (port 0: any free port) and subscribes; throws
    // std::runtime_error when it cannot listen, CIMException when the
    // server refuses the subscription (what was created is removed again).
    IndicationWatch(Pegasus::CIMClient& client, const std::string& address, unsigned port);
    // Unsubscribes (errors are ignored) and stops listening.
    ~IndicationWatch();
    IndicationWatch(const IndicationWatch&) = delete;
    IndicationWatch& operator=(const IndicationWatch&) = delete;

    // The URL the server sends to.
    const std::string& url() const { return _url; }

    // Waits up to `ms` for an indication; true and the indication when one
    // came. Indications come in the order the server sent them.
    bool next(int ms, Pegasus::CIMInstance& indication);

    // Applies a job life-cycle indication to a list of jobs: a created job
    // is added, a modified one replaced, a deleted one removed.
    static void apply(Pegasus::Array<Pegasus::CIMInstance>& jobs,
        const Pegasus::CIMInstance& indication);

    // Removes the filter, destination and subscription. Idempotent.
    void unsubscribe();

private:
    void subscribe();

    Pegasus::CIMClient& _client;
    std::unique_ptr<httplib::Server> _server;
    std::thread _thread;
    std::string _url;
    std::string _name;
    Pegasus::CIMObjectPath _filter, _destination, _subscription;

    std::mutex _mutex;  // guards _bodies
    std::condition_variable _arrived;
    std::deque<std::string> _bodies;  // export requests, decoded by the reader
};

} // namespace velkjobs

#endif
