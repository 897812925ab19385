// Failed logins per peer (client address): once a peer has failed
// maxFailures times within the window, its credentials are not checked any
// more until the window has passed, so that a flood of wrong passwords
// cannot keep the server busy hashing. Credentials that recently passed are
// still accepted from such a peer (see PasswordFile::recentlyVerified).
#ifndef CIMHOST_LOGIN_THROTTLE_H
#define CIMHOST_LOGIN_THROTTLE_H

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace cimhost
{

class LoginThrottle
{
public:
    using Clock = std::chrono::steady_clock;

    // maxFailures 0: no limit.
    LoginThrottle(int maxFailures, Clock::duration window);

    bool blocked(const std::string& peer);
    void failed(const std::string& peer);

private:
    struct Failures
    {
        int count = 0;
        Clock::time_point since;
    };

    int _maxFailures;
    Clock::duration _window;
    std::mutex _mutex;
    std::map<std::string, Failures> _peers;
};

} // namespace cimhost

#endif
