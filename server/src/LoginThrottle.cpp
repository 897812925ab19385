#include "LoginThrottle.h"

namespace cimhost
{

namespace
{

// Peers remembered at most; past that, those whose window has passed are
// forgotten.
const size_t MAX_PEERS = 10000;

} // namespace

LoginThrottle::LoginThrottle(int maxFailures, Clock::duration window)
    : _maxFailures(maxFailures), _window(window)
{
}

bool LoginThrottle::blocked(const std::string& peer)
{
    if (_maxFailures <= 0)
        return false;
    std::lock_guard<std::mutex> lock(_mutex);
    auto it = _peers.find(peer);
    if (it == _peers.end())
        return false;
    if (Clock::now() - it->second.since >= _window)
    {
        _peers.erase(it);
        return false;
    }
    return it->second.count >= _maxFailures;
}

void LoginThrottle::failed(const std::string& peer)
{
    if (_maxFailures <= 0)
        return;
    auto now = Clock::now();
    std::lock_guard<std::mutex> lock(_mutex);
    if (_peers.size() >= MAX_PEERS)
    {
        for (auto it = _peers.begin(); it != _peers.end();)
            it = now - it->second.since >= _window ? _peers.erase(it) : std::next(it);
        if (_peers.size() >= MAX_PEERS)
            _peers.clear();
    }
    Failures& f = _peers[peer];
    if (f.count == 0 || now - f.since >= _window)
    {
        f.count = 0;
        f.since = now;
    }
    ++f.count;
}

} // namespace cimhost
