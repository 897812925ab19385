// The password file of cimhost: one "user:hash" line per user, the hash made
// by crypt(3) with a yescrypt salt (sha512-crypt where yescrypt is not
// available). Successful verifications are cached in memory for a minute
// (keyed by an HMAC with a per-process secret, never the password itself)
// or until the file changes, so that repeated requests do not pay for the
// hash every time; a connection can keep what a check gave it and ask
// whether it still holds, which needs no hash at all. An unknown or disabled
// user costs the same hash as a wrong password, so the time of an answer
// does not tell which users exist.
#ifndef CIMHOST_PASSWORD_FILE_H
#define CIMHOST_PASSWORD_FILE_H

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace cimhost
{

class PasswordFile
{
public:
    explicit PasswordFile(std::string path);

    // What an accepting check gives its caller: the same credentials stay
    // accepted until the file changes or the minute of the cache is over.
    struct Acceptance
    {
        std::uint64_t generation = 0;  // of the file's contents; 0: none
        std::chrono::steady_clock::time_point expiry;
    };

    const std::string& path() const { return _path; }

    // True when the user exists and the password matches. Re-reads the file
    // when it changed since the last call. When it accepts and the
    // acceptance is remembered, *acceptance (if given) says until when.
    bool verify(const std::string& user, const std::string& password,
        Acceptance* acceptance = nullptr);
    // True when verify() accepted these credentials within the last minute
    // and the file has not changed since; never hashes.
    bool recentlyVerified(const std::string& user, const std::string& password,
        Acceptance* acceptance = nullptr);
    // True while what verify() or recentlyVerified() accepted still holds:
    // the file has not changed since and the minute is not over. Costs a
    // look at the file's status, no hash.
    bool stillAccepted(const Acceptance& acceptance);

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
    // With _mutex held; status: the file's, taken by the caller (null when
    // there is no file).
    void reloadIfChanged();
    void reloadIfChanged(const struct stat* status);
    std::map<std::string, std::string> readEntries() const;
    void writeEntries(const std::map<std::string, std::string>& entries) const;
    std::string cacheKey(const std::string& user, const std::string& password) const;
    // With _mutex held.
    bool cachedLocked(const std::string& user, const std::string& key, Acceptance* acceptance);
    const std::string& dummyHash();

    std::string _path;
    std::mutex _mutex;
    std::map<std::string, std::string> _entries;
    std::map<std::string, std::chrono::steady_clock::time_point> _verified;  // key -> expiry
    std::once_flag _dummyOnce;
    std::string _dummy;
    bool _loaded = false;
    std::uint64_t _generation = 0;  // counts the changes of _entries and _verified
    dev_t _device = 0;
    ino_t _inode = 0;
    time_t _mtime = 0;
    long _mtimeNsec = 0;
    off_t _size = -1;
    unsigned char _secret[32];
};

} // namespace cimhost

#endif
