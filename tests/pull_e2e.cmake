# Pull enumerations over CIM-XML: the client library's pull operations against
# cimhost serving the demo array.
if(TARGET VELK_JobProvider AND TARGET cimhost AND TARGET pegclient)
  velk_test(pull_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/PullE2ETest.cpp
    LIBS e2e_support pegclient pegcommon_internal)
  add_dependencies(pull_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
endif()
