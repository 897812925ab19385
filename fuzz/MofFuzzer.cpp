// MOF compiler: MofCompiler::compileString into a fresh Repository. The only
// acceptable failures are MofError and Pegasus exceptions; whatever compiled
// must then be readable back from the repository.
//
// #pragma include is disabled (the word is rewritten) so that an input can
// never make the compiler read arbitrary files of the machine it runs on;
// every seed declares the qualifiers it uses.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>

#include <cimhost/MofCompiler.h>
#include <cimhost/MofError.h>
#include <cimhost/Repository.h>
#include <Pegasus/Common/Exception.h>

#include "FuzzSupport.h"

PEGASUS_USING_PEGASUS;

namespace
{

void disableIncludes(std::string& text)
{
    static const char word[] = "include";
    const size_t n = sizeof(word) - 1;
    for (size_t i = 0; i + n <= text.size(); i++)
    {
        size_t k = 0;
        while (k < n && std::tolower(static_cast<unsigned char>(text[i + k])) == word[k])
            k++;
        if (k == n)
            text[i + 4] = 'z';
    }
}

// Reads back everything in the repository: classes resolved and local,
// instances by enumeration and by path.
void readBack(cimhost::Repository& repository)
{
    Array<CIMNamespaceName> namespaces = repository.enumerateNamespaces();
    for (Uint32 i = 0; i < namespaces.size(); i++)
    {
        const CIMNamespaceName& ns = namespaces[i];
        (void)repository.enumerateQualifiers(ns);
        Array<CIMClass> classes =
            repository.enumerateClasses(ns, CIMName(), true, false, true, true);
        for (Uint32 c = 0; c < classes.size(); c++)
        {
            CIMName name = classes[c].getClassName();
            (void)repository.getFullClass(ns, name);
            (void)repository.getSuperClassNames(ns, name);
            Array<CIMInstance> instances = repository.enumerateInstances(ns, name, true);
            for (Uint32 k = 0; k < instances.size(); k++)
            {
                CIMInstance again = repository.getInstance(ns, instances[k].getPath());
                if (again.getPropertyCount() != instances[k].getPropertyCount())
                    velkfuzz::fail("an instance reads back with a different property count");
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);
    disableIncludes(text);

    cimhost::Repository repository;
    cimhost::MofCompiler compiler(repository);
    try
    {
        compiler.compileString(text, "/nonexistent/fuzz.mof", "root/fuzz");
    }
    catch (const cimhost::MofError&)
    {
    }
    catch (const Exception&)
    {
    }
    // Anything else escapes and libFuzzer reports it as a crash.
    readBack(repository);
    return 0;
}
