#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/InternalException.h>

PEGASUS_NAMESPACE_BEGIN

AcceptLanguageList::AcceptLanguageList() {}

AcceptLanguageList::AcceptLanguageList(
    const AcceptLanguageList& acceptLanguages)
    : _tags(acceptLanguages._tags), _qualities(acceptLanguages._qualities)
{
}

AcceptLanguageList::~AcceptLanguageList() {}

AcceptLanguageList& AcceptLanguageList::operator=(
    const AcceptLanguageList& acceptLanguages)
{
    _tags = acceptLanguages._tags;
    _qualities = acceptLanguages._qualities;
    return *this;
}

Uint32 AcceptLanguageList::size() const
{
    return _tags.size();
}

LanguageTag AcceptLanguageList::getLanguageTag(Uint32 index) const
{
    return _tags[index];
}

Real32 AcceptLanguageList::getQualityValue(Uint32 index) const
{
    return _qualities[index];
}

void AcceptLanguageList::insert(
    const LanguageTag& languageTag, Real32 qualityValue)
{
    if (!(qualityValue >= 0.0f && qualityValue <= 1.0f))
    {
        String text("Invalid quality value ");
        text.appendPrintf("%g", double(qualityValue));
        text.append(String(" for language tag "));
        text.append(languageTag.toString());
        throw InvalidAcceptLanguageHeader(text);
    }
    languageTag.toString();
    Uint32 pos = 0;
    while (pos < _qualities.size() && _qualities[pos] >= qualityValue)
        pos++;
    _tags.insert(pos, languageTag);
    _qualities.insert(pos, qualityValue);
}

void AcceptLanguageList::remove(Uint32 index)
{
    if (index >= _tags.size())
        throw IndexOutOfBoundsException();
    _tags.remove(index);
    _qualities.remove(index);
}

Uint32 AcceptLanguageList::find(const LanguageTag& languageTag) const
{
    for (Uint32 i = 0; i < _tags.size(); i++)
    {
        if (_tags[i] == languageTag)
            return i;
    }
    return PEG_NOT_FOUND;
}

void AcceptLanguageList::clear()
{
    _tags.clear();
    _qualities.clear();
}

Boolean AcceptLanguageList::operator==(
    const AcceptLanguageList& acceptLanguages) const
{
    if (_tags.size() != acceptLanguages._tags.size())
        return false;
    for (Uint32 i = 0; i < _tags.size(); i++)
    {
        if (_tags[i] != acceptLanguages._tags[i] ||
            _qualities[i] != acceptLanguages._qualities[i])
        {
            return false;
        }
    }
    return true;
}

Boolean AcceptLanguageList::operator!=(
    const AcceptLanguageList& acceptLanguages) const
{
    return !operator==(acceptLanguages);
}

PEGASUS_NAMESPACE_END
