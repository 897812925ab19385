// VELK_Common: property and instance helpers, date and time conversion,
// system identity, object path matching and the event-log record.
#include "VELK_Common.h"
#include "PaddedDecimal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>
#include <Pegasus/Client/CIMClient.h>

#include <VELK_InternalCacheService.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char INTERNAL_CACHE_NAMESPACE[] = "root/PG_Internal";

// Text of a fixed-size character field that may lack its NUL.
String fieldText(const char* field, size_t size)
{
    return String(field, (Uint32)strnlen(field, size));
}

// ---- getProperty: one body, the exit traces differ by type ----

void propertyExitTrace(const CIMObjectPath& value)
{
    log_message(4, "<--VELK_Common::getProperty(Array<String>), value = %s\n",
        (const char*)value.toString().getCString());
}

void propertyExitTrace(const Array<String>& value)
{
    String first;
    if (value.size() > 0)
        first = value[0];
    log_message(4, "<--VELK_Common::getProperty(Array<String>), value = %s\n",
        (const char*)first.getCString());
}

void propertyExitTrace(const Array<Sint32>&)
{
    log_message(4, "<--VELK_Common::getProperty(Array<Sint32>)\n");
}

void propertyExitTrace(const Array<Uint16>&)
{
    log_message(4, "<--VELK_Common::getProperty(Array<Uint16>)\n");
}

void propertyExitTrace(const Uint64& value)
{
    log_message(4, "<--VELK_Common::getProperty(uint64), value = %llu\n",
        (unsigned long long)value);
}

void propertyExitTrace(const Uint32& value)
{
    log_message(4, "<--VELK_Common::getProperty(uint32), value = %d\n",
        (int)value);
}

void propertyExitTrace(const Uint16& value)
{
    log_message(4, "<--VELK_Common::getProperty(uint16), value = %d\n",
        (int)value);
}

void propertyExitTrace(const Uint8& value)
{
    log_message(4, "<--VELK_Common::getProperty(uint8), value = %d\n",
        (int)value);
}

void propertyExitTrace(const Boolean& value)
{
    log_message(4, "<--VELK_Common::getProperty(Boolean), value = %d\n",
        (int)value);
}

void propertyExitTrace(const CIMDateTime& value)
{
    log_message(4, "<--VELK_Common::getProperty(CIMDateTime), value = %s\n",
        (const char*)value.toString().getCString());
}

template <class T>
int readProperty(const CIMInstance& instance, const String& propertyName,
    T& value, const char* label)
{
    log_message(4, "-->VELK_Common::getProperty(%s), propertyName = %s\n",
        label, (const char*)propertyName.getCString());
    int status;
    Uint32 pos = instance.findProperty(CIMName(propertyName));
    if (pos == PEG_NOT_FOUND)
    {
        status = 3;
    }
    else
    {
        CIMValue v = instance.getProperty(pos).getValue();
        if (v.isNull())
        {
            status = 4;
        }
        else
        {
            v.get(value);
            status = 0;
        }
    }
    propertyExitTrace(value);
    return status;
}

// ---- getParameter ----

void parameterExitTrace(const Uint8& value)
{
    log_message(4, "<--VELK_Common::getParameter(Uint8), paramValue = %d\n",
        (int)value);
}

void parameterExitTrace(const Uint16& value)
{
    log_message(4, "<--VELK_Common::getParameter(Uint16), paramValue = %d\n",
        (int)value);
}

void parameterExitTrace(const Array<Uint16>&)
{
    log_message(4, "<--VELK_Common::getParameter(Array<Uint16>)\n");
}

void parameterExitTrace(const Uint32& value)
{
    log_message(4, "<--VELK_Common::getParameter(Uint32), paramValue = %d\n",
        (int)value);
}

void parameterExitTrace(const Uint64& value)
{
    log_message(4, "<--VELK_Common::getParameter(Uint64), paramValue = %llu\n",
        (unsigned long long)value);
}

