#include "SampleProviders.h"

PEGASUS_NAMESPACE_BEGIN

SampleStore& SampleStore::instance()
{
    static SampleStore store;
    return store;
}

SampleStore::SampleStore()
{
    SampleWidget w1 = {"w1", "first", 10, Array<String>()};
    w1.tags.append("red");
    w1.tags.append("round");
    SampleWidget w2 = {"w2", "second", 20, Array<String>()};
    SampleWidget w3 = {"w3", "third", 30, Array<String>()};
    w3.tags.append("blue");
    widgets = {w1, w2, w3};
    gadgets = {SampleGadget{"g1", "Mk1"}, SampleGadget{"g2", "Mk2"}};
    links = {{"w1", "g1"}, {"w1", "g2"}, {"w2", "g1"}};
}

PEGASUS_NAMESPACE_END
