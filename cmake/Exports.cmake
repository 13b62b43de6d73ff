# How the library is linked. It exports what its headers declare. Hidden visibility alone leaves more: the instances of the
# framework's and the standard library's templates, which differ by compiler and build type. On a Mac that has to do.
if(APPLE)
  return()
endif()

# Its thread and its handlers of a copied process would outlive the code when a module that brought it is unloaded.
set(stay_loaded LINKER:-z,nodelete)

# nerolt_link_shared(<target> <major version>)
#
# The names carry the major version: a host that uses one and a plug-in that uses another have each its own log.
function(nerolt_link_shared target major)
  set(patterns "")
  foreach(header IN LISTS public_headers)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${header})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} declarations
      REGEX "^(class|struct) NEROLTORVANEBASE_EXPORT |^namespace ")
    foreach(declaration IN LISTS declarations)
      string(REGEX MATCH "(class NEROLTORVANEBASE_EXPORT|struct NEROLTORVANEBASE_EXPORT|namespace) ([A-Za-z0-9_]+)"
        declaration "${declaration}")
      set(name ${CMAKE_MATCH_2})
      # Members, virtual tables and type information, and thunks.
      string(APPEND patterns "    ${name}::*;\n    *?for?${name};\n    *thunk?to?${name}::*;\n")
    endforeach()
  endforeach()
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${map}
    CONTENT "NEROLTORVANEBASE_${major} {\nglobal:\n  extern \"C++\" {\n${patterns}  };\nlocal:\n  *;\n};\n")
  # Calls within the library stay there.
  target_link_options(${target} PRIVATE LINKER:-Bsymbolic-functions ${stay_loaded} "LINKER:--version-script=${map}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()

if(library_type STREQUAL STATIC)
  # So must a module that contains it.
  target_link_options(NeroltOrvaneBase INTERFACE ${stay_loaded})
else()
  nerolt_link_shared(NeroltOrvaneBase ${PROJECT_VERSION_MAJOR})
endif()