void parameterExitTrace(const Boolean& value)
{
    log_message(4, "<--VELK_Common::getParameter(Boolean), paramValue = %d\n",
        (int)value);
}

void parameterExitTrace(const CIMDateTime& value)
{
    log_message(4,
        "<--VELK_Common::getParameter(CIMDateTime), paramValue = %s\n",
        (const char*)value.toString().getCString());
}

void parameterExitTrace(const CIMObjectPath& value)
{
    log_message(4,
        "<--VELK_Common::getParameter(CIMObjectPath), paramValue = %s\n",
        (const char*)value.toString().getCString());
}

void parameterExitTrace(const String& value)
{
    log_message(4, "<--VELK_Common::getParameter(String), paramValue = %s\n",
        (const char*)value.getCString());
}

void parameterExitTrace(const Array<String>&)
{
    // This line has always been written without a line end.
    log_message(4, "<--VELK_Common::getParameter(Array<String>)");
}

template <class T>
int readParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, T& value, const char* label)
{
    log_message(4, "-->VELK_Common::getParameter(%s), paramName = %s\n",
        label, (const char*)paramName.getCString());
    int status = 0;
    bool found = false;
    for (Uint32 i = 0; i < inParams.size(); i++)
    {
        if (!String::equalNoCase(inParams[i].getParameterName(), paramName))
            continue;
        CIMValue v = inParams[i].getValue();
        if (v.isNull())
        {
            // A later parameter of the same name may still carry a value.
            status = 4;
            continue;
        }
        v.get(value);
        found = true;
        break;
    }
    if (!found)
        status = 3;
    parameterExitTrace(value);
    return status;
}

// ---- setters ----

template <class T>
void writeProperty(CIMInstance& instance, const CIMName& propertyName,
    const T& value)
{
    Uint32 pos = instance.findProperty(propertyName);
    if (pos == PEG_NOT_FOUND)
        return;
    instance.getProperty(pos).setValue(CIMValue(value));
}

// ---- object path matching ----

// Reads every non-empty string or reference key as an object path and
// writes it back as a reference without host; keys that do not read as a
// path stay as they are.
Array<CIMKeyBinding> normalisedKeys(const CIMObjectPath& path)
{
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
    {
        CIMKeyBinding::Type type = keys[i].getType();
        if (type != CIMKeyBinding::REFERENCE && type != CIMKeyBinding::STRING)
            continue;
        if (keys[i].getValue().size() == 0)
            continue;
        try
        {
            CIMObjectPath parsed(keys[i].getValue());
            CIMObjectPath hostless(String(), parsed.getNameSpace(),
                parsed.getClassName(), parsed.getKeyBindings());
            CIMKeyBinding normalised(keys[i]);
            normalised.setValue(hostless.toString());
            normalised.setType(CIMKeyBinding::REFERENCE);
            keys[i] = normalised;
        }
        catch (...)
        {
            // Not an object path: compared as it stands.
        }
    }
    return keys;
}

// strncpy into a field of `size` bytes: at most size - 1 characters, the
// rest NUL.
void copyField(char* field, size_t size, const char* text)
{
    if (text)
    {
        strncpy(field, text, size - 1);
        field[size - 1] = '\0';
    }
    else
    {
        field[0] = '\0';
    }
}

} // namespace

// ---------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------

CIMValue VELK_Common::getPropertyValue(const CIMInstance& instance,
    const String& propertyName)
{
    log_message(4, "-->VELK_Common::getStringProperty(), propertyName = %s\n",
        (const char*)propertyName.getCString());
    if (propertyName.size() == 0 || instance.isUninitialized())
    {
        log_message(3, "\tInvalid property name.\n");
        return CIMValue(String());
    }
    CIMValue result;
    Uint32 pos = instance.findProperty(CIMName(propertyName));
    if (pos != PEG_NOT_FOUND)
        result = instance.getProperty(pos).getValue();
    log_message(4, "<--VELK_Common::getStringProperty()\n");
    return result;
}

