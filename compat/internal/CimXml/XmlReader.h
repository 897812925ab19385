// Decoder of CIM-XML into the CIM object model.
//
// Every entry point takes the XML text of one element (or a whole message)
// and throws CimXmlDecodeException when the text is not well-formed, not
// the expected element, or carries a value that does not convert.
//
// Tolerant on input: any attribute order, <X/> and <X></X>, CDATA and
// character references, both spellings of the EmbeddedObject attribute,
// surrounding whitespace of non-string scalars, 0x hex integers.
//
// Not part of the OpenPegasus API.
#ifndef CimXml_XmlReader_h
#define CimXml_XmlReader_h

#include <string>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>
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

// A CIM-XML text that cannot be decoded. wellFormed() is false when the text
// is not even well-formed XML.
class PEGASUS_COMMON_LINKAGE CimXmlDecodeException : public Exception
{
public:
    CimXmlDecodeException(const String& message, Boolean wellFormed = true);
    Boolean wellFormed() const { return _wellFormed; }

private:
    Boolean _wellFormed;
};

// The content of an IMETHODRESPONSE.
struct PEGASUS_COMMON_LINKAGE CimXmlIMethodResponse
{
    Boolean isError = false;
    Uint32 errorCode = 0;
    String errorDescription;
    Array<CIMInstance> errorInstances;

    Boolean hasReturnValue = false;         // an IRETURNVALUE was present
    Array<CIMClass> classes;                 // CLASS
    Array<CIMName> classNames;               // CLASSNAME
    Array<CIMInstance> instances;            // INSTANCE, VALUE.NAMEDINSTANCE (path = its INSTANCENAME),
                                             // VALUE.INSTANCEWITHPATH (path = its INSTANCEPATH)
    Array<CIMObjectPath> paths;              // INSTANCENAME, OBJECTPATH, INSTANCEPATH, CLASSPATH
    Array<CIMObject> objects;                // VALUE.OBJECTWITHPATH, VALUE.OBJECTWITHLOCALPATH, VALUE.OBJECT
    Array<CIMQualifierDecl> qualifierDecls;  // QUALIFIER.DECLARATION
    Boolean hasValue = false;                // VALUE, VALUE.ARRAY, VALUE.REFERENCE
    CIMValue value;                          // untyped text arrives as string
    Array<CIMParamValue> outParameters;      // PARAMVALUE after IRETURNVALUE (pull operations)
};

// The content of a METHODRESPONSE.
struct PEGASUS_COMMON_LINKAGE CimXmlMethodResponse
{
    Boolean isError = false;
    Uint32 errorCode = 0;
    String errorDescription;
    Array<CIMInstance> errorInstances;

    Boolean hasReturnValue = false;
    CIMValue returnValue;
    Array<CIMParamValue> outParameters;
};

class PEGASUS_COMMON_LINKAGE XmlReader
{
public:
    // Most VALUE.REFERENCE elements nested in one another (a reference key
    // whose path has a reference key, ...); deeper nesting is refused.
    static const Uint32 MAX_REFERENCE_DEPTH = 8;

    // Scalar text (VALUE / KEYVALUE content) to a value of the given type.
    static CIMValue scalarFromText(const String& text, CIMType type);
    // Type name as in TYPE / PARAMTYPE ("reference" included).
    static Boolean typeFromName(const String& name, CIMType& type);

    // VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY, typed.
    static CIMValue decodeValue(const std::string& xml, CIMType type);
    static CIMObjectPath decodeValueReference(const std::string& xml);
    // Any of CLASSNAME, LOCALCLASSPATH, CLASSPATH, INSTANCENAME,
    // LOCALINSTANCEPATH, INSTANCEPATH, OBJECTPATH.
    static CIMObjectPath decodeObjectPath(const std::string& xml);
    static CIMNamespaceName decodeLocalNamespacePath(const std::string& xml);
    static CIMKeyBinding decodeKeyBinding(const std::string& xml);
    static CIMQualifier decodeQualifier(const std::string& xml);
    static CIMQualifierDecl decodeQualifierDecl(const std::string& xml);
    static CIMProperty decodeProperty(const std::string& xml);
    static CIMParameter decodeParameter(const std::string& xml);
    static CIMMethod decodeMethod(const std::string& xml);
    static CIMClass decodeClass(const std::string& xml);
    static CIMInstance decodeInstance(const std::string& xml);
    // CLASS or INSTANCE.
    static CIMObject decodeObject(const std::string& xml);
    // The text of an embedded object (as carried by a string VALUE);
    // instanceOnly rejects a CLASS.
    static CIMObject decodeEmbeddedObject(const String& text, Boolean instanceOnly);
    // VALUE.NAMEDINSTANCE: the instance with its INSTANCENAME as path.
    static CIMInstance decodeValueNamedInstance(const std::string& xml);
    // VALUE.OBJECTWITHPATH / VALUE.OBJECTWITHLOCALPATH: object with its path.
    static CIMObject decodeValueObjectWithPath(const std::string& xml);
    static CIMParamValue decodeParamValue(const std::string& xml);

    // Whole response messages; name and messageId must match the request.
    static CimXmlIMethodResponse decodeIMethodResponse(const std::string& body,
        const String& methodName, const String& messageId);
    static CimXmlMethodResponse decodeMethodResponse(const std::string& body,
        const String& methodName, const String& messageId);

    // %HH decoding of a CIMMethod / CIMObject header; false on a bad escape.
    static Boolean percentDecode(const std::string& in, std::string& out);
    // True when the bytes are valid UTF-8 (no overlongs, no surrogates).
    static Boolean isValidUtf8(const char* data, size_t size);
};

PEGASUS_NAMESPACE_END

#endif
