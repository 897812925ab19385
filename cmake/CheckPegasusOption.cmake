# Configures the project with wrong OpenPegasus paths and checks that each
# attempt stops with the message that names the problem.
#   cmake -DSOURCE=<source tree> -DWORK=<scratch dir> -DGENERATOR=<generator> -P CheckPegasusOption.cmake
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/root/src/Pegasus/Common" "${WORK}/home/lib")
# A source tree that has the headers looked for, and a home without libraries.
foreach(h Common/Config.h Common/Platform_LINUX_X86_64_GNU.h Common/InternalException.h
          Provider/CIMProvider.h Client/CIMClient.h)
  get_filename_component(d "${WORK}/root/src/Pegasus/${h}" DIRECTORY)
  file(MAKE_DIRECTORY "${d}")
  file(WRITE "${WORK}/root/src/Pegasus/${h}" "")
endforeach()

# One case a list element: the arguments (separated by commas), "|", and the
# text the failure must contain.
set(cases
  "-DVELK_PEGASUS_ROOT=${WORK}/root|needs both -DVELK_PEGASUS_ROOT=<OpenPegasus source tree> and -DVELK_PEGASUS_HOME=<its build home>"
  "-DVELK_PEGASUS_ROOT=${WORK}/nowhere,-DVELK_PEGASUS_HOME=${WORK}/home|VELK_PEGASUS_ROOT=\"${WORK}/nowhere\" is not an OpenPegasus source tree for platform LINUX_X86_64_GNU: missing"
  "-DVELK_PEGASUS_ROOT=${WORK}/root,-DVELK_PEGASUS_HOME=${WORK}/root,-DVELK_PEGASUS_PLATFORM=AIX_RS_IBMCXX|Platform_AIX_RS_IBMCXX.h"
  "-DVELK_PEGASUS_ROOT=${WORK}/root,-DVELK_PEGASUS_HOME=${WORK}/home|VELK_PEGASUS_HOME=\"${WORK}/home\" is not a built OpenPegasus home (run its make first): missing")
set(n 0)
foreach(c ${cases})
  string(FIND "${c}" "|" bar)
  string(SUBSTRING "${c}" 0 ${bar} args)
  math(EXPR after "${bar} + 1")
  string(SUBSTRING "${c}" ${after} -1 expected)
  string(REPLACE "," ";" args "${args}")
  math(EXPR n "${n} + 1")
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S "${SOURCE}" -B "${WORK}/build${n}" -G "${GENERATOR}" ${args}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
  # CMake wraps long messages: compare with the white space folded.
  string(REGEX REPLACE "[ \n]+" " " folded "${out}")
  string(REGEX REPLACE "[ \n]+" " " expected "${expected}")
  if(rc EQUAL 0)
    message(FATAL_ERROR "configuring with ${args} succeeded:\n${out}")
  endif()
  string(FIND "${folded}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "configuring with ${args} failed without \"${expected}\":\n${out}")
  endif()
endforeach()

# With the libraries in place the project configures: the array library and
# the provider modules only, every module found.
foreach(lib pegcommon pegprovider pegclient)
  file(WRITE "${WORK}/home/lib/lib${lib}.so" "")
endforeach()
execute_process(
  COMMAND ${CMAKE_COMMAND} -S "${SOURCE}" -B "${WORK}/build-ok" -G "${GENERATOR}"
    -DVELK_PEGASUS_ROOT=${WORK}/root -DVELK_PEGASUS_HOME=${WORK}/home
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "Provider modules built against OpenPegasus"
   OR out MATCHES "not available yet|skipping|waiting for")
  message(FATAL_ERROR "configuring against a complete OpenPegasus layout failed:\n${out}")
endif()
file(READ "${WORK}/build-ok/build.ninja" ninja)
foreach(target VELK_JobProvider VELK_InternalCacheProvider VELK_ServiceProvider
               VELK_StorageVolumeProvider VELK_AffectedJobElementProvider VELK_InternalCacheService
               velkapi)
  if(NOT ninja MATCHES "lib${target}\\.so")
    message(FATAL_ERROR "lib${target}.so is not built against OpenPegasus")
  endif()
endforeach()
if(ninja MATCHES "bin/cimhost")
  message(FATAL_ERROR "cimhost is built against OpenPegasus: it needs compat/")
endif()
if(ninja MATCHES "libVELK_InteropProvider")
  message(FATAL_ERROR "the interop provider is built against OpenPegasus, which has its own")
endif()
file(REMOVE_RECURSE "${WORK}")