String VELK_Common::getStringProperty(const CIMInstance& instance,
    const String& propertyName)
{
    String result;
    log_message(4, "-->VELK_Common::getStringProperty(), propertyName = %s\n",
        (const char*)propertyName.getCString());
    if (propertyName.size() == 0 || instance.isUninitialized())
    {
        log_message(3, "\tInvalid property name.\n");
        return result;
    }
    Uint32 pos = instance.findProperty(CIMName(propertyName));
    if (pos != PEG_NOT_FOUND)
        instance.getProperty(pos).getValue().get(result);
    log_message(4, "<--VELK_Common::getStringProperty(), value = %s\n",
        (const char*)result.getCString());
    return result;
}

String VELK_Common::getStringProperty(const CIMObjectPath& path,
    const String& keyName)
{
    String result;
    log_message(4, "-->VELK_Common::getStringProperty(), propertyName = %s\n",
        (const char*)keyName.getCString());
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
    {
        // The last binding of the name wins.
        if (keys[i].getName().equal(CIMName(keyName)))
            result = keys[i].getValue();
    }
    log_message(4, "<--VELK_Common::getStringProperty(), value = %s\n",
        (const char*)result.getCString());
    return result;
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, CIMObjectPath& value)
{
    // Shares the texts of the Array<String> overload.
    return readProperty(instance, propertyName, value, "Array<String>");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Array<String>& value)
{
    return readProperty(instance, propertyName, value, "Array<String>");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Array<Sint32>& value)
{
    return readProperty(instance, propertyName, value, "Array<Sint32>");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Array<Uint16>& value)
{
    return readProperty(instance, propertyName, value, "Array<Uint16>");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Uint64& value)
{
    return readProperty(instance, propertyName, value, "uint64");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Uint32& value)
{
    return readProperty(instance, propertyName, value, "uint32");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Uint16& value)
{
    return readProperty(instance, propertyName, value, "uint16");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Uint8& value)
{
    return readProperty(instance, propertyName, value, "uint8");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, Boolean& value)
{
    return readProperty(instance, propertyName, value, "Boolean");
}

int VELK_Common::getProperty(const CIMInstance& instance,
    const String& propertyName, CIMDateTime& value)
{
    return readProperty(instance, propertyName, value, "CIMDateTime");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Uint8& value)
{
    return readParameter(inParams, paramName, value, "Uint8");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Uint16& value)
{
    return readParameter(inParams, paramName, value, "Uint16");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Array<Uint16>& value)
{
    return readParameter(inParams, paramName, value, "Array<Uint16>");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Uint32& value)
{
    return readParameter(inParams, paramName, value, "Uint32");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Uint64& value)
{
    return readParameter(inParams, paramName, value, "Uint64");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Boolean& value)
{
    return readParameter(inParams, paramName, value, "Boolean");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, CIMDateTime& value)
{
    return readParameter(inParams, paramName, value, "CIMDateTime");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, CIMObjectPath& value)
{
    return readParameter(inParams, paramName, value, "CIMObjectPath");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, String& value)
{
    return readParameter(inParams, paramName, value, "String");
}

int VELK_Common::getParameter(const Array<CIMParamValue>& inParams,
    const String& paramName, Array<String>& value)
{
    return readParameter(inParams, paramName, value, "Array<String>");
}

// ---------------------------------------------------------------------------
// Writing
// ---------------------------------------------------------------------------

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const String& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Boolean& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Uint8& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Uint16& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Uint32& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Uint64& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Sint16& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<String>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<Uint16>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<Sint32>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<Uint64>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<Boolean>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const Array<CIMDateTime>& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const CIMObjectPath& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const CIMDateTime& value)
{
    writeProperty(instance, propertyName, value);
}

