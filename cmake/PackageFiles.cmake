# CPack runs this before it packs the installed files. It adds the files that Debian requires in each package, and moves the
# debug symbols out of the library.
set(debian ${CMAKE_CURRENT_LIST_DIR}/debian)

function(run)
  execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(gzip from to)
  execute_process(COMMAND gzip -9nc ${from} OUTPUT_FILE ${to} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Uses the time in SOURCE_DATE_EPOCH, if that is set.
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${debian}/changelog.in ${CPACK_TOPLEVEL_DIRECTORY}/changelog @ONLY)

# A debugger finds them by the build ID.
file(GLOB_RECURSE library ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/Runtime/*.so.${CPACK_PACKAGE_VERSION})
run(readelf -nW ${library})
string(REGEX MATCH "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)" found "${output}")
set(symbols ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/Symbols/usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
get_filename_component(symbols_dir ${symbols} DIRECTORY)
file(MAKE_DIRECTORY ${symbols_dir})
run(${CPACK_NEROLT_OBJCOPY} --only-keep-debug --compress-debug-sections ${library} ${symbols})
run(${CPACK_NEROLT_STRIP} --strip-unneeded --remove-section=.comment --remove-section=.note ${library})
run(${CPACK_NEROLT_OBJCOPY} --add-gnu-debuglink=${symbols} ${library})

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
  set(papers ${root}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  file(MAKE_DIRECTORY ${papers})
  file(COPY ${debian}/copyright DESTINATION ${papers})
  gzip(${CPACK_TOPLEVEL_DIRECTORY}/changelog ${papers}/changelog.Debian.gz)
  gzip(${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md ${papers}/changelog.gz)
  # Independent of the umask.
  run(chmod -R u=rwX,go=rX ${root})
  run(find ${root} -type f -exec chmod a-x {} +)
endforeach()
