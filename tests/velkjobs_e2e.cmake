# velkjobs end to end against a running cimhost.
if(TARGET velkjobs AND TARGET cimhost AND TARGET VELK_JobProvider)
  velk_test(velkjobs_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/VelkjobsE2ETest.cpp LIBS e2e_support)
  add_dependencies(velkjobs_e2e_test velkjobs cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
endif()
