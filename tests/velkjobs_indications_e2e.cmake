# velkjobs watch --indications against a running cimhost.
if(TARGET velkjobs AND TARGET cimhost AND TARGET VELK_JobProvider AND TARGET pegclient)
  velk_test(velkjobs_indications_e2e_test
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/VelkjobsIndicationsE2ETest.cpp LIBS e2e_support pegclient)
  add_dependencies(velkjobs_indications_e2e_test velkjobs cimhost VELK_JobProvider
    VELK_JobIndicationProvider VELK_InternalCacheProvider VELK_ServiceProvider
    VELK_StorageVolumeProvider)
endif()
