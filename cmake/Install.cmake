include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${nerolt_name})

install(TARGETS NeroltOrvaneBase EXPORT ${nerolt_name}Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(FILES ${public_headers} DESTINATION ${include_dir}/NeroltOrvaneBase COMPONENT Development)
install(FILES ${short_headers} DESTINATION ${short_names_dir} COMPONENT Development)
install(EXPORT ${nerolt_name}Targets NAMESPACE ${nerolt_name}:: DESTINATION ${config_dir} COMPONENT Development)

# A host with the other framework would load both.
math(EXPR other_qt "11 - ${NEROLT_QT}")
if(NEROLT_QT EQUAL 5)
  set(other_name NeroltOrvaneBaseQt6)
else()
  set(other_name NeroltOrvaneBase)
endif()

# Programs that link a static library also link what it needs.
set(dependencies "find_dependency(${nerolt_qt} ${nerolt_qt_version} COMPONENTS Core)")
set(pkgconfig_cflags "")
set(pkgconfig_libs "")
if(library_type STREQUAL STATIC)
  set(pkgconfig_cflags " -DNEROLTORVANEBASE_STATIC")
  if(APPLE)
    set(pkgconfig_libs " -framework CoreFoundation -framework CoreServices -framework Foundation")
  else()
    string(APPEND dependencies "\nfind_dependency(Threads)")
    set(pkgconfig_libs " -ldl -pthread -Wl,-z,nodelete")
  endif()
endif()
configure_package_config_file(cmake/NeroltOrvaneBaseConfig.cmake.in ${nerolt_name}Config.cmake
  INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${nerolt_name}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/${nerolt_name}Config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/${nerolt_name}ConfigVersion.cmake
  DESTINATION ${config_dir} COMPONENT Development)

# pkg-config derives the prefix from the path of its file, so that the installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/NeroltOrvaneBase.pc.in ${nerolt_name}.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${nerolt_name}.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)

# lnav finds the format if it is given the folder: lnav -I <prefix>/share/lnav
set(lnav_dir ${CMAKE_INSTALL_DATADIR}/lnav)
if(NOT NEROLT_QT EQUAL 5)
  set(lnav_dir ${CMAKE_INSTALL_DATADIR}/${nerolt_name}/lnav) # the same format: lnav itself looks for one only
endif()
install(FILES tools/lnav/nerolt_orvane_base.json DESTINATION ${lnav_dir}/formats/nerolt_orvane_base COMPONENT Development)
