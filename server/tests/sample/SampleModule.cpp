// Entry point of the sample provider module.
#include "SampleProviders.h"

PEGASUS_USING_PEGASUS;

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    if (String::equalNoCase(name, "SampleWidgetProvider"))
        return new SampleWidgetProvider();
    if (String::equalNoCase(name, "SampleGadgetProvider"))
        return new SampleGadgetProvider();
    if (String::equalNoCase(name, "SampleLinkProvider"))
        return new SampleLinkProvider();
    return 0;
}
