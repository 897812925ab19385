#ifndef Pegasus_ContentLanguageList_h
#define Pegasus_ContentLanguageList_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/LanguageTag.h>

PEGASUS_NAMESPACE_BEGIN

// The languages of a message or response, in order. A value: copies are
// independent.
class PEGASUS_COMMON_LINKAGE ContentLanguageList
{
public:
    ContentLanguageList();
    ContentLanguageList(const ContentLanguageList& contentLanguages);
    ~ContentLanguageList();
    ContentLanguageList& operator=(const ContentLanguageList& contentLanguages);

    Uint32 size() const;
    LanguageTag getLanguageTag(Uint32 index) const;
    void append(const LanguageTag& languageTag);
    void remove(Uint32 index);
    Uint32 find(const LanguageTag& languageTag) const;
    void clear();

    Boolean operator==(const ContentLanguageList& contentLanguages) const;
    Boolean operator!=(const ContentLanguageList& contentLanguages) const;

private:
    Array<LanguageTag> _tags;
};

PEGASUS_NAMESPACE_END

#endif
