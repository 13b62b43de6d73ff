# CMake runs this after the project command. Qt's headers and moc are those of the host, the library is the stub.
find_package(Qt5 5.15 REQUIRED COMPONENTS Core)
get_target_property(configuration Qt5::Core IMPORTED_CONFIGURATIONS)
set_target_properties(Qt5::Core PROPERTIES
  IMPORTED_LOCATION_${configuration} ${CMAKE_OSX_SYSROOT}/System/Library/Frameworks/QtCore.framework/QtCore.tbd)
