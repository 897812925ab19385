#include <Pegasus/Common/OperationContext.h>
#include <vector>

PEGASUS_NAMESPACE_BEGIN

namespace
{

struct Entry
{
    String name;
    OperationContext::Container* container;
};

Exception notFound()
{
    return Exception(String("object not found"));
}

}

class OperationContextRep
{
public:
    OperationContextRep() {}

    OperationContextRep(const OperationContextRep& x)
    {
        entries.reserve(x.entries.size());
        try
        {
            for (const Entry& e : x.entries)
                entries.push_back(Entry{e.name, e.container->clone()});
        }
        catch (...)
        {
            clear();
            throw;
        }
    }

    ~OperationContextRep() { clear(); }

    void clear()
    {
        for (Entry& e : entries)
            e.container->destroy();
        entries.clear();
    }

    size_t find(const String& name) const
    {
        for (size_t i = 0; i < entries.size(); i++)
        {
            if (String::equal(entries[i].name, name))
                return i;
        }
        return size_t(-1);
    }

    std::vector<Entry> entries;
};

OperationContext::Container::~Container() {}

OperationContext::OperationContext() : _rep(0) {}

OperationContext::OperationContext(const OperationContext& context)
    : _rep(context._rep && !context._rep->entries.empty()
          ? new OperationContextRep(*context._rep)
          : 0)
{
}

OperationContext::~OperationContext()
{
    delete _rep;
}

OperationContext& OperationContext::operator=(const OperationContext& context)
{
    if (this != &context)
    {
        OperationContextRep* rep = 0;
        if (context._rep && !context._rep->entries.empty())
            rep = new OperationContextRep(*context._rep);
        delete _rep;
        _rep = rep;
    }
    return *this;
}

void OperationContext::clear()
{
    if (_rep)
        _rep->clear();
}

const OperationContext::Container& OperationContext::get(
    const String& containerName) const
{
    size_t pos = _rep ? _rep->find(containerName) : size_t(-1);
    if (pos == size_t(-1))
        throw notFound();
    return *_rep->entries[pos].container;
}

Boolean OperationContext::contains(const String& containerName) const
{
    return _rep && _rep->find(containerName) != size_t(-1);
}

void OperationContext::set(const Container& container)
{
    String name = container.getName();
    size_t pos = _rep ? _rep->find(name) : size_t(-1);
    if (pos == size_t(-1))
        throw notFound();
    Container* copy = container.clone();
    _rep->entries[pos].container->destroy();
    _rep->entries[pos].container = copy;
}

void OperationContext::insert(const Container& container)
{
    String name = container.getName();
    if (!_rep)
        _rep = new OperationContextRep;
    if (_rep->find(name) != size_t(-1))
        throw Exception(String("object already exists."));
    _rep->entries.push_back(Entry{name, container.clone()});
}

void OperationContext::remove(const String& containerName)
{
    size_t pos = _rep ? _rep->find(containerName) : size_t(-1);
    if (pos == size_t(-1))
        throw notFound();
    _rep->entries[pos].container->destroy();
    _rep->entries.erase(_rep->entries.begin() + pos);
}

//
// IdentityContainer
//

const String IdentityContainer::NAME("IdentityContainer");

IdentityContainer::IdentityContainer() {}

IdentityContainer::IdentityContainer(
    const OperationContext::Container& container)
{
    const IdentityContainer* p =
        dynamic_cast<const IdentityContainer*>(&container);
    if (!p)
        throw DynamicCastFailedException();
    _userName = p->_userName;
    _ipAddress = p->_ipAddress;
}

IdentityContainer::IdentityContainer(const IdentityContainer& container)
    : OperationContext::Container(), _userName(container._userName),
      _ipAddress(container._ipAddress)
{
}

IdentityContainer::IdentityContainer(const String& userName)
    : _userName(userName)
{
}

IdentityContainer::IdentityContainer(const String& userName,
    const String& ipAddress)
    : _userName(userName), _ipAddress(ipAddress)
{
}

IdentityContainer::~IdentityContainer() {}

IdentityContainer& IdentityContainer::operator=(
    const IdentityContainer& container)
{
    _userName = container._userName;
    _ipAddress = container._ipAddress;
    return *this;
}

