# With each source, clang-tidy looks at all of the framework's headers again. Therefore most checks look at all sources of a
# target as one. Those that look at nothing but the source itself remain for each, as the preset has it.
set(together_checks -bugprone-suspicious-include,-clang-analyzer-*)

add_custom_target(tidy_together)
foreach(target
    NeroltOrvaneBase host qt-messages example_logging example_settings example_system example_threading example_util)
  if(NOT TARGET ${target})
    continue()
  endif()
  get_target_property(sources ${target} SOURCES)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(libraries ${target} LINK_LIBRARIES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  list(LENGTH sources count)
  if(count EQUAL 1)
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet")
    continue()
  endif()
  list(TRANSFORM sources PREPEND ${folder}/)
  add_library(${target}_together OBJECT ${sources})
  target_link_libraries(${target}_together PRIVATE ${libraries})
  target_compile_features(${target}_together PRIVATE cxx_std_17)
  foreach(what COMPILE_DEFINITIONS COMPILE_OPTIONS INCLUDE_DIRECTORIES)
    set_property(TARGET ${target}_together PROPERTY ${what} $<TARGET_PROPERTY:${target},${what}>)
  endforeach()
  # What CMake writes lies in the build folder, whose configuration is for the output of moc.
  set_target_properties(${target}_together PROPERTIES AUTOMOC OFF UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0
    CXX_CLANG_TIDY "clang-tidy;--quiet;--config-file=${PROJECT_SOURCE_DIR}/.clang-tidy;--checks=${together_checks}")
  add_dependencies(tidy_together ${target}_together)
endforeach()
