# Looks for clang++ and for GCC's runtime of Objective-C, whose header clang++ does not find by itself.
#
# Sets objective_missing to what is missing. If nothing is, sets CMAKE_OBJCXX_COMPILER, objective_library and
# objective_include.
set(objective_missing "")
find_program(CMAKE_OBJCXX_COMPILER clang++)
if(NOT CMAKE_OBJCXX_COMPILER)
  set(objective_missing "it takes clang++ (Debian: clang)")
  return()
endif()

execute_process(COMMAND ${CMAKE_OBJCXX_COMPILER} -print-file-name=libobjc.so
  OUTPUT_VARIABLE objective_library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(objective_include "${objective_library}" DIRECTORY)
string(APPEND objective_include /include)
if(NOT EXISTS ${objective_include}/objc/objc.h)
  set(objective_missing "it takes the Objective-C runtime of GCC (Debian: libobjc-12-dev)")
endif()
