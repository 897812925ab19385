// The source and target volumes of the array's copy jobs as
// VELK_AffectedJobElement. Jobs are read through the server (the job
// provider decides which tasks are jobs, what they copy and who may see
// them); volumes are read from the array.
#ifndef VELK_AFFECTEDJOBELEMENTPROVIDER_H
#define VELK_AFFECTEDJOBELEMENTPROVIDER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <velkapi.h>

#include <vector>

PEGASUS_NAMESPACE_BEGIN

class VELK_AffectedJobElementProvider : public CIMInstanceProvider, public CIMAssociationProvider
{
public:
    VELK_AffectedJobElementProvider();
    virtual ~VELK_AffectedJobElementProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

    virtual void getInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler);
    virtual void enumerateInstances(const OperationContext& context, const CIMObjectPath& classReference,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler);
    virtual void enumerateInstanceNames(const OperationContext& context,
        const CIMObjectPath& classReference, ObjectPathResponseHandler& handler);
    virtual void modifyInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject, const Boolean includeQualifiers,
        const CIMPropertyList& propertyList, ResponseHandler& handler);
    virtual void createInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject, ObjectPathResponseHandler& handler);
    virtual void deleteInstance(const OperationContext& context, const CIMObjectPath& instanceReference,
        ResponseHandler& handler);

    virtual void associators(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, ObjectResponseHandler& handler);
    virtual void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, ObjectPathResponseHandler& handler);
    virtual void references(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
        const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler);
    virtual void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, ObjectPathResponseHandler& handler);

private:
    // One job and one volume it works on.
    struct Affected
    {
        CIMObjectPath job;
        CIMObjectPath volume;
        Array<Uint16> effects;
    };

    // What the given jobs (instances of VELK_ConcreteJob) work on.
    std::vector<Affected> _affected(const Array<CIMInstance>& jobs, const api_sysinfo_t& sys);
    // Every job's, or the one job's that objectName names, or, when it names
    // a volume of the array, every job's; nothing for other objects.
    std::vector<Affected> _all(const OperationContext& context, const api_sysinfo_t& sys);
    std::vector<Affected> _touching(const OperationContext& context, const CIMObjectPath& objectName,
        const api_sysinfo_t& sys);
    // The two references of each, for the association walker.
    static Array<CIMInstance> _walkable(const std::vector<Affected>& affected);
    CIMObjectPath _path(const Affected& affected, const api_sysinfo_t& sys) const;
    CIMInstance _instance(const Affected& affected, const api_sysinfo_t& sys,
        Boolean includeQualifiers, Boolean includeClassOrigin, const CIMPropertyList& propertyList);
    // The object at the far end of a link; uninitialized when it is gone.
    CIMObject _resultObject(const OperationContext& context, const CIMObjectPath& path,
        const api_sysinfo_t& sys, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    CIMOMHandle _cimom;
};

PEGASUS_NAMESPACE_END

#endif
