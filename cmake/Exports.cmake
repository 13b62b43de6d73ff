# The library exports what its headers declare. Hidden visibility alone leaves more: the instances of the framework's and
# the standard library's templates, which differ by compiler and build type.
if(APPLE)
  return()
endif()

set(patterns "")
foreach(header IN LISTS public_headers)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  file(STRINGS ${header} declarations REGEX "^(class|struct) NEROLTORVANEBASE_EXPORT |^namespace ")
  foreach(declaration IN LISTS declarations)
    string(REGEX MATCH "(class NEROLTORVANEBASE_EXPORT|struct NEROLTORVANEBASE_EXPORT|namespace) ([A-Za-z0-9_]+)"
      declaration "${declaration}")
    set(name ${CMAKE_MATCH_2})
    # Members, what says of which class an object is, and the detours of overridden functions.
    string(APPEND patterns "    ${name}::*;\n    *?for?${name};\n    *thunk?to?${name}::*;\n")
  endforeach()
endforeach()
set(map ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBase.map)
file(CONFIGURE OUTPUT ${map} CONTENT "{\nglobal:\n  extern \"C++\" {\n${patterns}  };\nlocal:\n  *;\n};\n")
target_link_options(NeroltOrvaneBase PRIVATE "LINKER:--version-script=${map}")
set_property(TARGET NeroltOrvaneBase APPEND PROPERTY LINK_DEPENDS ${map})
