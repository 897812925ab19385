// Element-level CIM-XML decoding on a parsed document. Private to
// libpegcommon: the request processor and XmlReader share it.
#ifndef CimXml_XmlNodeReader_h
#define CimXml_XmlNodeReader_h

#include <string>
#include <pugixml.hpp>
#include <CimXml/XmlReader.h>

PEGASUS_NAMESPACE_BEGIN

namespace XmlNode
{

[[noreturn]] void fail(const std::string& message);

// Parses text into doc; throws CimXmlDecodeException(wellFormed=false).
void parse(pugi::xml_document& doc, const char* data, size_t size);
// The single element of a fragment document, which must be named name
// (any name when name is 0).
pugi::xml_node rootElement(const pugi::xml_document& doc, const char* name);

bool is(const pugi::xml_node& n, const char* name);
// Attribute value or 0 when absent.
const char* attr(const pugi::xml_node& n, const char* name);
const char* requireAttr(const pugi::xml_node& n, const char* name);
String toString(const char* utf8);
// Concatenated character data (PCDATA and CDATA) of an element.
std::string text(const pugi::xml_node& n);
CIMName name(const pugi::xml_node& n, const char* attrName);
bool boolAttr(const pugi::xml_node& n, const char* name, bool dflt);
CIMType typeAttr(const pugi::xml_node& n, const char* name);
bool typeByName(const char* s, CIMType& type);
// First element child / next element sibling.
pugi::xml_node firstElement(const pugi::xml_node& n);
pugi::xml_node nextElement(const pugi::xml_node& n);

CIMValue scalar(const std::string& text, CIMType type);
// VALUE / VALUE.ARRAY / VALUE.REFERENCE / VALUE.REFARRAY with a known type.
CIMValue value(const pugi::xml_node& n, CIMType type);
// The same without a type: strings, string arrays, references.
CIMValue untypedValue(const pugi::xml_node& n);
bool isValueElement(const pugi::xml_node& n);

CIMNamespaceName localNamespacePath(const pugi::xml_node& n);
void namespacePath(const pugi::xml_node& n, String& host, CIMNamespaceName& ns);
CIMObjectPath instanceName(const pugi::xml_node& n);
CIMKeyBinding keyBinding(const pugi::xml_node& n);
CIMObjectPath localInstancePath(const pugi::xml_node& n);
CIMObjectPath instancePath(const pugi::xml_node& n);
CIMObjectPath localClassPath(const pugi::xml_node& n);
CIMObjectPath classPath(const pugi::xml_node& n);
// Any path element (see XmlReader::decodeObjectPath); isClass tells
// whether it named a class.
CIMObjectPath anyPath(const pugi::xml_node& n, bool* isClass = 0);
CIMObjectPath valueReference(const pugi::xml_node& n);

CIMFlavor flavor(const pugi::xml_node& n);
CIMQualifier qualifier(const pugi::xml_node& n);
CIMQualifierDecl qualifierDecl(const pugi::xml_node& n);
CIMProperty property(const pugi::xml_node& n);
CIMParameter parameter(const pugi::xml_node& n);
CIMMethod method(const pugi::xml_node& n);
CIMClass cimClass(const pugi::xml_node& n);
CIMInstance instance(const pugi::xml_node& n);
CIMObject object(const pugi::xml_node& n);
CIMObject embeddedObject(const std::string& text, bool instanceOnly);
CIMInstance valueNamedInstance(const pugi::xml_node& n);
CIMObject valueObjectWithPath(const pugi::xml_node& n);
CIMParamValue paramValue(const pugi::xml_node& n);

} // namespace XmlNode

PEGASUS_NAMESPACE_END

#endif
