# Hardening end to end: repository authorisation, exact job keys, providers'
# in-process local connections; cimhost over a copy of the demo array.
if(TARGET VELK_JobProvider AND TARGET cimhost AND TARGET pegclient)
  find_package(nlohmann_json REQUIRED)
  velk_test(hardening_e2e_test SOURCES ${CMAKE_CURRENT_LIST_DIR}/HardeningE2ETest.cpp
    LIBS e2e_support pegclient pegcommon nlohmann_json::nlohmann_json)
  add_dependencies(hardening_e2e_test cimhost VELK_JobProvider VELK_InternalCacheProvider
    VELK_ServiceProvider VELK_StorageVolumeProvider)
  # Every module the registrations name: the tests start them all.
  foreach(module VELK_AffectedJobElementProvider VELK_InteropProvider VELK_JobIndicationProvider)
    if(TARGET ${module})
      add_dependencies(hardening_e2e_test ${module})
    endif()
  endforeach()
endif()
