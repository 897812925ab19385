//
// CIMPropertyStore.
//
#include "CIMPropertyStore.h"

PEGASUS_NAMESPACE_BEGIN

CIMPropertyStore::~CIMPropertyStore()
{
    if (_chain)
        CIMPropertyBlock::releaseChain(_chain);
    else
        CIMPropertyBlock::releaseAll(_list);
}

void CIMPropertyStore::unfold()
{
    if (!_chain)
        return;
    _list.reserve(_count);
    forEach([this](CIMPropertyRep* rep) {
        _list.push_back(CIMRepAccess::adopt<CIMProperty>(rep));
    });
    _chain = 0;
    _count = 0;
}

PEGASUS_NAMESPACE_END
