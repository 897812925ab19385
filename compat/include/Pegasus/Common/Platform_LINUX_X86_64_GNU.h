//
// Platform definitions for Linux on x86-64 with a GNU-compatible compiler.
// Included by <Pegasus/Common/Config.h> only.
//
#ifndef Pegasus_Platform_LINUX_X86_64_GNU_h
#define Pegasus_Platform_LINUX_X86_64_GNU_h

#define PEGASUS_OS_TYPE_UNIX
#define PEGASUS_OS_LINUX
#define PEGASUS_ARCHITECTURE_X86_64
#define PEGASUS_COMPILER_GNU
#define PEGASUS_PLATFORM_LINUX_GENERIC_GNU

#define PEGASUS_UINT64 unsigned long long
#define PEGASUS_SINT64 long long

#define PEGASUS_HAVE_NAMESPACES
#define PEGASUS_HAVE_EXPLICIT
#define PEGASUS_HAVE_MUTABLE
#define PEGASUS_HAVE_FOR_SCOPE
#define PEGASUS_HAVE_TEMPLATE_SPECIALIZATION
#define PEGASUS_HAVE_BOOLEAN
#define PEGASUS_HAVE_IOS_BINARY
#define PEGASUS_HAVE_PTHREADS
#define PEGASUS_HAVE_NANOSLEEP
#define PEGASUS_POINTER_64BIT
#define PEGASUS_INTEGERS_BOUNDARY_ALIGNED

#define PEGASUS_MAXHOSTNAMELEN 256

#endif /* Pegasus_Platform_LINUX_X86_64_GNU_h */