String IdentityContainer::getName() const
{
    return NAME;
}

OperationContext::Container* IdentityContainer::clone() const
{
    return new IdentityContainer(*this);
}

void IdentityContainer::destroy()
{
    delete this;
}

String IdentityContainer::getUserName() const
{
    return _userName;
}

String IdentityContainer::getIpAddress() const
{
    return _ipAddress;
}

//
// AcceptLanguageListContainer
//

const String AcceptLanguageListContainer::NAME("AcceptLanguageListContainer");

AcceptLanguageListContainer::AcceptLanguageListContainer() {}

AcceptLanguageListContainer::AcceptLanguageListContainer(
    const OperationContext::Container& container)
{
    const AcceptLanguageListContainer* p =
        dynamic_cast<const AcceptLanguageListContainer*>(&container);
    if (!p)
        throw DynamicCastFailedException();
    _languages = p->_languages;
}

AcceptLanguageListContainer::AcceptLanguageListContainer(
    const AcceptLanguageListContainer& container)
    : OperationContext::Container(), _languages(container._languages)
{
}

AcceptLanguageListContainer::AcceptLanguageListContainer(
    const AcceptLanguageList& languages)
    : _languages(languages)
{
}

AcceptLanguageListContainer::~AcceptLanguageListContainer() {}

AcceptLanguageListContainer& AcceptLanguageListContainer::operator=(
    const AcceptLanguageListContainer& container)
{
    _languages = container._languages;
    return *this;
}

String AcceptLanguageListContainer::getName() const
{
    return NAME;
}

OperationContext::Container* AcceptLanguageListContainer::clone() const
{
    return new AcceptLanguageListContainer(*this);
}

void AcceptLanguageListContainer::destroy()
{
    delete this;
}

AcceptLanguageList AcceptLanguageListContainer::getLanguages() const
{
    return _languages;
}

//
// ContentLanguageListContainer
//

const String ContentLanguageListContainer::NAME(
    "ContentLanguageListContainer");

ContentLanguageListContainer::ContentLanguageListContainer() {}

ContentLanguageListContainer::ContentLanguageListContainer(
    const OperationContext::Container& container)
{
    const ContentLanguageListContainer* p =
        dynamic_cast<const ContentLanguageListContainer*>(&container);
    if (!p)
        throw DynamicCastFailedException();
    _languages = p->_languages;
}

ContentLanguageListContainer::ContentLanguageListContainer(
    const ContentLanguageListContainer& container)
    : OperationContext::Container(), _languages(container._languages)
{
}

ContentLanguageListContainer::ContentLanguageListContainer(
    const ContentLanguageList& languages)
    : _languages(languages)
{
}

ContentLanguageListContainer::~ContentLanguageListContainer() {}

ContentLanguageListContainer& ContentLanguageListContainer::operator=(
    const ContentLanguageListContainer& container)
{
    _languages = container._languages;
    return *this;
}

String ContentLanguageListContainer::getName() const
{
    return NAME;
}

OperationContext::Container* ContentLanguageListContainer::clone() const
{
    return new ContentLanguageListContainer(*this);
}

void ContentLanguageListContainer::destroy()
{
    delete this;
}

ContentLanguageList ContentLanguageListContainer::getLanguages() const
{
    return _languages;
}

//
// TimeoutContainer
//

const String TimeoutContainer::NAME("TimeoutContainer");

TimeoutContainer::TimeoutContainer() : _value(0) {}

TimeoutContainer::TimeoutContainer(
    const OperationContext::Container& container)
{
    const TimeoutContainer* p =
        dynamic_cast<const TimeoutContainer*>(&container);
    if (!p)
        throw DynamicCastFailedException();
    _value = p->_value;
}

TimeoutContainer::TimeoutContainer(Uint32 timeout) : _value(timeout) {}

String TimeoutContainer::getName() const
{
    return NAME;
}

OperationContext::Container* TimeoutContainer::clone() const
{
    return new TimeoutContainer(*this);
}

void TimeoutContainer::destroy()
{
    delete this;
}

Uint32 TimeoutContainer::getTimeOut() const
{
    return _value;
}

PEGASUS_NAMESPACE_END
