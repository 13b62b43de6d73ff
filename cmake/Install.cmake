include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/NeroltOrvaneBase)

install(TARGETS NeroltOrvaneBase EXPORT NeroltOrvaneBaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(FILES ${public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/NeroltOrvaneBase COMPONENT Development)
install(FILES ${short_headers} DESTINATION ${short_names_dir} COMPONENT Development)
install(EXPORT NeroltOrvaneBaseTargets NAMESPACE NeroltOrvaneBase:: DESTINATION ${config_dir} COMPONENT Development)

# Programs that link a static library also link what it needs.
set(dependencies "find_dependency(Qt5 5.15 COMPONENTS Core)")
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
configure_package_config_file(cmake/NeroltOrvaneBaseConfig.cmake.in NeroltOrvaneBaseConfig.cmake
  INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(NeroltOrvaneBaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBaseConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBaseConfigVersion.cmake
  DESTINATION ${config_dir} COMPONENT Development)

# pkg-config derives the prefix from the path of its file, so that the installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/NeroltOrvaneBase.pc.in NeroltOrvaneBase.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBase.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)

# lnav finds the format if it is given the folder: lnav -I <prefix>/share/lnav
install(FILES tools/lnav/nerolt_orvane_base.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lnav/formats/nerolt_orvane_base COMPONENT Development)
