//
// The non-template parts of Array<T>.
//
#include <Pegasus/Common/ArrayInter.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

ArrayRepBase ArrayRepBase_empty = { {0}, 0, 0, 0 };

void ArrayThrowIndexOutOfBoundsException()
{
    throw IndexOutOfBoundsException();
}

PEGASUS_NAMESPACE_END
