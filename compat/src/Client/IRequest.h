// One intrinsic request of the client library, as CIM-XML: IMETHODCALL with
// its namespace, the IPARAMVALUEs appended in between, and the exchange.
// Private to libpegclient.
#ifndef Pegasus_IRequest_h
#define Pegasus_IRequest_h

#include <string>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/String.h>
#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include "CIMClientRep.h"

PEGASUS_NAMESPACE_BEGIN

// Builds one IMETHODCALL; parameters are appended between begin and end.
class IRequest
{
public:
    IRequest(CIMClientRep* rep, const char* name, const CIMNamespaceName& ns)
        : _rep(rep), _name(name), _ns(ns), _id(rep->nextMessageId()), _w(_body)
    {
        _w.appendRequestStart(_id);
        _w.appendStartTag("IMETHODCALL", "NAME", _name);
        _w.appendLocalNamespacePath(ns);
    }

    XmlWriter& w() { return _w; }

    void boolean(const char* name, Boolean v) { _w.appendBooleanIParam(name, v); }

    void className(const char* name, const CIMName& c)
    {
        if (!c.isNull())
            _w.appendClassNameIParam(name, c);
    }

    void string(const char* name, const String& s)
    {
        if (s.size())
            _w.appendStringIParam(name, s);
    }

    void propertyList(const CIMPropertyList& pl)
    {
        if (!pl.isNull())
            _w.appendPropertyListIParam(pl.getPropertyNameArray());
    }

    void instanceName(const char* name, const CIMObjectPath& path)
    {
        _w.appendIParamStart(name);
        _w.appendInstanceName(path);
        _w.appendIParamEnd();
    }

    void objectName(const CIMObjectPath& path)
    {
        if (path.getKeyBindings().size() == 0)
            className("ObjectName", path.getClassName());
        else
            instanceName("ObjectName", path);
    }

    CimXmlIMethodResponse send()
    {
        _w.appendEndTag("IMETHODCALL");
        _w.appendRequestEnd();
        return _rep->intrinsic(_name, _id, _ns.getString(), _body);
    }

private:
    CIMClientRep* _rep;
    String _name;
    CIMNamespaceName _ns;
    String _id;
    std::string _body;
    XmlWriter _w;
};

PEGASUS_NAMESPACE_END

#endif
