# Faults end to end: failing array calls and semaphore time-outs under load
# (in-process server), SIGKILL and restart, hang-ups, oversized bodies.
if(TARGET cimhost AND TARGET cimhost_core AND TARGET VELK_JobProvider AND TARGET pegclient)
  find_package(nlohmann_json REQUIRED)
  velk_test(faults_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/FaultE2ETest.cpp
    LIBS e2e_support cimhost_core pegclient velkapi nlohmann_json::nlohmann_json)
  add_dependencies(faults_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
  # Every module the registrations name: the tests start them all.
  foreach(module VELK_AffectedJobElementProvider VELK_InteropProvider VELK_JobIndicationProvider)
    if(TARGET ${module})
      add_dependencies(faults_e2e_test ${module})
    endif()
  endforeach()
endif()
