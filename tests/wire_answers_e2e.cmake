# What a CIM client decodes from cimhost's answers about jobs.
if(TARGET VELK_JobProvider AND TARGET cimhost AND TARGET pegclient)
  velk_test(wire_answers_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/WireAnswersE2ETest.cpp
    LIBS e2e_support pegclient pegcommon)
  add_dependencies(wire_answers_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
endif()
