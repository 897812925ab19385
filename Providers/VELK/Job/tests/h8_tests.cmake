# Tests of the method results, the job associations and the association
# helpers of VELK_Common. Included from this directory's CMakeLists.txt.

velk_test(velk_common_association_test
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/VELK_CommonAssociation_test.cpp
  LIBS VELK_Common)
target_include_directories(velk_common_association_test PRIVATE ${CMAKE_CURRENT_LIST_DIR})

# The provider tests run the module's providers over an in-process server
# that loads the companions and the job module by registration.
if(TARGET cimhost_core)
  foreach(provider OwningJobElementProvider MethodResultProvider AssociatedJobMethodResultProvider)
    set(t velk_${provider}_test)
    velk_test(${t}
      SOURCES ${CMAKE_CURRENT_LIST_DIR}/VELK_${provider}_test.cpp
      LIBS VELK_JobProvider cimhost_core velkapi)
    target_include_directories(${t} PRIVATE ${CMAKE_CURRENT_LIST_DIR})
    foreach(module VELK_JobProvider VELK_InternalCacheProvider VELK_ServiceProvider VELK_StorageVolumeProvider)
      if(TARGET ${module})
        add_dependencies(${t} ${module})
      endif()
    endforeach()
  endforeach()
endif()
