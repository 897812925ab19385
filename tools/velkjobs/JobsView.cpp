#include "JobsView.h"

#include <Pegasus/Common/CIMProperty.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace velkjobs
{

namespace
{

std::string text(const String& s)
{
    return std::string((const char*)s.getCString());
}

CIMValue propertyValue(const CIMInstance& inst, const char* name)
{
    Uint32 pos = inst.findProperty(CIMName(name));
    if (pos == PEG_NOT_FOUND)
        return CIMValue();
    return inst.getProperty(pos).getValue();
}

std::string stringProperty(const CIMInstance& inst, const char* name)
{
    CIMValue v = propertyValue(inst, name);
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_STRING)
        return std::string();
    String s;
    v.get(s);
    return text(s);
}

unsigned percentOf(const CIMInstance& job)
{
    CIMValue v = propertyValue(job, "PercentComplete");
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_UINT16)
        return 0;
    Uint16 p = 0;
    v.get(p);
    return std::min<unsigned>(p, 100);
}

std::string pad(const std::string& s, size_t width)
{
    if (s.size() >= width)
        return s.substr(0, width);
    return s + std::string(width - s.size(), ' ');
}

std::string embeddedText(const CIMValue& v, unsigned indent);

} // namespace

std::string JobsView::stateName(const CIMValue& jobState)
{
    if (jobState.isNull() || jobState.isArray() || jobState.getType() != CIMTYPE_UINT16)
        return "-";
    Uint16 s = 0;
    jobState.get(s);
    static const char* const names[] = {nullptr, nullptr, "New", "Starting", "Running",
        "Suspended", "Shutting Down", "Completed", "Terminated", "Killed", "Exception",
        "Service", "Query Pending"};
    if (s < sizeof(names) / sizeof(names[0]) && names[s])
        return names[s];
    return std::to_string(s);
}

std::string JobsView::jobLabel(const std::string& instanceId)
{
    std::string::size_type at = instanceId.find("task_id:");
    if (at == std::string::npos)
        return instanceId;
    return instanceId.substr(at + 8);
}

std::string JobsView::progressBar(unsigned percent, unsigned width)
{
    percent = std::min(percent, 100u);
    unsigned filled = percent * width / 100;
    char tail[8];
    std::snprintf(tail, sizeof tail, " %3u%%", percent);
    return "[" + std::string(filled, '#') + std::string(width - filled, '.') + "]" + tail;
}

std::string JobsView::valueText(const CIMValue& v)
{
    if (v.isNull())
        return "NULL";
    if (v.getType() == CIMTYPE_INSTANCE || v.getType() == CIMTYPE_OBJECT)
    {
        if (v.isArray())
            return "(" + std::to_string(v.getArraySize()) + " embedded objects)";
        return "(embedded object)";
    }
    if (v.getType() == CIMTYPE_STRING)
    {
        if (!v.isArray())
        {
            String s;
            v.get(s);
            return "\"" + text(s) + "\"";
        }
        Array<String> a;
        v.get(a);
        std::string out;
        for (Uint32 i = 0; i < a.size(); i++)
            out += (i ? ", \"" : "\"") + text(a[i]) + "\"";
        return "{" + out + "}";
    }
    std::string s = text(v.toString());
    if (v.isArray())
    {
        while (!s.empty() && s.back() == ' ')
            s.pop_back();
        std::replace(s.begin(), s.end(), ' ', ',');
        return "{" + s + "}";
    }
    return s;
}

bool JobsView::isFinished(const CIMInstance& job)
{
    CIMValue v = propertyValue(job, "JobState");
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_UINT16)
        return true;
    Uint16 s = 0;
    v.get(s);
    return s >= 7 && s <= 10;
}

std::string JobsView::table(const Array<CIMInstance>& jobs)
{
    std::ostringstream out;
    out << pad("JOB", 8) << pad("NAME", 30) << pad("STATE", 12) << pad("DONE", 6)
        << pad("SOURCE", 20) << "TARGET\n";
    for (Uint32 i = 0; i < jobs.size(); i++)
    {
        const CIMInstance& job = jobs[i];
        out << pad(jobLabel(stringProperty(job, "InstanceID")), 8)
            << pad(stringProperty(job, "Name"), 30)
            << pad(stateName(propertyValue(job, "JobState")), 12)
            << pad(std::to_string(percentOf(job)) + "%", 6)
            << pad(stringProperty(job, "SourceElementName"), 20)
            << stringProperty(job, "TargetElementName") << "\n";
    }
    out << jobs.size() << (jobs.size() == 1 ? " job\n" : " jobs\n");
    return out.str();
}

std::string JobsView::watchScreen(const Array<CIMInstance>& jobs, unsigned width)
{
    std::ostringstream out;
    unsigned finished = 0;
    unsigned barWidth = width > 60 ? width - 40 : 20;
    for (Uint32 i = 0; i < jobs.size(); i++)
    {
        const CIMInstance& job = jobs[i];
        if (isFinished(job))
        {
            finished++;
            continue;
        }
        out << pad(jobLabel(stringProperty(job, "InstanceID")), 7) << " "
            << pad(stringProperty(job, "Name"), 22) << " "
            << progressBar(percentOf(job), barWidth) << " "
            << stateName(propertyValue(job, "JobState")) << "\n";
    }
    unsigned running = jobs.size() - finished;
    out << running << (running == 1 ? " job running, " : " jobs running, ") << finished
        << " finished\n";
    return out.str();
}

std::string JobsView::describe(const CIMInstance& instance, unsigned indent)
{
    std::ostringstream out;
    std::string margin(indent, ' ');
    out << margin << text(instance.getClassName().getString()) << "\n";
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++)
    {
        CIMConstProperty p = instance.getProperty(i);
        CIMValue v = p.getValue();
        out << margin << "  " << text(p.getName().getString()) << " = " << valueText(v) << "\n";
        if (!v.isNull())
            out << embeddedText(v, indent + 4);
    }
    return out.str();
}

namespace
{

std::string embeddedText(const CIMValue& v, unsigned indent)
{
    std::string out;
    if (v.getType() == CIMTYPE_INSTANCE)
    {
        Array<CIMInstance> items;
        if (v.isArray())
            v.get(items);
        else
        {
            CIMInstance one;
            v.get(one);
            items.append(one);
        }
        for (Uint32 i = 0; i < items.size(); i++)
            out += JobsView::describe(items[i], indent);
    }
    else if (v.getType() == CIMTYPE_OBJECT)
    {
        Array<CIMObject> items;
        if (v.isArray())
            v.get(items);
        else
        {
            CIMObject one;
            v.get(one);
            items.append(one);
        }
        for (Uint32 i = 0; i < items.size(); i++)
            if (items[i].isInstance())
                out += JobsView::describe(CIMInstance(items[i]), indent);
    }
    return out;
}

} // namespace

} // namespace velkjobs
