#ifndef Pegasus_AcceptLanguageList_h
#define Pegasus_AcceptLanguageList_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/LanguageTag.h>

PEGASUS_NAMESPACE_BEGIN

// The languages a client accepts, each with a quality value between 0 and
// 1, kept in descending order of quality (equal qualities keep the order of
// insertion). A value: copies are independent.
class PEGASUS_COMMON_LINKAGE AcceptLanguageList
{
public:
    AcceptLanguageList();
    AcceptLanguageList(const AcceptLanguageList& acceptLanguages);
    ~AcceptLanguageList();
    AcceptLanguageList& operator=(const AcceptLanguageList& acceptLanguages);

    Uint32 size() const;
    LanguageTag getLanguageTag(Uint32 index) const;
    Real32 getQualityValue(Uint32 index) const;
    // Throws InvalidAcceptLanguageHeader for a quality outside [0, 1].
    void insert(const LanguageTag& languageTag, Real32 qualityValue);
    void remove(Uint32 index);
    Uint32 find(const LanguageTag& languageTag) const;
    void clear();

    Boolean operator==(const AcceptLanguageList& acceptLanguages) const;
    Boolean operator!=(const AcceptLanguageList& acceptLanguages) const;

private:
    Array<LanguageTag> _tags;
    Array<Real32> _qualities;
};

PEGASUS_NAMESPACE_END

#endif