void VELK_Common::setPropertyValue(CIMInstance& instance,
    CIMName propertyName, const CIMInstance& value)
{
    Uint32 pos = instance.findProperty(propertyName);
    if (pos == PEG_NOT_FOUND)
        return;
    // The declared (string) property gives way to an instance-typed one.
    instance.removeProperty(pos);
    instance.addProperty(CIMProperty(propertyName, CIMValue(value), 0,
        CIMName(), CIMName(), false));
}

void VELK_Common::setPropertyValueToNull(CIMInstance& instance,
    CIMName propertyName, CIMType type)
{
    CIMValue nullValue(type, false);
    Uint32 pos = instance.findProperty(propertyName);
    if (pos != PEG_NOT_FOUND)
        instance.getProperty(pos).setValue(nullValue);
}

// ---------------------------------------------------------------------------
// Instances and classes
// ---------------------------------------------------------------------------

CIMInstance VELK_Common::buildInstanceSkeleton(const CIMClass& cimClass)
{
    log_message(4, "-->VELK_Common::_buildInstanceSkeleton()\n");
    CIMInstance instance =
        cimClass.buildInstance(true, true, CIMPropertyList());
    log_message(4, "<--VELK_Common::_buildInstanceSkeleton()\n");
    return instance;
}

CIMClass VELK_Common::getStoredCIMClass(CIMOMHandle& handle,
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    return VELK_InternalCacheService::getInstance()->getStoredCIMClass(
        handle, context, nameSpace, className, localOnly, includeQualifiers,
        includeClassOrigin, propertyList);
}

// ---------------------------------------------------------------------------
// Date and time
// ---------------------------------------------------------------------------

CIMDateTime VELK_Common::getCIMDateTime(long t)
{
    CIMDateTime dateTime;
    time_t seconds = (time_t)t;
    struct tm local;
    memset(&local, 0, sizeof(local));
    localtime_r(&seconds, &local);
    long offset = local.tm_gmtoff / 60;

    const long year = local.tm_year + 1900L;
    if (year >= 0 && year <= 9999 && offset >= -999 && offset <= 999)
    {
        // Fields that fit the widths of the text form below are given as
        // they are, with the checks that text would meet.
        dateTime.setTimeStamp(Uint32(year), Uint32(local.tm_mon + 1),
            Uint32(local.tm_mday), Uint32(local.tm_hour),
            Uint32(local.tm_min), Uint32(local.tm_sec), 0, 6, Sint32(offset));
        return dateTime;
    }

    // Printed wide, kept to the 27 characters of the time-stamp buffer.
    // "%04d%02d%02d%02d%02d%02d.%06d+%03d", written field by field.
    char wide[96];
    char* end = wide;
    end = VelkText::appendPaddedDecimal(end, local.tm_year + 1900, 4);
    end = VelkText::appendPaddedDecimal(end, local.tm_mon + 1, 2);
    end = VelkText::appendPaddedDecimal(end, local.tm_mday, 2);
    end = VelkText::appendPaddedDecimal(end, local.tm_hour, 2);
    end = VelkText::appendPaddedDecimal(end, local.tm_min, 2);
    end = VelkText::appendPaddedDecimal(end, local.tm_sec, 2);
    *end++ = '.';
    end = VelkText::appendPaddedDecimal(end, 0, 6);
    *end++ = '+';
    end = VelkText::appendPaddedDecimal(end, (int)labs(offset), 3);
    *end = '\0';
    char text[28];
    memset(text, 0, sizeof(text));
    memcpy(text, wide, std::min(strlen(wide), sizeof(text) - 1));
    if (offset < 0)
        text[21] = '-';

    dateTime.clear();
    char copy[80];
    memset(copy, 0, sizeof(copy));
    strncpy(copy, text, sizeof(copy) - 1);
    dateTime.set(String(copy));
    return dateTime;
}

