#ifndef Pegasus_LanguageTag_h
#define Pegasus_LanguageTag_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

// A language tag such as "en", "en-US" or "zh-Hant-TW" (or the wildcard "*").
// The text is checked on construction: subtags of 1 to 8 letters or digits
// separated by '-', the first one letters only. Comparison ignores case.
class PEGASUS_COMMON_LINKAGE LanguageTag
{
public:
    LanguageTag();
    LanguageTag(const String& languageTagString);
    LanguageTag(const LanguageTag& languageTag);
    ~LanguageTag();
    LanguageTag& operator=(const LanguageTag& languageTag);

    // The first subtag.
    String getLanguage() const;
    // The second subtag when it has two characters, else "".
    String getCountry() const;
    // Everything after the language and country subtags.
    String getVariant() const;
    // The tag as given.
    String toString() const;

    Boolean operator==(const LanguageTag& languageTag) const;
    Boolean operator!=(const LanguageTag& languageTag) const;

private:
    void _check() const;

    String _tag;
    String _language;
    String _country;
    String _variant;
};

PEGASUS_NAMESPACE_END

#endif
