// One listener that indications are exported to: a bounded queue of export
// request bodies and a thread that posts them, in order, as CIM-XML
// ExportIndication requests. A request that fails is tried again with a
// growing pause; once a listener has failed every try, later indications get
// one try each until it answers again, so that a dead listener costs its own
// thread only. Log lines (warning):
//   indication listener <url> is not reachable: <reason>; dropping indications
//   indication listener <url> is reachable again; <n> indications were dropped
//   indication listener <url>: queue full (<limit>); dropping indications
//   indication listener <url>: <n> indications dropped while its queue was full
#ifndef CIMHOST_INDICATION_DESTINATION_H
#define CIMHOST_INDICATION_DESTINATION_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace cimhost
{

class Logger;

class IndicationDestination
{
public:
    struct Settings
    {
        size_t queueLimit = 1000;
        int attempts = 4;
        std::chrono::milliseconds firstRetry{100};
        int timeoutSeconds = 5;
    };

    // Parts of a listener URL: http or https, a host, an optional port and
    // path. False (and why) for anything else.
    static bool parseUrl(const std::string& url, std::string& schemeHostPort,
        std::string& path, std::string& why);

    IndicationDestination(const std::string& url, const Settings& settings, Logger& logger);
    // Stops the thread; indications still queued are dropped.
    ~IndicationDestination();
    IndicationDestination(const IndicationDestination&) = delete;
    IndicationDestination& operator=(const IndicationDestination&) = delete;

    const std::string& url() const { return _url; }

    // Queues one export request body; never waits for the listener.
    void enqueue(std::shared_ptr<const std::string> body);

private:
    void run();
    // One POST; empty on success, else why it failed.
    std::string post(const std::string& body);

    const std::string _url;
    const Settings _settings;
    Logger& _logger;
    std::string _schemeHostPort;
    std::string _path;

    std::mutex _mutex;  // guards the members below
    std::condition_variable _wake;
    std::deque<std::shared_ptr<const std::string>> _queue;
    size_t _droppedFull = 0;
    bool _stopping = false;

    std::thread _thread;  // last: started once the rest is ready
};

} // namespace cimhost

#endif
