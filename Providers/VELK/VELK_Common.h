// VELK_Common: the static helpers every VELK provider calls.
//
// Property and instance access, date and time conversion, the system identity
// calls to the internal cache object, object path matching and the event-log
// record helpers. No member keeps state between calls.
#ifndef VELK_Common_h
#define VELK_Common_h

#include <ctime>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <velkapi.h>

PEGASUS_NAMESPACE_BEGIN

// ---- association and dispatch types (VELK_CommonAssociation.cpp) ----
// BEGIN association declarations (types)
// The operation a shared code path is serving; selects the handler member
// and the form of each delivered result.
enum cim_method_e
{
    VELKCIM_ASSOCIATORS = 0,
    VELKCIM_ASSOCIATORNAMES = 1,
    VELKCIM_REFERENCES = 2,
    VELKCIM_REFERENCENAMES = 3,
    VELKCIM_GETINSTANCE = 4,
    VELKCIM_ENUMERATEINSTANCES = 5,
    VELKCIM_ENUMERATEINSTANCENAMES = 6
};

// The caller's response handler; the valid member follows from the
// cim_method_e passed beside it. Does not own the handler.
union cim_handler_u
{
    ResponseHandler* response;
    InstanceResponseHandler* instanceResponse;        // GETINSTANCE, ENUMERATEINSTANCES
    ObjectPathResponseHandler* objectPathResponse;    // *NAMES
    ObjectResponseHandler* objectResponse;            // ASSOCIATORS, REFERENCES
};
// END association declarations (types)

class VELK_Common
{
public:
    // ---- reading from instances, paths and parameter lists ----
    static CIMValue getPropertyValue(const CIMInstance& instance,
        const String& propertyName);
    static String getStringProperty(const CIMInstance& instance,
        const String& propertyName);
    static String getStringProperty(const CIMObjectPath& path,
        const String& keyName);

