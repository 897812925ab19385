#ifndef Pegasus_OperationContext_h
#define Pegasus_OperationContext_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>

PEGASUS_NAMESPACE_BEGIN

class OperationContextRep;

// The side information of an operation, as a set of containers identified
// by the exact (case-sensitive) text of their getName(). The context owns
// clones of the containers it is given; copying a context clones them all.
class PEGASUS_COMMON_LINKAGE OperationContext
{
public:
    class PEGASUS_COMMON_LINKAGE Container
    {
    public:
        virtual ~Container();
        virtual String getName() const = 0;
        virtual Container* clone() const = 0;
        virtual void destroy() = 0;
    };

    OperationContext();
    OperationContext(const OperationContext& context);
    virtual ~OperationContext();
    OperationContext& operator=(const OperationContext& context);

    void clear();
    // Throws Exception("object not found") when absent.
    const Container& get(const String& containerName) const;
    Boolean contains(const String& containerName) const;
    // Replaces the container of the same name; throws "object not found"
    // when there is none.
    void set(const Container& container);
    // Throws Exception("object already exists.") on a duplicate name.
    void insert(const Container& container);
    // Throws "object not found" when absent.
    void remove(const String& containerName);

private:
    OperationContextRep* _rep;
};

// The user on whose behalf the operation runs (and, in this SDK, the
// address of the client that sent it).
class PEGASUS_COMMON_LINKAGE IdentityContainer
    : virtual public OperationContext::Container
{
public:
    static const String NAME;

    IdentityContainer(const OperationContext::Container& container);
    IdentityContainer(const IdentityContainer& container);
    IdentityContainer(const String& userName);
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    IdentityContainer(const String& userName, const String& ipAddress);
#endif
    virtual ~IdentityContainer();
    IdentityContainer& operator=(const IdentityContainer& container);

    virtual String getName() const;
    virtual OperationContext::Container* clone() const;
    virtual void destroy();

    String getUserName() const;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    // The client's IP address as text; empty when unknown.
    String getIpAddress() const;
#endif

private:
    IdentityContainer();

    String _userName;
    String _ipAddress;
};

// The languages the client accepts in the response.
class PEGASUS_COMMON_LINKAGE AcceptLanguageListContainer
    : virtual public OperationContext::Container
{
public:
    static const String NAME;

    AcceptLanguageListContainer(const OperationContext::Container& container);
    AcceptLanguageListContainer(const AcceptLanguageListContainer& container);
    AcceptLanguageListContainer(const AcceptLanguageList& languages);
    virtual ~AcceptLanguageListContainer();
    AcceptLanguageListContainer& operator=(
        const AcceptLanguageListContainer& container);

    virtual String getName() const;
    virtual OperationContext::Container* clone() const;
    virtual void destroy();

    AcceptLanguageList getLanguages() const;

private:
    AcceptLanguageListContainer();

    AcceptLanguageList _languages;
};

// The languages of the request (or response) content.
class PEGASUS_COMMON_LINKAGE ContentLanguageListContainer
    : virtual public OperationContext::Container
{
public:
    static const String NAME;

    ContentLanguageListContainer(const OperationContext::Container& container);
    ContentLanguageListContainer(
        const ContentLanguageListContainer& container);
    ContentLanguageListContainer(const ContentLanguageList& languages);
    virtual ~ContentLanguageListContainer();
    ContentLanguageListContainer& operator=(
        const ContentLanguageListContainer& container);

    virtual String getName() const;
    virtual OperationContext::Container* clone() const;
    virtual void destroy();

    ContentLanguageList getLanguages() const;

private:
    ContentLanguageListContainer();

    ContentLanguageList _languages;
};

// A time-out for the operation.
class PEGASUS_COMMON_LINKAGE TimeoutContainer
    : virtual public OperationContext::Container
{
public:
    static const String NAME;

    TimeoutContainer(const OperationContext::Container& container);
    TimeoutContainer(Uint32 timeout);

    virtual String getName() const;
    virtual OperationContext::Container* clone() const;
    virtual void destroy();

    Uint32 getTimeOut() const;

private:
    TimeoutContainer();

    Uint32 _value;
};

PEGASUS_NAMESPACE_END

#endif