long VELK_Common::getDateTime(const CIMDateTime& dateTime)
{
    struct tm broken;
    memset(&broken, 0, sizeof(broken));
    String text = dateTime.toString();
    if (_formatDateTime(text.getCString(), &broken) < 1)
        return 0;
    time_t seconds = mktime(&broken);
    if (seconds == (time_t)-1)
        throw DateTimeOutOfRangeException(text);
    return (long)seconds;
}

int VELK_Common::_formatDateTime(const char* text, struct tm* out)
{
    char buffer[26];
    memset(buffer, 0, sizeof(buffer));
    strncpy(buffer, text, 25);
    out->tm_sec = 0;
    out->tm_min = 0;
    out->tm_hour = 0;
    out->tm_mday = 0;
    out->tm_mon = 0;
    out->tm_year = 0;
    out->tm_wday = 0;
    out->tm_yday = 0;

    // atoi of the characters [from, from + len)
    auto field = [&buffer](int from, int len) {
        char part[5];
        memset(part, 0, sizeof(part));
        memcpy(part, buffer + from, (size_t)len);
        return atoi(part);
    };

    int year = field(0, 4);
    if (year == 0)
        return 0;
    if (year < 0)
        return -1;
    out->tm_year = year - 1900;
    if (out->tm_year < 0)
        return -1;
    out->tm_mon = field(4, 2) - 1;
    if (out->tm_mon < 0)
        return -1;
    out->tm_mday = field(6, 2);
    out->tm_hour = field(8, 2);
    out->tm_min = field(10, 2);
    out->tm_sec = field(12, 2);
    out->tm_isdst = -1;
    return 1;
}

String VELK_Common::getTimeZone()
{
    time_t now = time(0);
    struct tm local;
    memset(&local, 0, sizeof(local));
    localtime_r(&now, &local);
    long minutes = local.tm_gmtoff / 60;
    long hours = labs(minutes) / 60;
    char text[32];
    if (minutes < 1)
        snprintf(text, sizeof(text), "GMT-%d", (int)hours);
    else
        snprintf(text, sizeof(text), "GMT+%d", (int)hours);
    return String(text);
}

// ---------------------------------------------------------------------------
// Numbers in text
// ---------------------------------------------------------------------------

Boolean VELK_Common::parseUint32(const String& text, Uint32& value)
{
    if (text.size() == 0)
        return false;
    Uint64 result = 0;
    for (Uint32 i = 0; i < text.size(); i++)
    {
        Uint16 c = text[i];
        if (c < '0' || c > '9')
            return false;
        result = result * 10 + Uint64(c - '0');
        if (result > 0xFFFFFFFFull)
            return false;
    }
    value = Uint32(result);
    return true;
}

// ---------------------------------------------------------------------------
// System identity
// ---------------------------------------------------------------------------

CIMObjectPath VELK_Common::buildInternalCacheObjectPath(const String& host,
    const String& name)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"),
        name + String("-InternalCache"), CIMKeyBinding::STRING));
    return CIMObjectPath(host, CIMNamespaceName(INTERNAL_CACHE_NAMESPACE),
        CIMName("VELK_InternalCache"), keys);
}

CIMValue VELK_Common::invokeMethod(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& methodName,
    const Array<CIMParamValue>& inParameters,
    Array<CIMParamValue>& outParameters)
{
    log_message(4, "-->VELK_Common::invokeMethod()\n");
    CIMClient client;
    client.connectLocal();
    CIMValue returnValue = client.invokeMethod(nameSpace, instanceName,
        methodName, inParameters, outParameters);
    client.disconnect();
    log_message(4, "<--VELK_Common::invokeMethod()\n");
    return returnValue;
}

