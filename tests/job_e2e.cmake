# The job module end to end: cimhost over a copy of the demo array, wbemcli.
if(TARGET VELK_JobProvider AND TARGET cimhost)
  velk_test(job_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/JobEndToEndTest.cpp
    LIBS e2e_support)
  add_dependencies(job_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
endif()
