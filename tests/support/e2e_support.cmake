# The shared end-to-end harness (e2e::DemoServer, e2e::run): one definition
# for every test and tool that runs cimhost over a copy of the demo array.
# Include this file wherever the target is needed; the first include wins.
if(NOT TARGET e2e_support)
  add_library(e2e_support STATIC ${CMAKE_CURRENT_LIST_DIR}/DemoServer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/HttpConnection.cpp)
  target_include_directories(e2e_support PUBLIC ${CMAKE_CURRENT_LIST_DIR}/..)
  target_compile_options(e2e_support PRIVATE ${VELK_WARNINGS})
  target_compile_definitions(e2e_support PRIVATE
    VELK_SOURCE_DIR="${VELK_SOURCE_DIR}" VELK_LIB_DIR="${VELK_LIB_DIR}" VELK_BIN_DIR="${VELK_BIN_DIR}")
endif()
