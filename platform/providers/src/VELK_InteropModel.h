// What the interop namespace holds, built for one request: the object
// manager (cimhost) with its CIM-XML mechanism and namespaces, the profiles
// it implements (SNIA Server, Array and its Job Control subprofile), and the
// associations between them and to the array's job-owning services.
#ifndef VELK_INTEROPMODEL_H
#define VELK_INTEROPMODEL_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_InteropModel
{
public:
    // Instances get paths with host hostName and namespace nameSpace (the
    // interop namespace asked); every property of their class is present.
    // The server's namespaces and the services are read through cimom; the
    // services only with withServices (for the conformance of the Array
    // profile and the Job Control subprofile), so that the rest never waits
    // for the array.
    VELK_InteropModel(CIMOMHandle& cimom, const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& hostName, Boolean withServices);

    // The instances of exactly that class.
    Array<CIMInstance> of(const CIMName& className) const;

    // The instance with that path (see VELK_AssociationWalker::samePath),
    // or an uninitialized one.
    CIMInstance find(const CIMObjectPath& path) const;

private:
    CIMInstance _new(const char* className);
    // Sets the path from the named key properties and keeps the instance.
    CIMInstance _keep(CIMInstance inst, const char* const* keys, Uint32 keyCount);
    CIMInstance _profile(const char* className, const char* name, const char* version);
    void _link(const char* className, const char* from, const CIMInstance& a, const char* to,
        const CIMObjectPath& b);

    CIMOMHandle& _cimom;
    CIMNamespaceName _nameSpace;
    String _hostName;
    Array<CIMInstance> _all;
};

PEGASUS_NAMESPACE_END

#endif
