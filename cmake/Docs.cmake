# The target docs writes the API reference to docs/html in the build folder. A public name without a comment is an error.
find_package(Doxygen 1.9 QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(docs_dir ${CMAKE_CURRENT_BINARY_DIR}/docs)
configure_file(cmake/Doxyfile.in ${docs_dir}/Doxyfile @ONLY)
add_custom_command(OUTPUT ${docs_dir}/stamp
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${docs_dir}/html
  COMMAND Doxygen::doxygen ${docs_dir}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E touch ${docs_dir}/stamp
  DEPENDS ${public_headers} docs/api-main.md ${docs_dir}/Doxyfile
  COMMENT "Writing the API reference to ${docs_dir}/html"
  VERBATIM)
add_custom_target(docs DEPENDS ${docs_dir}/stamp)

if(NOT NEROLT_INSTALL)
  return()
endif()
# Doxygen runs only when this component is installed.
install(CODE "execute_process(COMMAND \"${CMAKE_COMMAND}\" --build \"${CMAKE_CURRENT_BINARY_DIR}\" --target docs
  COMMAND_ERROR_IS_FATAL ANY)" COMPONENT Documentation EXCLUDE_FROM_ALL)
install(DIRECTORY ${docs_dir}/html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libneroltorvanebase-doc
  COMPONENT Documentation EXCLUDE_FROM_ALL)
