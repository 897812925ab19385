#include "PasswordFile.h"

#include <crypt.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <openssl/crypto.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace cimhost
{

namespace
{

// How long a successful verification is remembered, and for how many
// credentials at most.
const std::chrono::seconds CACHE_TIME(60);
const size_t MAX_CACHED = 4096;

} // namespace

PasswordFile::PasswordFile(std::string path) : _path(std::move(path))
{
    if (RAND_bytes(_secret, sizeof(_secret)) != 1)
        throw std::runtime_error("cannot get random bytes");
}

bool PasswordFile::validUserName(const std::string& user)
{
    if (user.empty())
        return false;
    // No control characters: the name goes into log lines of the server and
    // of the providers.
    for (unsigned char c : user)
        if (c == ':' || c < 0x20 || c == 0x7F)
            return false;
    return true;
}

std::string PasswordFile::hash(const std::string& password)
{
    char salt[CRYPT_GENSALT_OUTPUT_SIZE];
    if (!crypt_gensalt_rn("$y$", 0, nullptr, 0, salt, sizeof(salt)) &&
        !crypt_gensalt_rn("$6$", 0, nullptr, 0, salt, sizeof(salt)))
        throw std::runtime_error("cannot make a password salt");
    std::unique_ptr<crypt_data> data(new crypt_data());
    const char* out = crypt_r(password.c_str(), salt, data.get());
    if (!out || out[0] == '*')
        throw std::runtime_error("cannot hash the password");
    return out;
}

std::map<std::string, std::string> PasswordFile::readEntries() const
{
    std::map<std::string, std::string> entries;
    std::ifstream in(_path);
    std::string line;
    while (std::getline(in, line))
    {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        size_t colon = line.find(':');
        if (colon == std::string::npos || colon == 0)
            continue;
        entries[line.substr(0, colon)] = line.substr(colon + 1);
    }
    return entries;
}

void PasswordFile::writeEntries(const std::map<std::string, std::string>& entries) const
{
    std::string tmp = _path + ".tmp." + std::to_string(::getpid());
    mode_t old = ::umask(077);
    std::FILE* f = std::fopen(tmp.c_str(), "w");
    ::umask(old);
    if (!f)
        throw std::runtime_error("cannot write " + tmp + ": " + std::strerror(errno));
    for (const auto& e : entries)
        std::fprintf(f, "%s:%s\n", e.first.c_str(), e.second.c_str());
    bool ok = std::fflush(f) == 0 && ::fsync(fileno(f)) == 0;
    ok = (std::fclose(f) == 0) && ok;
    if (!ok || ::rename(tmp.c_str(), _path.c_str()) != 0)
    {
        ::unlink(tmp.c_str());
        throw std::runtime_error("cannot write " + _path + ": " + std::strerror(errno));
    }
}

void PasswordFile::reloadIfChanged()
{
    struct stat st;
    reloadIfChanged(::stat(_path.c_str(), &st) == 0 ? &st : nullptr);
}

void PasswordFile::reloadIfChanged(const struct stat* status)
{
    if (!status)
    {
        _entries.clear();
        _verified.clear();
        ++_generation;
        _loaded = true;
        _size = -1;
        return;
    }
    // A file put in place by a rename is another file, whatever its time.
    const struct stat& st = *status;
    if (_loaded && st.st_dev == _device && st.st_ino == _inode &&
        st.st_mtim.tv_sec == _mtime && st.st_mtim.tv_nsec == _mtimeNsec && st.st_size == _size)
        return;
    _entries = readEntries();
    _verified.clear();
    ++_generation;
    _loaded = true;
    _device = st.st_dev;
    _inode = st.st_ino;
    _mtime = st.st_mtim.tv_sec;
    _mtimeNsec = st.st_mtim.tv_nsec;
    _size = st.st_size;
}

std::string PasswordFile::cacheKey(const std::string& user, const std::string& password) const
{
    std::string message = user + '\0' + password;
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned int len = 0;
    HMAC(EVP_sha256(), _secret, sizeof(_secret),
        reinterpret_cast<const unsigned char*>(message.data()), message.size(), mac, &len);
    return std::string(reinterpret_cast<const char*>(mac), len);
}

const std::string& PasswordFile::dummyHash()
{
    std::call_once(_dummyOnce, [this] {
        unsigned char random[16];
        RAND_bytes(random, sizeof(random));
        _dummy = hash(std::string(reinterpret_cast<const char*>(random), sizeof(random)));
    });
    return _dummy;
}

bool PasswordFile::cachedLocked(const std::string& user, const std::string& key,
    Acceptance* acceptance)
{
    reloadIfChanged();
    if (!_entries.count(user))
        return false;
    auto it = _verified.find(key);
    if (it == _verified.end())
        return false;
    if (std::chrono::steady_clock::now() < it->second)
    {
        if (acceptance)
            *acceptance = Acceptance{_generation, it->second};
        return true;
    }
    _verified.erase(it);
    return false;
}

bool PasswordFile::recentlyVerified(const std::string& user, const std::string& password,
    Acceptance* acceptance)
{
    std::string key = cacheKey(user, password);
    std::lock_guard<std::mutex> lock(_mutex);
    return cachedLocked(user, key, acceptance);
}

bool PasswordFile::stillAccepted(const Acceptance& acceptance)
{
    if (acceptance.generation == 0)
        return false;
    // The file's status is taken before the lock: connections do not wait
    // on each other's system call.
    struct stat st;
    bool exists = ::stat(_path.c_str(), &st) == 0;
    std::lock_guard<std::mutex> lock(_mutex);
    reloadIfChanged(exists ? &st : nullptr);
    return acceptance.generation == _generation &&
        std::chrono::steady_clock::now() < acceptance.expiry;
}

bool PasswordFile::verify(const std::string& user, const std::string& password,
    Acceptance* acceptance)
{
    std::string stored;
    std::string key = cacheKey(user, password);
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (cachedLocked(user, key, acceptance))
            return true;
        auto it = _entries.find(user);
        if (it != _entries.end())
            stored = it->second;
    }
    // Unknown and disabled users are hashed too, against a hash no password
    // matches.
    bool usable = !stored.empty() && stored[0] != '!' && stored[0] != '*';
    const std::string& against = usable ? stored : dummyHash();
    std::unique_ptr<crypt_data> data(new crypt_data());
    const char* out = crypt_r(password.c_str(), against.c_str(), data.get());
    if (!usable || !out || std::strlen(out) != against.size() ||
        CRYPTO_memcmp(out, against.data(), against.size()) != 0)
        return false;
    auto now = std::chrono::steady_clock::now();
    std::lock_guard<std::mutex> lock(_mutex);
    auto it = _entries.find(user);
    if (it == _entries.end() || it->second != stored)
        return true;
    if (_verified.size() >= MAX_CACHED)
    {
        for (auto v = _verified.begin(); v != _verified.end();)
            v = v->second <= now ? _verified.erase(v) : std::next(v);
        if (_verified.size() >= MAX_CACHED)
        {
            _verified.clear();
            ++_generation;
        }
    }
    _verified[key] = now + CACHE_TIME;
    if (acceptance)
        *acceptance = Acceptance{_generation, now + CACHE_TIME};
    return true;
}

void PasswordFile::setPassword(const std::string& user, const std::string& password)
{
    if (!validUserName(user))
        throw std::runtime_error("invalid user name: " + user);
    std::lock_guard<std::mutex> lock(_mutex);
    std::map<std::string, std::string> entries = readEntries();
    entries[user] = hash(password);
    writeEntries(entries);
    _loaded = false;
}

bool PasswordFile::remove(const std::string& user)
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::map<std::string, std::string> entries = readEntries();
    if (!entries.erase(user))
        return false;
    writeEntries(entries);
    _loaded = false;
    return true;
}

} // namespace cimhost
