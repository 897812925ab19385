// The password file of cimhost: one "user:hash" line per user, the hash made
// by crypt(3) with a yescrypt salt (sha512-crypt where yescrypt is not
// available). Successful verifications are cached in memory for a minute
// (keyed by an HMAC with a per-process secret, never the password itself)
// or until the file changes, so that repeated requests do not pay for the
// hash every time. An unknown or disabled user costs the same hash as a
// wrong password, so the time of an answer does not tell which users exist.
#ifndef CIMHOST_PASSWORD_FILE_H
#define CIMHOST_PASSWORD_FILE_H

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <sys/types.h>

namespace cimhost
{

class PasswordFile
{
public:
    explicit PasswordFile(std::string path);

    const std::string& path() const { return _path; }

    // True when the user exists and the password matches. Re-reads the file
    // when it changed since the last call.
    bool verify(const std::string& user, const std::string& password);
    // True when verify() accepted these credentials within the last minute
    // and the file has not changed since; never hashes.
    bool recentlyVerified(const std::string& user, const std::string& password);

    // Adds the user or replaces its password; the file is rewritten
    // atomically with mode 0600. Throws std::runtime_error.
    void setPassword(const std::string& user, const std::string& password);
    // False when the user was not there.
    bool remove(const std::string& user);

    // A new crypt(3) hash of the password with a fresh salt.
    static std::string hash(const std::string& password);
    // True when the user name can be stored and used: not empty, no ':', no
    // control characters.
    static bool validUserName(const std::string& user);

private:
    void reloadIfChanged();  // with _mutex held
    std::map<std::string, std::string> readEntries() const;
    void writeEntries(const std::map<std::string, std::string>& entries) const;
    std::string cacheKey(const std::string& user, const std::string& password) const;
    bool cachedLocked(const std::string& user, const std::string& key);  // with _mutex held
    const std::string& dummyHash();

    std::string _path;
    std::mutex _mutex;
    std::map<std::string, std::string> _entries;
    std::map<std::string, std::chrono::steady_clock::time_point> _verified;  // key -> expiry
    std::once_flag _dummyOnce;
    std::string _dummy;
    bool _loaded = false;
    time_t _mtime = 0;
    long _mtimeNsec = 0;
    off_t _size = -1;
    unsigned char _secret[32];
};

} // namespace cimhost

#endif
