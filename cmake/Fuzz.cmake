# Fuzzing build (VELK_FUZZ=ON): every library and executable is compiled with
# libFuzzer coverage instrumentation and the address and undefined-behaviour
# checkers, so that faults inside pegcommon or cimrepository show up in the
# fuzz targets. The targets themselves add -fsanitize=fuzzer (fuzz/).
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang" OR NOT CMAKE_C_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "VELK_FUZZ=ON needs clang (found ${CMAKE_CXX_COMPILER_ID}): "
    "configure a fresh build directory with CC=clang CXX=clang++")
endif()
if(VELK_ASAN OR VELK_TSAN)
  message(FATAL_ERROR "VELK_FUZZ already enables address and undefined-behaviour checks; "
    "do not combine it with VELK_ASAN or VELK_TSAN")
endif()
set(VELK_FUZZ_SANITIZERS address,undefined)
add_compile_options(-fsanitize=fuzzer-no-link,${VELK_FUZZ_SANITIZERS}
  -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
add_link_options(-fsanitize=${VELK_FUZZ_SANITIZERS})
