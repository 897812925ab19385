#include <Pegasus/Common/ContentLanguageList.h>

PEGASUS_NAMESPACE_BEGIN

ContentLanguageList::ContentLanguageList() {}

ContentLanguageList::ContentLanguageList(
    const ContentLanguageList& contentLanguages)
    : _tags(contentLanguages._tags)
{
}

ContentLanguageList::~ContentLanguageList() {}

ContentLanguageList& ContentLanguageList::operator=(
    const ContentLanguageList& contentLanguages)
{
    _tags = contentLanguages._tags;
    return *this;
}

Uint32 ContentLanguageList::size() const
{
    return _tags.size();
}

LanguageTag ContentLanguageList::getLanguageTag(Uint32 index) const
{
    return _tags[index];
}

void ContentLanguageList::append(const LanguageTag& languageTag)
{
    // Checks that the tag is initialised.
    languageTag.toString();
    _tags.append(languageTag);
}

void ContentLanguageList::remove(Uint32 index)
{
    _tags.remove(index);
}

Uint32 ContentLanguageList::find(const LanguageTag& languageTag) const
{
    for (Uint32 i = 0; i < _tags.size(); i++)
    {
        if (_tags[i] == languageTag)
            return i;
    }
    return PEG_NOT_FOUND;
}

void ContentLanguageList::clear()
{
    _tags.clear();
}

Boolean ContentLanguageList::operator==(
    const ContentLanguageList& contentLanguages) const
{
    if (_tags.size() != contentLanguages._tags.size())
        return false;
    for (Uint32 i = 0; i < _tags.size(); i++)
    {
        if (_tags[i] != contentLanguages._tags[i])
            return false;
    }
    return true;
}

Boolean ContentLanguageList::operator!=(
    const ContentLanguageList& contentLanguages) const
{
    return !operator==(contentLanguages);
}

PEGASUS_NAMESPACE_END
