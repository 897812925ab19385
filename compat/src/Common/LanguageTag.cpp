#include <Pegasus/Common/LanguageTag.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

bool isAsciiAlpha(Uint16 c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isAsciiAlnum(Uint16 c)
{
    return isAsciiAlpha(c) || (c >= '0' && c <= '9');
}

Exception invalidTag(const String& tag)
{
    String text("Invalid language tag \"");
    text.append(tag);
    text.append(String("\"."));
    return Exception(text);
}

}

LanguageTag::LanguageTag() {}

LanguageTag::LanguageTag(const String& languageTagString)
    : _tag(languageTagString)
{
    const String& tag = _tag;
    const Uint32 n = tag.size();
    if (n == 1 && Uint16(tag[0]) == '*')
    {
        _language = _tag;
        return;
    }
    // Walk the subtags: [start, i) is the current one.
    Uint32 start = 0;
    Uint32 index = 0;
    for (Uint32 i = 0; i <= n; i++)
    {
        if (i < n && Uint16(tag[i]) != '-')
        {
            Uint16 c = tag[i];
            if (index == 0 ? !isAsciiAlpha(c) : !isAsciiAlnum(c))
                throw invalidTag(_tag);
            continue;
        }
        Uint32 len = i - start;
        if (len < 1 || len > 8)
            throw invalidTag(_tag);
        if (index == 0)
            _language = tag.subString(start, len);
        else if (index == 1 && len == 2)
            _country = tag.subString(start, len);
        else if (_variant.size() == 0)
            _variant = tag.subString(start);
        start = i + 1;
        index++;
    }
}

LanguageTag::LanguageTag(const LanguageTag& languageTag)
    : _tag(languageTag._tag), _language(languageTag._language),
      _country(languageTag._country), _variant(languageTag._variant)
{
}

LanguageTag::~LanguageTag() {}

LanguageTag& LanguageTag::operator=(const LanguageTag& languageTag)
{
    _tag = languageTag._tag;
    _language = languageTag._language;
    _country = languageTag._country;
    _variant = languageTag._variant;
    return *this;
}

void LanguageTag::_check() const
{
    if (_tag.size() == 0)
        throw UninitializedObjectException();
}

String LanguageTag::getLanguage() const
{
    _check();
    return _language;
}

String LanguageTag::getCountry() const
{
    _check();
    return _country;
}

String LanguageTag::getVariant() const
{
    _check();
    return _variant;
}

String LanguageTag::toString() const
{
    _check();
    return _tag;
}

Boolean LanguageTag::operator==(const LanguageTag& languageTag) const
{
    _check();
    languageTag._check();
    return String::equalNoCase(_tag, languageTag._tag);
}

Boolean LanguageTag::operator!=(const LanguageTag& languageTag) const
{
    return !operator==(languageTag);
}

PEGASUS_NAMESPACE_END
