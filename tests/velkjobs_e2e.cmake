# velkjobs end to end against a running cimhost.
if(TARGET velkjobs AND TARGET cimhost AND TARGET VELK_JobProvider)
  if(NOT TARGET e2e_support)
    add_library(e2e_support STATIC ${CMAKE_CURRENT_LIST_DIR}/support/DemoServer.cpp)
    target_include_directories(e2e_support PUBLIC ${CMAKE_CURRENT_LIST_DIR})
    target_compile_options(e2e_support PRIVATE ${VELK_WARNINGS})
    target_compile_definitions(e2e_support PRIVATE
      VELK_SOURCE_DIR="${VELK_SOURCE_DIR}" VELK_LIB_DIR="${VELK_LIB_DIR}" VELK_BIN_DIR="${VELK_BIN_DIR}")
  endif()
  velk_test(velkjobs_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/VelkjobsE2ETest.cpp LIBS e2e_support)
  add_dependencies(velkjobs_e2e_test velkjobs cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
endif()
