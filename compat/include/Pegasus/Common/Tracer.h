//
// Trace macros of the server code. This SDK keeps no trace file: the macros
// check their arguments at compile time and generate no code.
//
#ifndef Pegasus_Tracer_h
#define Pegasus_Tracer_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

enum TraceComponentId
{
    TRC_XML,
    TRC_XML_IO,
    TRC_HTTP,
    TRC_REPOSITORY,
    TRC_DISPATCHER,
    TRC_OS_ABSTRACTION,
    TRC_CONFIG,
    TRC_IND_HANDLER,
    TRC_AUTHENTICATION,
    TRC_AUTHORIZATION,
    TRC_USER_MANAGER,
    TRC_SHUTDOWN,
    TRC_SERVER,
    TRC_INDICATION_SERVICE,
    TRC_MESSAGEQUEUESERVICE,
    TRC_PROVIDERMANAGER,
    TRC_OBJECTRESOLUTION,
    TRC_WQL,
    TRC_CQL,
    TRC_THREAD,
    TRC_EXP_REQUEST_DISP,
    TRC_SSL,
    TRC_CONTROLPROVIDER,
    TRC_CIMOM_HANDLE,
    TRC_L10N,
    TRC_EXPORT_CLIENT,
    TRC_LISTENER,
    TRC_DISCARDED_DATA,
    TRC_PROVIDERAGENT,
    TRC_IND_FORMATTER,
    TRC_STATISTICAL_DATA,
    TRC_CMPIPROVIDER,
    TRC_INDICATION_GENERATION,
    TRC_INDICATION_RECEIPT,
    TRC_CMPIPROVIDERINTERFACE,
    TRC_WSMSERVER,
    TRC_LOGMSG,
    TRC_WMI_MAPPER_CONSUMER,
    TRC_INTERNALPROVIDER,
    TRC_ENUMCONTEXT
};

// Marks the scope of a traced method (see PEG_METHOD_ENTER).
struct TracerToken
{
    TracerToken() : component(TRC_XML), method(0) {}
    TraceComponentId component;
    const char* method;
};

class PEGASUS_COMMON_LINKAGE Tracer
{
public:
    enum TraceLevel
    {
        LEVEL0 = 0,
        LEVEL1 = (1 << 0),
        LEVEL2 = (1 << 1),
        LEVEL3 = (1 << 2),
        LEVEL4 = (1 << 3),
        LEVEL5 = (1 << 4)
    };

    static Boolean isTraceOn() { return false; }

    static Boolean isTraceEnabled(const TraceComponentId, const Uint32)
    {
        return false;
    }

    // Never called: the trace macros name it in dead code so that their
    // arguments are type-checked against the format.
    static PEGASUS_FORMAT(3, 4) void traceDiscarded(
        TraceComponentId, Uint32, const char*, ...) {}

    static void traceCStringDiscarded(TraceComponentId, Uint32, const char*) {}
};

PEGASUS_NAMESPACE_END

#define PEG_METHOD_ENTER(comp, meth) \
    ::Pegasus::TracerToken __tracerToken; \
    __tracerToken.component = (comp); \
    __tracerToken.method = (meth)

#define PEG_METHOD_EXIT() \
    do \
    { \
        (void)__tracerToken; \
    } while (0)

#define PEG_TRACE(VAR_ARGS) \
    do \
    { \
        if (0) \
            ::Pegasus::Tracer::traceDiscarded VAR_ARGS; \
    } while (0)

#define PEG_TRACE_CSTRING(comp, level, chars) \
    do \
    { \
        if (0) \
            ::Pegasus::Tracer::traceCStringDiscarded((comp), (level), (chars)); \
    } while (0)

#endif /* Pegasus_Tracer_h */