    static int getProperty(const CIMInstance& instance,
        const String& propertyName, CIMObjectPath& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Array<String>& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Array<Sint32>& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Array<Uint16>& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Uint64& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Uint32& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Uint16& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Uint8& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, Boolean& value);
    static int getProperty(const CIMInstance& instance,
        const String& propertyName, CIMDateTime& value);

    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Uint8& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Uint16& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Array<Uint16>& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Uint32& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Uint64& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Boolean& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, CIMDateTime& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, CIMObjectPath& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, String& value);
    static int getParameter(const Array<CIMParamValue>& inParams,
        const String& paramName, Array<String>& value);

    // ---- numbers in text ----
    // A decimal Uint32 written with digits only: no sign, blank or other
    // character, at most 4294967295. False (value untouched) otherwise.
    static Boolean parseUint32(const String& text, Uint32& value);

    // ---- writing into instances (a setter never adds a property) ----
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const String& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Boolean& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Uint8& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Uint16& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Uint32& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Uint64& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Sint16& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<String>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<Uint16>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<Sint32>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<Uint64>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<Boolean>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const Array<CIMDateTime>& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const CIMObjectPath& value);
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const CIMDateTime& value);
    // Replaces the property by an embedded-instance property placed last.
    static void setPropertyValue(CIMInstance& instance, CIMName propertyName,
        const CIMInstance& value);
    static void setPropertyValueToNull(CIMInstance& instance,
        CIMName propertyName, CIMType type);

    // ---- instances and classes ----
    static CIMInstance buildInstanceSkeleton(const CIMClass& cimClass);
    static CIMClass getStoredCIMClass(CIMOMHandle& handle,
        const OperationContext& context, const CIMNamespaceName& nameSpace,
        const CIMName& className, Boolean localOnly,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    // ---- date and time ----
    static CIMDateTime getCIMDateTime(long t);
    static long getDateTime(const CIMDateTime& dateTime);
    static int _formatDateTime(const char* text, struct tm* out);
    static String getTimeZone();

    // ---- system identity (the internal cache object) ----
    static CIMObjectPath buildInternalCacheObjectPath(const String& host,
        const String& name);
    static CIMValue invokeMethod(const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& methodName,
        const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters);
    static String getSystemName(CIMOMHandle& cimom);
    static String getSystemName();
    static String getSystemHostName(CIMOMHandle& cimom);

    // ---- object paths ----
    static Boolean matchObjectPath(const CIMObjectPath& path1,
        const CIMObjectPath& path2);

    // ---- remote copy ----
    static String RCTargetToSysname(const api_rcopy_t& rcopy,
        const String& name);

    // ---- event-log record ----
    static int setEventParam(api_evtparam_t* eventp, const char* className,
        const char* method, const char* op, const char* user,
        const char* addr);
    static int setEventParam(api_evtparam_t* eventp, const char* className,
        const char* method, const char* op, const char* user,
        const char* addr, const char* evtText);
    static int setEventOp(api_evtparam_t* eventp, const char* op);

    // ---- the request guard and the refused operations of the providers ----
    // Refuses (CIM_ERR_ACCESS_DENIED "Insufficient privilege for the user")
    // a user that the array does not admit through the CIM server; source
    // and line go to the exception's trace.
    static void checkUser(const String& userName, const String& source,
        Uint32 line);
    static void checkUser(const OperationContext& context,
        const String& source,
        Uint32 line);
    // Throws CIM_ERR_NOT_SUPPORTED "<provider> does not support <what>.".
    static void refuseOperation(const String& provider, const char* what);
    // Throws CIM_ERR_NOT_SUPPORTED "<provider> Invalid class name<class>"
    // unless the path's class is `className`.
    static void checkClass(const CIMObjectPath& path, const CIMName& className,
        const String& provider);
    // The value of the InstanceID key; CIM_ERR_INVALID_PARAMETER
    // "<provider> InstanceID key not found." without it.
    static String getInstanceIDKey(const CIMObjectPath& path,
        const String& provider);
    // The screen of a two-ended association request by its roles: a role
    // or result role, when given, names one of the ends (compared without
    // case); a source at end A must stand in role A with its result in role
    // B, a source at end B the other way round. True when ruled out.
    static bool invalidRoles(const String& role, const String& resultRole,
        const char* roleA, const char* roleB, bool sourceAtA, bool sourceAtB);
    // Whether the name is one of the `count` names of the list.
    static bool isOneOf(const CIMName& name, const char* const* names,
        size_t count);
    // processing(), deliver() of every element, complete().
    template <class Handler, class T>
    static void deliverAll(Handler& handler, const Array<T>& items)
    {
        handler.processing();
        for (Uint32 i = 0; i < items.size(); i++)
            handler.deliver(items[i]);
        handler.complete();
    }

    // ---- association builders, response dispatch, InstanceID parts
    //      (VELK_CommonAssociation.cpp) ----
    // BEGIN association declarations (members)
    // processing(), complete() and deliver() on the handler that `method`
    // selects; a value outside cim_method_e does nothing.
    static void handleProcessing(cim_handler_u handler, cim_method_e method);
    static void handleComplete(cim_handler_u handler, cim_method_e method);
    // Delivers the instance, a CIMObject of it, or only its path, as the
    // operation requires.
    static void handleDeliver(cim_handler_u handler, cim_method_e method,
        const CIMInstance& instance);

    // Path of a two-ended association: keys assocName1 then assocName2,
    // reference values with their hosts replaced.
    static CIMObjectPath buildAssocPath(const CIMName& assocClass,
        const String& assocName1, const String& assocName2,
        const CIMObjectPath& assocPath1, const CIMObjectPath& assocPath2,
        const String& hostAddress, const String& nameSpace);
    static CIMObjectPath buildAssocPath(const CIMName& assocClass,
        const String& assocName1, const String& assocName2,
        const CIMObjectPath& assocPath1, const CIMObjectPath& assocPath2,
        const String& hostAddress1, const String& hostAddress2,
        const String& localAddress, const String& nameSpace);
    static CIMInstance buildAssocInstance(const CIMName& assocClass,
        const String& assocName1, const String& assocName2,
        const CIMObjectPath& assocPath1, const CIMObjectPath& assocPath2,
        const CIMClass& classSkeleton, const String& hostAddress,
        const String& nameSpace);
    static CIMInstance buildAssocInstance(const CIMName& assocClass,
        const String& assocName1, const String& assocName2,
        const CIMObjectPath& assocPath1, const CIMObjectPath& assocPath2,
        const CIMClass& classSkeleton, const String& hostAddress1,
        const String& hostAddress2, const String& localAddress,
        const String& nameSpace);

    // What follows the first "KORVANE:" of an InstanceID; "" without it.
    static String extractFromInstanceID(const String& instanceID);
    // END association declarations (members)
};

PEGASUS_NAMESPACE_END

#endif
