# CMake runs this after the project command. Qt's headers and moc are those of the host, the libraries are the stubs.
find_package(Qt5 5.15 REQUIRED COMPONENTS Core Test)
foreach(module IN ITEMS Core Test)
  get_target_property(configuration Qt5::${module} IMPORTED_CONFIGURATIONS)
  set_target_properties(Qt5::${module} PROPERTIES
    IMPORTED_LOCATION_${configuration} ${CMAKE_OSX_SYSROOT}/System/Library/Frameworks/Qt${module}.framework/Qt${module}.tbd)
endforeach()

# The tests take more time than the library, and none of them runs: they are not optimised.
function(hasten_tests folder)
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(below IN LISTS folders)
    hasten_tests(${below})
  endforeach()
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL UTILITY)
      target_compile_options(${target} PRIVATE -O0)
    endif()
  endforeach()
endfunction()

function(hasten)
  if(TARGET test_support)
    hasten_tests(${PROJECT_SOURCE_DIR}/tests)
  endif()
endfunction()
cmake_language(DEFER CALL hasten)
