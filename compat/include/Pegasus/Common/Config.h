//
// Basic configuration of the SDK: the platform header, the fundamental CIM
// types and the namespace and linkage macros every other header uses.
//
#ifndef Pegasus_Config_h
#define Pegasus_Config_h

#if defined(PEGASUS_PLATFORM_LINUX_X86_64_GNU)
# include <Pegasus/Common/Platform_LINUX_X86_64_GNU.h>
#else
# error "<Pegasus/Common/Config.h>: Unsupported Platform"
#endif

#include <cstddef>

#define PEGASUS_NAMESPACE_BEGIN namespace Pegasus {
#define PEGASUS_NAMESPACE_END }
#define PEGASUS_USING_PEGASUS using namespace Pegasus
#define PEGASUS_USING_STD using namespace std
#define PEGASUS_STD(X) std::X

#if defined(__GNUC__) && (__GNUC__ >= 4)
# define PEGASUS_EXPORT __attribute__ ((visibility("default")))
# define PEGASUS_IMPORT __attribute__ ((visibility("default")))
# define PEGASUS_HIDDEN_LINKAGE __attribute__((visibility("hidden")))
#else
# define PEGASUS_EXPORT
# define PEGASUS_IMPORT
# define PEGASUS_HIDDEN_LINKAGE
#endif

#if defined(__GNUC__)
# define PEGASUS_FORMAT(A1, A2) __attribute__((format(printf, A1, A2)))
#else
# define PEGASUS_FORMAT(A1, A2)
#endif

#define PEGASUS_64BIT_CONVERSION_WIDTH "ll"

PEGASUS_NAMESPACE_BEGIN

typedef bool Boolean;
typedef unsigned char Uint8;
typedef signed char Sint8;
typedef unsigned short Uint16;
typedef signed short Sint16;
typedef unsigned int Uint32;
typedef signed int Sint32;
typedef float Real32;
typedef double Real64;
typedef PEGASUS_UINT64 Uint64;
typedef PEGASUS_SINT64 Sint64;

#define PEGASUS_SINT64_LITERAL(X) (Sint64 (X##LL))
#define PEGASUS_UINT64_LITERAL(X) (Uint64 (X##ULL))

#define PEG_NOT_FOUND Uint32(-1)

PEGASUS_NAMESPACE_END

// IdentityContainer::getIpAddress() and the two-argument IdentityContainer
// constructor exist in this SDK; code that must also build elsewhere tests
// this macro.
#define PEGASUS_HAS_IDENTITY_IP_ADDRESS 1

#endif /* Pegasus_Config_h */
