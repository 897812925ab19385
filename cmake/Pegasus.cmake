# Builds the provider modules against an OpenPegasus build instead of compat/:
#   -DVELK_PEGASUS_ROOT=<OpenPegasus source tree>   (its src/Pegasus/... headers)
#   -DVELK_PEGASUS_HOME=<its build home>            (lib/libpegcommon.so, ...)
#   -DVELK_PEGASUS_PLATFORM=LINUX_X86_64_GNU        (its PEGASUS_PLATFORM)
# Defines the targets the modules link (pegcommon, pegprovider, pegclient,
# pegasus_provider_defs) as that OpenPegasus's headers, libraries and the
# definitions its own provider builds use. Wrong paths stop the configuration
# with a message that names what is missing.

set(VELK_PEGASUS_PLATFORM "LINUX_X86_64_GNU" CACHE STRING
  "PEGASUS_PLATFORM of the OpenPegasus build named by VELK_PEGASUS_HOME")

if(NOT VELK_PEGASUS_ROOT OR NOT VELK_PEGASUS_HOME)
  message(FATAL_ERROR "Building against OpenPegasus needs both -DVELK_PEGASUS_ROOT=<OpenPegasus "
    "source tree> and -DVELK_PEGASUS_HOME=<its build home>; got VELK_PEGASUS_ROOT="
    "\"${VELK_PEGASUS_ROOT}\" and VELK_PEGASUS_HOME=\"${VELK_PEGASUS_HOME}\".")
endif()

set(_peg_headers
  src/Pegasus/Common/Config.h
  src/Pegasus/Common/Platform_${VELK_PEGASUS_PLATFORM}.h
  src/Pegasus/Common/InternalException.h
  src/Pegasus/Provider/CIMProvider.h
  src/Pegasus/Client/CIMClient.h)
set(_peg_missing "")
foreach(h ${_peg_headers})
  if(NOT EXISTS "${VELK_PEGASUS_ROOT}/${h}")
    list(APPEND _peg_missing "${VELK_PEGASUS_ROOT}/${h}")
  endif()
endforeach()
if(_peg_missing)
  list(JOIN _peg_missing "\n  " _peg_list)
  message(FATAL_ERROR "VELK_PEGASUS_ROOT=\"${VELK_PEGASUS_ROOT}\" is not an OpenPegasus source "
    "tree for platform ${VELK_PEGASUS_PLATFORM}: missing\n  ${_peg_list}")
endif()

foreach(lib pegcommon pegprovider pegclient)
  set(_peg_lib "${VELK_PEGASUS_HOME}/lib/lib${lib}${CMAKE_SHARED_LIBRARY_SUFFIX}")
  if(NOT EXISTS "${_peg_lib}")
    list(APPEND _peg_missing "${_peg_lib}")
  endif()
endforeach()
if(_peg_missing)
  list(JOIN _peg_missing "\n  " _peg_list)
  message(FATAL_ERROR "VELK_PEGASUS_HOME=\"${VELK_PEGASUS_HOME}\" is not a built OpenPegasus "
    "home (run its make first): missing\n  ${_peg_list}")
endif()

# The definitions of an OpenPegasus provider build: its platform, internal
# code, experimental and deprecated interfaces.
add_library(pegasus_provider_defs INTERFACE)
target_compile_definitions(pegasus_provider_defs INTERFACE
  PEGASUS_PLATFORM_${VELK_PEGASUS_PLATFORM} PEGASUS_INTERNALONLY
  PEGASUS_USE_EXPERIMENTAL_INTERFACES PEGASUS_USE_DEPRECATED_INTERFACES)

foreach(lib pegcommon pegprovider pegclient)
  add_library(${lib} SHARED IMPORTED GLOBAL)
  set_target_properties(${lib} PROPERTIES
    IMPORTED_LOCATION "${VELK_PEGASUS_HOME}/lib/lib${lib}${CMAKE_SHARED_LIBRARY_SUFFIX}"
    INTERFACE_INCLUDE_DIRECTORIES "${VELK_PEGASUS_ROOT}/src"
    INTERFACE_COMPILE_DEFINITIONS "PEGASUS_PLATFORM_${VELK_PEGASUS_PLATFORM}")
endforeach()
set_property(TARGET pegprovider PROPERTY INTERFACE_LINK_LIBRARIES pegcommon)
set_property(TARGET pegclient PROPERTY INTERFACE_LINK_LIBRARIES pegcommon)

message(STATUS "Provider modules built against OpenPegasus: ${VELK_PEGASUS_ROOT} "
  "(libraries from ${VELK_PEGASUS_HOME}/lib, platform ${VELK_PEGASUS_PLATFORM})")
