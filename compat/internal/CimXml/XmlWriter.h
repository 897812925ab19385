// Encoder of the CIM object model into CIM-XML.
//
// Output is the narrow form that strict clients accept: declaration-free
// elements, one element per line where a line holds children, empty
// element tags only for NAMESPACE, CLASSNAME, childless ERROR and key-less
// INSTANCENAME, five named entities only. The EXTENDED flag adds the
// EmbeddedObject attribute where strict clients choke on it
// (PROPERTY.ARRAY, RETURNVALUE) and the CIM_Error instances of ERROR.
//
// Not part of the OpenPegasus API.
#ifndef CimXml_XmlWriter_h
#define CimXml_XmlWriter_h

#include <cstring>
#include <string>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>

PEGASUS_NAMESPACE_BEGIN

class CIMException;
class CIMPropertyRep;

class PEGASUS_COMMON_LINKAGE XmlWriter
{
public:
    enum Flags
    {
        STRICT_CLIENT_SAFE = 0,
        EXTENDED = 1,
        // Leave out the qualifiers of instances and of their properties
        // (instance qualifiers are deprecated on the wire).
        NO_INSTANCE_QUALIFIERS = 2
    };

    explicit XmlWriter(std::string& out, Uint32 flags = STRICT_CLIENT_SAFE);

    std::string& out() { return _out; }

    // Escaping. Text escapes & < >, attributes also ". CR and the control
    // characters that XML 1.0 cannot carry raw are written as character
    // references so that they survive a round trip.
    static void appendEscaped(std::string& out, const String& s, bool attribute);
    static void appendEscaped(std::string& out, const char* utf8, size_t n,
        bool attribute);
    static std::string toUtf8(const String& s);

    // The XML text of an embedded CLASS or INSTANCE (no trailing newline),
    // as carried inside a VALUE; nested embedded values carry their
    // EmbeddedObject attribute at every depth, arrays included.
    static std::string embeddedObjectText(const CIMConstObject& object);
    // The same as a String: the text of CIMObject::toString() and of
    // CIMValue::toString() for embedded objects.
    static String objectToXml(const CIMConstObject& object);

    // Scalar text of a non-null scalar value (no escaping, UTF-8).
    static std::string scalarText(const CIMValue& value);

    // VALUE / VALUE.ARRAY / VALUE.REFERENCE (VALUE.REFARRAY for reference
    // arrays); nothing at all for a null value.
    void appendValue(const CIMValue& value);
    void appendValueReference(const CIMObjectPath& reference);

    void appendClassName(const CIMName& className);
    void appendLocalNamespacePath(const CIMNamespaceName& nameSpace);
    void appendNamespacePath(const String& host,
        const CIMNamespaceName& nameSpace);
    void appendLocalClassPath(const CIMObjectPath& path);
    void appendClassPath(const CIMObjectPath& path);
    void appendKeyBinding(const CIMKeyBinding& keyBinding);
    void appendInstanceName(const CIMObjectPath& path);
    // INSTANCENAME of each path in turn.
    void appendInstanceNames(const Array<CIMObjectPath>& paths);
    void appendLocalInstancePath(const CIMObjectPath& path);
    void appendInstancePath(const CIMObjectPath& path);
    // OBJECTPATH holding INSTANCEPATH, or CLASSPATH when asClass is true.
    void appendObjectPath(const CIMObjectPath& path, bool asClass);

    void appendQualifier(const CIMConstQualifier& qualifier);
    void appendQualifierDecl(const CIMConstQualifierDecl& decl);
    void appendProperty(const CIMConstProperty& property);
    void appendParameter(const CIMConstParameter& parameter);
    void appendMethod(const CIMConstMethod& method);
    void appendClass(const CIMConstClass& cimClass);
    void appendInstance(const CIMConstInstance& instance);
    void appendObject(const CIMConstObject& object);

