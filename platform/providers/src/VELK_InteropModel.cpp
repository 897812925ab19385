#include "VELK_InteropModel.h"

#include "VELK_AssociationWalker.h"
#include "VELK_InternalCacheService.h"
#include "VELK_ProviderSupport.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char OBJECT_MANAGER_CLASS[] = "CIM_ObjectManager";
const char OBJECT_MANAGER_NAME[] = "cimhost";
const char PROFILE_CLASS[] = "CIM_RegisteredProfile";
const char SUBPROFILE_CLASS[] = "CIM_RegisteredSubProfile";

// The SNIA profiles, their version, and what they describe.
const Uint16 SNIA = 11;
const char PROFILE_VERSION[] = "1.5.0";

const char* const SERVICE_KEYS[] = {"SystemCreationClassName", "SystemName", "CreationClassName", "Name"};
const char* const NAMESPACE_KEYS[] = {"SystemCreationClassName", "SystemName",
    "ObjectManagerCreationClassName", "ObjectManagerName", "CreationClassName", "Name"};
const char* const INSTANCEID_KEY[] = {"InstanceID"};

// The array's services that own the jobs.
const char* const SERVICE_CLASSES[] = {"VELK_StorageConfigurationService", "VELK_ReplicationService"};

Array<Uint16> uint16s(std::initializer_list<Uint16> values)
{
    Array<Uint16> out;
    for (Uint16 v : values)
        out.append(v);
    return out;
}

Array<String> strings(std::initializer_list<const char*> values)
{
    Array<String> out;
    for (const char* v : values)
        out.append(String(v));
    return out;
}

} // namespace

VELK_InteropModel::VELK_InteropModel(CIMOMHandle& cimom, const OperationContext& context,
    const CIMNamespaceName& nameSpace, const String& hostName, Boolean withServices)
    : _cimom(cimom), _nameSpace(nameSpace), _hostName(hostName)
{
    // The object manager and how it is reached.
    CIMInstance om = _new(OBJECT_MANAGER_CLASS);
    setIfPresent(om, "SystemCreationClassName", CIMValue(String(VELK_SYSTEM_CLASS)));
    setIfPresent(om, "SystemName", CIMValue(hostName));
    setIfPresent(om, "CreationClassName", CIMValue(String(OBJECT_MANAGER_CLASS)));
    setIfPresent(om, "Name", CIMValue(String(OBJECT_MANAGER_NAME)));
    setIfPresent(om, "ElementName", CIMValue(String("cimhost")));
    setIfPresent(om, "Caption", CIMValue(String("cimhost")));
    setIfPresent(om, "Description", CIMValue(String("The CIM server of the array's management controller")));
    setIfPresent(om, "Started", CIMValue(Boolean(true)));
    setIfPresent(om, "EnabledState", CIMValue(Uint16(2)));        // Enabled
    setIfPresent(om, "RequestedState", CIMValue(Uint16(12)));     // Not Applicable
    setIfPresent(om, "OperationalStatus", CIMValue(uint16s({2})));   // OK
    setIfPresent(om, "HealthState", CIMValue(Uint16(5)));         // OK
    setIfPresent(om, "GatherStatisticalData", CIMValue(Boolean(false)));
    om = _keep(om, SERVICE_KEYS, 4);

    CIMInstance xml = _new("CIM_CIMXMLCommunicationMechanism");
    setIfPresent(xml, "SystemCreationClassName", CIMValue(String(VELK_SYSTEM_CLASS)));
    setIfPresent(xml, "SystemName", CIMValue(hostName));
    setIfPresent(xml, "CreationClassName", CIMValue(String("CIM_CIMXMLCommunicationMechanism")));
    setIfPresent(xml, "Name", CIMValue(String(OBJECT_MANAGER_NAME) + ":cim-xml"));
    setIfPresent(xml, "ElementName", CIMValue(String("CIM-XML")));
    setIfPresent(xml, "EnabledState", CIMValue(Uint16(2)));
    setIfPresent(xml, "RequestedState", CIMValue(Uint16(12)));
    setIfPresent(xml, "OperationalStatus", CIMValue(uint16s({2})));
    setIfPresent(xml, "CommunicationMechanism", CIMValue(Uint16(2)));   // CIM-XML
    // Reads, writes, schema and instance changes, associations and
    // qualifiers; no queries and no indications.
    setIfPresent(xml, "FunctionalProfilesSupported", CIMValue(uint16s({2, 3, 4, 5, 6, 8})));
    setIfPresent(xml, "FunctionalProfileDescriptions", CIMValue(strings({"Basic Read", "Basic Write",
        "Schema Manipulation", "Instance Manipulation", "Association Traversal", "Qualifier Declaration"})));
    setIfPresent(xml, "MultipleOperationsSupported", CIMValue(Boolean(false)));
    setIfPresent(xml, "AuthenticationMechanismsSupported", CIMValue(uint16s({3})));   // Basic
    setIfPresent(xml, "AuthenticationMechanismDescriptions", CIMValue(strings({"Basic"})));
    setIfPresent(xml, "Version", CIMValue(String("1.0")));
    setIfPresent(xml, "CIMXMLProtocolVersion", CIMValue(Uint16(2)));   // 1.0
    setIfPresent(xml, "CIMValidated", CIMValue(Boolean(false)));
    setIfPresent(xml, "AdvertiseTypes", CIMValue(uint16s({2})));       // Not Advertised
    xml = _keep(xml, SERVICE_KEYS, 4);
    _link("CIM_CommMechanismForManager", "Antecedent", om, "Dependent", xml.getPath());

    // The namespaces: root and those below it, as root's __Namespace
    // instances name them; without those, this one alone.
    Array<String> names;
    try
    {
        const Array<CIMObjectPath> children = _cimom.enumerateInstanceNames(context,
            CIMNamespaceName("root"), CIMName("__Namespace"));
        names.append("root");
        for (Uint32 i = 0; i < children.size(); i++)
            names.append("root/" + keyValue(children[i], "Name"));
    }
    catch (const CIMException&)
    {
        names.append(nameSpace.getString());
    }
    for (Uint32 i = 0; i < names.size(); i++)
    {
        CIMInstance ns = _new("CIM_Namespace");
        setIfPresent(ns, "SystemCreationClassName", CIMValue(String(VELK_SYSTEM_CLASS)));
        setIfPresent(ns, "SystemName", CIMValue(hostName));
        setIfPresent(ns, "ObjectManagerCreationClassName", CIMValue(String(OBJECT_MANAGER_CLASS)));
        setIfPresent(ns, "ObjectManagerName", CIMValue(String(OBJECT_MANAGER_NAME)));
        setIfPresent(ns, "CreationClassName", CIMValue(String("CIM_Namespace")));
        setIfPresent(ns, "Name", CIMValue(names[i]));
        setIfPresent(ns, "ElementName", CIMValue(names[i]));
        setIfPresent(ns, "ClassInfo", CIMValue(Uint16(3)));    // CIM 2.0
        setIfPresent(ns, "ClassType", CIMValue(Uint16(2)));    // CIM
        ns = _keep(ns, NAMESPACE_KEYS, 6);
        _link("CIM_NamespaceInManager", "Antecedent", om, "Dependent", ns.getPath());
    }

    // The profiles and the elements they describe.
    const CIMInstance server = _profile(PROFILE_CLASS, "Server", PROFILE_VERSION);
    const CIMInstance array = _profile(PROFILE_CLASS, "Array", PROFILE_VERSION);
    const CIMInstance jobControl = _profile(SUBPROFILE_CLASS, "Job Control", PROFILE_VERSION);
    _link("CIM_SubProfileRequiresProfile", "Antecedent", array, "Dependent", jobControl.getPath());
    _link("CIM_ElementConformsToProfile", "ConformantStandard", server, "ManagedElement", om.getPath());
    for (size_t s = 0; withServices && s < sizeof SERVICE_CLASSES / sizeof SERVICE_CLASSES[0]; s++)
    {
        Array<CIMObjectPath> services = _cimom.enumerateInstanceNames(context,
            CIMNamespaceName(VELK_NAMESPACE), CIMName(SERVICE_CLASSES[s]));
        for (Uint32 i = 0; i < services.size(); i++)
        {
            if (services[i].getNameSpace().isNull())
                services[i].setNameSpace(CIMNamespaceName(VELK_NAMESPACE));
            _link("CIM_ElementConformsToProfile", "ConformantStandard", array, "ManagedElement",
                services[i]);
            _link("CIM_ElementConformsToProfile", "ConformantStandard", jobControl, "ManagedElement",
                services[i]);
        }
    }
}

