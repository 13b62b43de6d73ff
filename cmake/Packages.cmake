# Debian packages, made by cpack. Configure with -D CMAKE_INSTALL_PREFIX=/usr, so that the library's folder is Debian's, with
# -D CMAKE_BUILD_TYPE=RelWithDebInfo for the debug symbols, and with the flags that dpkg-buildflags gives with
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
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/PackageFiles.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/PackageControl.cmake)
# The machine's own tools understand no library for another processor, and by itself CPack names that of the machine.
set(CPACK_NEROLT_OBJCOPY ${CMAKE_OBJCOPY})
set(CPACK_NEROLT_STRIP ${CMAKE_STRIP})
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
and file attributes that mean the same on every platform. C++17, Qt 5 Core.
.
This package holds ")

set(runtime libneroltorvanebase${PROJECT_VERSION_MAJOR})
set(this_runtime "${runtime} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "foundation library of a desktop application\n${about}the library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libneroltorvanebase-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${this_runtime}, qtbase5-dev (>= 5.15)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libneroltorvanebase-doc, lnav")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "foundation library of a desktop application (development files)\n${about}the\
 headers, the files by which CMake and\npkg-config find the library, and a format of its log for lnav.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libneroltorvanebase-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "foundation library of a desktop application (API reference)\n${about}the\
 documentation.")

set(CPACK_DEBIAN_SYMBOLS_PACKAGE_NAME ${runtime}-dbgsym)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_SECTION debug)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_DEPENDS "${this_runtime}")
set(CPACK_DEBIAN_SYMBOLS_DESCRIPTION "debug symbols for ${runtime}\n${about}the debug symbols.")
# Filled by PackageFiles.cmake.
install(DIRECTORY DESTINATION lib/debug COMPONENT Symbols EXCLUDE_FROM_ALL)

set(CPACK_COMPONENTS_ALL Runtime Development Symbols)
if(TARGET docs)
  list(APPEND CPACK_COMPONENTS_ALL Documentation)
endif()
include(CPack)
