# How the library is linked. What it exports is marked in the headers, and all else is hidden.
if(APPLE)
  return()
endif()

# The logging thread and the handlers for fork() would outlive the code when a module that brought it is unloaded.
set(stay_loaded LINKER:-z,nodelete)

# nerolt_link_shared(<target> <major version>)
#
# The symbols carry the name and the major version: a host that uses one and a plug-in that uses another each have a log of their own.
function(nerolt_link_shared target major)
  string(TOUPPER ${nerolt_name} prefix)
  set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${map} CONTENT "${prefix}_${major} { global: *; };\n")
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
