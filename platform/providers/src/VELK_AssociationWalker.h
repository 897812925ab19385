// Association traversal over association instances held in memory: which
// instances name a given object in a given role, and what they lead to.
// Shared by the companion association providers.
#ifndef VELK_ASSOCIATIONWALKER_H
#define VELK_ASSOCIATIONWALKER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <vector>

PEGASUS_NAMESPACE_BEGIN

class VELK_AssociationWalker
{
public:
    // One association instance that names the source object (its index in
    // the list walked), and the object at one of its other ends.
    struct Link
    {
        Uint32 association;
        CIMObjectPath result;
    };

    // For every association instance with a reference property (named role,
    // when role is not empty) whose value is objectName: one link per other
    // reference property (named resultRole, when not empty).
    static std::vector<Link> links(const Array<CIMInstance>& associations,
        const CIMObjectPath& objectName, const String& role, const String& resultRole);

    // Indexes of the association instances that name objectName (in role,
    // when not empty), each once.
    static std::vector<Uint32> referencing(const Array<CIMInstance>& associations,
        const CIMObjectPath& objectName, const String& role);

    // Whether two paths name the same object: class names without regard to
    // case, key bindings by name in any order, reference keys compared the
    // same way; hosts and namespaces are not compared.
    static Boolean samePath(const CIMObjectPath& a, const CIMObjectPath& b);

    // Whether className is wanted or derives from it, by the class
    // definitions of nameSpace; a null wanted accepts every class, a class
    // the namespace does not know matches nothing.
    static Boolean isA(CIMOMHandle& cimom, const CIMNamespaceName& nameSpace,
        const CIMName& className, const CIMName& wanted);
};

PEGASUS_NAMESPACE_END

#endif