    // INSTANCENAME (from the instance's path) + INSTANCE.
    void appendValueNamedInstance(const CIMConstInstance& instance);
    // INSTANCEPATH + INSTANCE or CLASSPATH + CLASS, from the object's path.
    void appendValueObjectWithPath(const CIMConstObject& object);
    // LOCALINSTANCEPATH + INSTANCE or LOCALCLASSPATH + CLASS.
    void appendValueObjectWithLocalPath(const CIMConstObject& object);

    // PARAMVALUE: PARAMTYPE when the value is typed, EmbeddedObject for
    // embedded objects, VALUE.REFARRAY for reference arrays; empty content
    // for NULL.
    void appendParamValue(const CIMParamValue& paramValue);
    void appendReturnValue(const CIMValue& value);
    // ERROR CODE DESCRIPTION ("<CIM_ERR_NAME>: <message>").
    void appendError(const CIMException& exception);
    void appendError(Uint32 code, const String& description);

    // Envelope pieces.
    static const char* xmlDeclaration();
    void appendMessageStart(const String& messageId);   // up to SIMPLEREQ/SIMPLERSP
    void appendRequestStart(const String& messageId);
    void appendRequestEnd();
    void appendResponseStart(const String& messageId);
    void appendResponseEnd();
    void appendStartTag(const char* name);                // <name>
    void appendStartTag(const char* name, const char* attr, const String& value);
    void appendEndTag(const char* name);                  // </name>\n
    // <IPARAMVALUE NAME="name"> ... </IPARAMVALUE>
    void appendIParamStart(const char* name);
    void appendIParamEnd();
    void appendBooleanIParam(const char* name, Boolean value);
    void appendClassNameIParam(const char* name, const CIMName& className);
    void appendStringIParam(const char* name, const String& value);
    void appendPropertyListIParam(const Array<CIMName>& names);

    // Text of the escaped percent form of a CIMMethod / CIMObject header.
    static std::string percentEncode(const String& s);

private:
    class Scope;

    // Raw output: while a public call runs, _out is longer than its text
    // (zero-filled room) and bytes are written at _p; the call's Scope cuts
    // _out back to its text when the outermost call returns.
    char* _room(size_t n)
    {
        if (size_t(_end - _p) < n)
            _grow(n);
        return _p;
    }
    void _grow(size_t n);
    void _text(const char* s, size_t n)
    {
        char* d = _room(n);
        std::memcpy(d, s, n);
        _p = d + n;
    }
    template <size_t N>
    void _lit(const char (&s)[N])
    {
        _text(s, N - 1);
    }
    void _text(const char* s) { _text(s, std::strlen(s)); }
    // lead, the escaped text of s (mode as in escaping: 0 element text, 1
    // embedded XML, 2 attribute value), then trail.
    template <size_t L, size_t T>
    void _escaped(const char (&lead)[L], const String& s, int mode, const char (&trail)[T]);
    void _escaped(const Char16* s, size_t n, int mode);
    void _escaped(const char* s, size_t n, int mode);
    // lead (` NAME="`), the escaped value, and the closing quote.
    template <size_t N>
    void _attr(const char (&lead)[N], const String& value);
    // PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE of a property.
    void _property(const CIMPropertyRep* property);
    template <class T>
    void _valueOf(const T& x);
    template <class T>
    void _scalarValue(const CIMValue& value);
    template <class T>
    void _arrayValues(const CIMValue& value);
    void _appendFlavor(const CIMFlavor& flavor);
    void _appendReferenceContent(const CIMObjectPath& path);

    // The text up to the key value of the last INSTANCENAME of one key
    // written with interned class and key names.
    struct KeyedHead
    {
        const void* className = nullptr;
        const void* keyName = nullptr;
        int type = -1;
        std::string text;
    };
    KeyedHead _keyedHead;

    std::string& _out;
    char* _p;
    char* _end;
    size_t _opened;     // where the outermost call started writing
    size_t _lastSize;   // what the last outermost call wrote
    Uint32 _depth;
    Uint32 _flags;
    bool _skipQualifiers;
};

PEGASUS_NAMESPACE_END

#endif
