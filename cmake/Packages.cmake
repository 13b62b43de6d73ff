# Debian packages, made by cpack under umask 022. Configure with -D CMAKE_INSTALL_PREFIX=/usr, so that the library's folder is
# Debian's, with -D CMAKE_BUILD_TYPE=RelWithDebInfo for the debug symbols, and with the flags that dpkg-buildflags gives with
# DEB_BUILD_MAINT_OPTIONS=hardening=+all. A cross build also takes -D CMAKE_INSTALL_LIBDIR=lib/<triplet>, which CMake does not
# choose by itself, and needs the other architecture's Qt installed for the packages' dependencies.
if(APPLE)
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VENDOR NeroltOrvane)
set(CPACK_PACKAGE_CONTACT "NeroltOrvane developers <developers@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# By itself CPack takes the machine's tool, which may not understand a library for another processor.
set(CPACK_OBJCOPY_EXECUTABLE ${CMAKE_OBJCOPY})
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE)
  execute_process(COMMAND dpkg-architecture -f -t ${CMAKE_LIBRARY_ARCHITECTURE} -q DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0nerolt1) # older than any of Debian's own
set(CPACK_DEBIAN_PACKAGE_SOURCE libneroltorvanebase)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(about "A log file that callers never wait for, settings in INI files, the
application's folders, named threads, timers that clean up after themselves,
and file attributes that mean the same on every platform. C++17, Qt ${NEROLT_QT} Core.
.
This package holds ")

string(TOLOWER ${nerolt_name} package)
set(runtime ${package}${PROJECT_VERSION_MAJOR})
set(qt_dev qtbase5-dev)
if(NOT NEROLT_QT EQUAL 5)
  set(runtime ${package}-${PROJECT_VERSION_MAJOR}) # a number ends the name itself
  set(qt_dev qt6-base-dev)
endif()
set(runtime lib${runtime})
set(this_runtime "${runtime} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
# Before version 3.31, CPack has no variable for the second field.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# There are no scripts of these names: naming them keeps CPack from adding its own, which do what the trigger does.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers postinst postrm)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "foundation library of a desktop application\n${about}the library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME lib${package}-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${this_runtime}, ${qt_dev} (>= ${nerolt_qt_version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libneroltorvanebase-doc, lnav")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "foundation library of a desktop application (development files)\n${about}the\
 headers, the files by which CMake and\npkg-config find the library, and a format of its log for lnav.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libneroltorvanebase-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "foundation library of a desktop application (API reference)\n${about}the\
 documentation.")

set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET docs AND NEROLT_QT EQUAL 5) # the same pages for both
  list(APPEND CPACK_COMPONENTS_ALL Documentation)
endif()

# The files that Debian requires in each package.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC) # the time in SOURCE_DATE_EPOCH, if that is set
set(debian_files ${CMAKE_CURRENT_BINARY_DIR}/debian)
configure_file(cmake/debian/changelog.in ${debian_files}/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${debian_files}/changelog COPYONLY)
execute_process(COMMAND gzip -9nf changelog.Debian changelog WORKING_DIRECTORY ${debian_files} COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(FILES cmake/debian/copyright ${debian_files}/changelog.Debian.gz ${debian_files}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
