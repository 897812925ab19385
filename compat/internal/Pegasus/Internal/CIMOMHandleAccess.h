// Server-side access to CIMOMHandle: how the server makes the handle it gives
// to providers. Not part of the OpenPegasus API; provider modules never include
// this.
#ifndef Pegasus_Internal_CIMOMHandleAccess_h
#define Pegasus_Internal_CIMOMHandleAccess_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/Linkage.h>
#include <Pegasus/Internal/CIMOperations.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_PROVIDER_LINKAGE CIMOMHandleAccess
{
public:
    // A handle whose calls go to `operations` on the calling thread. The
    // backend is not owned and must outlive every use of the handle and its
    // copies.
    static CIMOMHandle create(CIMOperations& operations);

    // The backend of a handle, or 0 for a default-constructed one.
    static CIMOperations* backend(const CIMOMHandle& handle);

    // Current count of disallowProviderUnload() minus allowProviderUnload().
    static Sint32 unloadBlockCount(const CIMOMHandle& handle);
};

PEGASUS_NAMESPACE_END

#endif