namespace
{

// The first output parameter, when it has the expected name and a value.
String firstOutput(const Array<CIMParamValue>& outParameters,
    const char* expectedName)
{
    String result;
    if (outParameters.size() > 0)
    {
        if (String::equalNoCase(outParameters[0].getParameterName(),
                String(expectedName)) &&
            !outParameters[0].getValue().isNull())
        {
            outParameters[0].getValue().get(result);
        }
    }
    return result;
}

} // namespace

String VELK_Common::getSystemName(CIMOMHandle& cimom)
{
    CIMObjectPath path =
        buildInternalCacheObjectPath(String("localhost"), String("localhost"));
    Array<CIMParamValue> inParameters;
    Array<CIMParamValue> outParameters;
    try
    {
        invokeMethod(CIMNamespaceName(INTERNAL_CACHE_NAMESPACE), path,
            CIMName("GetSystemName"), inParameters, outParameters);
    }
    catch (...)
    {
        // The local connection failed: ask through the server's handle.
        cimom.invokeMethod(OperationContext(),
            CIMNamespaceName(INTERNAL_CACHE_NAMESPACE), path,
            CIMName("GetSystemName"), inParameters, outParameters);
    }
    return firstOutput(outParameters, "SystemName");
}

String VELK_Common::getSystemName()
{
    CIMObjectPath path =
        buildInternalCacheObjectPath(String("localhost"), String("localhost"));
    Array<CIMParamValue> inParameters;
    Array<CIMParamValue> outParameters;
    invokeMethod(CIMNamespaceName(INTERNAL_CACHE_NAMESPACE), path,
        CIMName("GetSystemName"), inParameters, outParameters);
    return firstOutput(outParameters, "SystemName");
}

String VELK_Common::getSystemHostName(CIMOMHandle&)
{
    CIMObjectPath path =
        buildInternalCacheObjectPath(String("localhost"), String("localhost"));
    Array<CIMParamValue> inParameters;
    Array<CIMParamValue> outParameters;
    invokeMethod(CIMNamespaceName(INTERNAL_CACHE_NAMESPACE), path,
        CIMName("GetSystemHostName"), inParameters, outParameters);
    return firstOutput(outParameters, "SystemHostName");
}

// ---------------------------------------------------------------------------
// Object paths
// ---------------------------------------------------------------------------

Boolean VELK_Common::matchObjectPath(const CIMObjectPath& path1,
    const CIMObjectPath& path2)
{
    Array<CIMKeyBinding> keys1 = normalisedKeys(path1);
    Array<CIMKeyBinding> keys2 = normalisedKeys(path2);
    CIMObjectPath hostless1(String(), path1.getNameSpace(),
        path1.getClassName(), keys1);
    CIMObjectPath hostless2(String(), path2.getNameSpace(),
        path2.getClassName(), keys2);
    return hostless1.identical(hostless2);
}

// ---------------------------------------------------------------------------
// Remote copy
// ---------------------------------------------------------------------------

String VELK_Common::RCTargetToSysname(const api_rcopy_t& rcopy,
    const String& name)
{
    for (int i = 0; i < rcopy.target_count; i++)
    {
        const rm_target_t& target = rcopy.targets[i];
        if (String::equal(fieldText(target.rm_hdr.rm_name,
                sizeof(target.rm_hdr.rm_name)), name))
        {
            return fieldText(target.rm_remote_sysname,
                sizeof(target.rm_remote_sysname));
        }
    }
    return String();
}

// ---------------------------------------------------------------------------
// Event-log record
// ---------------------------------------------------------------------------

