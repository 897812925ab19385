# Copy jobs and the volumes they work on, end to end: cimhost, CIMClient, wbemcli.
if(TARGET VELK_AffectedJobElementProvider AND TARGET cimhost AND TARGET pegclient)
  velk_test(affected_job_element_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/AffectedJobElementE2ETest.cpp
    LIBS e2e_support pegclient pegcommon)
  add_dependencies(affected_job_element_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider VELK_AffectedJobElementProvider)
endif()