Array<CIMInstance> VELK_InteropModel::of(const CIMName& className) const
{
    Array<CIMInstance> out;
    for (Uint32 i = 0; i < _all.size(); i++)
        if (_all[i].getClassName().equal(className))
            out.append(_all[i]);
    return out;
}

CIMInstance VELK_InteropModel::find(const CIMObjectPath& path) const
{
    for (Uint32 i = 0; i < _all.size(); i++)
        if (VELK_AssociationWalker::samePath(_all[i].getPath(), path))
            return _all[i];
    return CIMInstance();
}

CIMInstance VELK_InteropModel::_new(const char* className)
{
    const CIMClass cls = VELK_InternalCacheService::getInstance()->getStoredCIMClass(_cimom,
        OperationContext(), _nameSpace, CIMName(className), false, false, false, CIMPropertyList());
    return cls.buildInstance(false, false, CIMPropertyList());
}

CIMInstance VELK_InteropModel::_keep(CIMInstance inst, const char* const* keys, Uint32 keyCount)
{
    Array<CIMKeyBinding> bindings;
    for (Uint32 k = 0; k < keyCount; k++)
    {
        const CIMValue value = inst.getProperty(inst.findProperty(CIMName(keys[k]))).getValue();
        bindings.append(CIMKeyBinding(CIMName(keys[k]), value));
    }
    inst.setPath(CIMObjectPath(_hostName, _nameSpace, inst.getClassName(), bindings));
    _all.append(inst);
    return inst;
}

CIMInstance VELK_InteropModel::_profile(const char* className, const char* name, const char* version)
{
    CIMInstance p = _new(className);
    setIfPresent(p, "InstanceID", CIMValue(String("SNIA:") + name + ":" + version));
    setIfPresent(p, "RegisteredOrganization", CIMValue(SNIA));
    setIfPresent(p, "RegisteredName", CIMValue(String(name)));
    setIfPresent(p, "RegisteredVersion", CIMValue(String(version)));
    setIfPresent(p, "AdvertiseTypes", CIMValue(uint16s({2})));   // Not Advertised
    setIfPresent(p, "ElementName", CIMValue(String(name)));
    return _keep(p, INSTANCEID_KEY, 1);
}

void VELK_InteropModel::_link(const char* className, const char* from, const CIMInstance& a,
    const char* to, const CIMObjectPath& b)
{
    CIMInstance link = _new(className);
    setIfPresent(link, from, CIMValue(a.getPath()));
    setIfPresent(link, to, CIMValue(b));
    const char* const keys[] = {from, to};
    _keep(link, keys, 2);
}

PEGASUS_NAMESPACE_END
