// Compiles MOF text into a Repository: qualifier declarations, classes and
// instances, with #pragma include and #pragma namespace.
//
// Namespaces are created on demand. A #pragma namespace holds until the next
// one or the end of the file that contains it; an included file starts in the
// namespace of the file that includes it, and that namespace is back in force
// when the included file ends. #pragma include paths are relative to the
// directory of the including file (absolute paths are taken as they are).
//
// The first error stops the compilation with a MofError naming the file and
// line. Declarations compiled before the error stay in the repository.
#ifndef cimhost_MofCompiler_h
#define cimhost_MofCompiler_h

#include <cimhost/MofError.h>
#include <cimhost/Repository.h>

#include <cstddef>
#include <string>

namespace cimhost {

class MofCompiler
{
public:
    static const char* const DEFAULT_NAMESPACE;   // "root/cimv2"

    explicit MofCompiler(Repository& repository);

    // Compiles a file. The namespace at the start is defaultNamespace.
    void compileFile(const std::string& path,
        const std::string& defaultNamespace = DEFAULT_NAMESPACE);

    // Compiles MOF text; fileName is used in error messages and as the base
    // of relative #pragma include paths.
    void compileString(const std::string& text,
        const std::string& fileName = "<string>",
        const std::string& defaultNamespace = DEFAULT_NAMESPACE);

    // Classes qualified Experimental are accepted by default. Switched off,
    // such a class stops the compilation: a schema can be checked to hold
    // final classes only.
    void setAllowExperimental(bool allow) { _allowExperimental = allow; }
    bool allowExperimental() const { return _allowExperimental; }

    // What this compiler has added so far.
    std::size_t qualifierCount() const { return _qualifiers; }
    std::size_t classCount() const { return _classes; }
    std::size_t instanceCount() const { return _instances; }
    std::size_t fileCount() const { return _files; }

private:
    friend class MofParser;
    Repository& _repository;
    std::size_t _qualifiers = 0;
    std::size_t _classes = 0;
    std::size_t _instances = 0;
    std::size_t _files = 0;
    unsigned _depth = 0;
    bool _allowExperimental = true;
};

} // namespace cimhost

#endif
