# Compiles SOURCE against the SDK headers with the definitions of an
# OpenPegasus provider build (MODE=with), or with the public ones only
# (MODE=without: no PEGASUS_INTERNALONLY). "with" must compile; "without"
# must fail on the guarded declaration, not on anything else.
set(defs -DPEGASUS_PLATFORM_LINUX_X86_64_GNU -DPEGASUS_USE_EXPERIMENTAL_INTERFACES
    -DPEGASUS_USE_DEPRECATED_INTERFACES)
if(MODE STREQUAL "with")
  list(APPEND defs -DPEGASUS_INTERNALONLY)
endif()
execute_process(
  COMMAND ${CXX} -std=c++17 -fsyntax-only -Wall -Wextra -I${INCLUDE} ${defs} ${SOURCE}
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
get_filename_component(name ${SOURCE} NAME_WE)
if(MODE STREQUAL "with")
  if(NOT rc EQUAL 0 OR NOT out STREQUAL "")
    message(FATAL_ERROR "${name}.cpp should compile cleanly with PEGASUS_INTERNALONLY:\n${out}")
  endif()
else()
  if(name STREQUAL "traceable")
    set(expected "PEGASUS_CIM_EXCEPTION|TraceableCIMException")
  else()
    set(expected "deleted function")
  endif()
  if(rc EQUAL 0)
    message(FATAL_ERROR "${name}.cpp compiled without PEGASUS_INTERNALONLY")
  endif()
  if(NOT out MATCHES "${expected}")
    message(FATAL_ERROR "${name}.cpp failed without PEGASUS_INTERNALONLY, but not on ${expected}:\n${out}")
  endif()
endif()
