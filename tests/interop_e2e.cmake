# Discovery through the interop namespace, end to end: cimhost, CIMClient, wbemcli.
if(TARGET VELK_InteropProvider AND TARGET cimhost AND TARGET pegclient)
  velk_test(interop_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/InteropE2ETest.cpp
    LIBS e2e_support pegclient pegcommon)
  add_dependencies(interop_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider VELK_AffectedJobElementProvider VELK_InteropProvider)
endif()
