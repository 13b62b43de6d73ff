include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/NeroltOrvaneBase)

install(TARGETS NeroltOrvaneBase EXPORT NeroltOrvaneBaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(FILES ${public_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/NeroltOrvaneBase COMPONENT Development)
install(EXPORT NeroltOrvaneBaseTargets NAMESPACE NeroltOrvaneBase:: DESTINATION ${config_dir} COMPONENT Development)

configure_package_config_file(cmake/NeroltOrvaneBaseConfig.cmake.in NeroltOrvaneBaseConfig.cmake
  INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(NeroltOrvaneBaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBaseConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBaseConfigVersion.cmake
  DESTINATION ${config_dir} COMPONENT Development)

# pkg-config finds the prefix from the place of its file, so that the installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/NeroltOrvaneBase.pc.in NeroltOrvaneBase.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/NeroltOrvaneBase.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)

# lnav finds its formats below the folder that it is given: lnav -I <prefix>/share/lnav
install(FILES tools/lnav/nerolt_orvane_base.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lnav/formats/nerolt_orvane_base COMPONENT Development)