int VELK_Common::setEventParam(api_evtparam_t* eventp, const char* className,
    const char* method, const char* op, const char* user, const char* addr)
{
    if (!eventp)
    {
        log_message(2, "setEventParam: Unable to log event data. The control "
            "block pointer (eventp) is null.\n");
        return 1;
    }
    eventp->inst_param[0] = '\0';

    const size_t length = sizeof(eventp->method);
    if (className)
    {
        strncpy(eventp->method, className, length - 2);
        eventp->method[length - 2] = '\0';
        strcat(eventp->method, ":");
    }
    else if (method)
    {
        strcpy(eventp->method, ":");
    }
    else
    {
        eventp->method[0] = '\0';
    }
    if (method)
    {
        strncat(eventp->method, method,
            length - strlen(eventp->method) - 1);
        eventp->method[length - 1] = '\0';
    }

    copyField(eventp->inst_op, sizeof(eventp->inst_op), op);
    copyField(eventp->user, sizeof(eventp->user), user);
    copyField(eventp->addr, sizeof(eventp->addr), addr);
    return 0;
}

int VELK_Common::setEventParam(api_evtparam_t* eventp, const char* className,
    const char* method, const char* op, const char* user, const char* addr,
    const char* evtText)
{
    setEventParam(eventp, className, method, op, user, addr);
    copyField(eventp->inst_param, sizeof(eventp->inst_param), evtText);
    return 0;
}

int VELK_Common::setEventOp(api_evtparam_t* eventp, const char* op)
{
    if (!eventp)
    {
        log_message(2, "setEventOp: Unable to log event data. The control "
            "block pointer (eventp) is null.\n");
        return 1;
    }
    copyField(eventp->inst_op, sizeof(eventp->inst_op), op);
    return 0;
}

// ---------------------------------------------------------------------------
// The request guard and the refused operations
// ---------------------------------------------------------------------------

void VELK_Common::checkUser(const String& userName, const String& source,
    Uint32 line)
{
    if (api_velkOpenForCimserver(userName.getCString()) != 0)
    {
        throw TraceableCIMException(CIM_ERR_ACCESS_DENIED,
            "Insufficient privilege for the user", source, line);
    }
}

void VELK_Common::checkUser(const OperationContext& context,
    const String& source, Uint32 line)
{
    IdentityContainer identity = context.get(IdentityContainer::NAME);
    checkUser(identity.getUserName(), source, line);
}

void VELK_Common::refuseOperation(const String& provider, const char* what)
{
    throw CIMNotSupportedException(
        provider + " does not support " + what + ".");
}

void VELK_Common::checkClass(const CIMObjectPath& path,
    const CIMName& className, const String& provider)
{
    if (!path.getClassName().equal(className))
    {
        throw CIMNotSupportedException(provider + " Invalid class name" +
            path.getClassName().getString());
    }
}

String VELK_Common::getInstanceIDKey(const CIMObjectPath& path,
    const String& provider)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
    {
        if (keys[i].getName().equal(CIMName("InstanceID")))
            return keys[i].getValue();
    }
    throw CIMInvalidParameterException(provider + " InstanceID key not found.");
}

namespace
{

// A given role must name one of the ends. The role of the source
// (sameEnd) names the source's own end, a result role the other end.
bool roleRuledOut(const String& role, const char* roleA, const char* roleB,
    bool sourceAtA, bool sourceAtB, bool sameEnd)
{
    if (role.size() == 0)
        return false;
    const bool a = String::equalNoCase(role, roleA);
    const bool b = String::equalNoCase(role, roleB);
    if (!a && !b)
        return true;
    if (sourceAtA && !(sameEnd ? a : b))
        return true;
    if (sourceAtB && !(sameEnd ? b : a))
        return true;
    return false;
}

}

bool VELK_Common::invalidRoles(const String& role, const String& resultRole,
    const char* roleA, const char* roleB, bool sourceAtA, bool sourceAtB)
{
    return roleRuledOut(role, roleA, roleB, sourceAtA, sourceAtB, true) ||
        roleRuledOut(resultRole, roleA, roleB, sourceAtA, sourceAtB, false);
}

bool VELK_Common::isOneOf(const CIMName& name, const char* const* names,
    size_t count)
{
    for (size_t i = 0; i < count; i++)
    {
        if (name.equal(CIMName(names[i])))
            return true;
    }
    return false;
}

PEGASUS_NAMESPACE_END
