set(class_headers
  DiskSpace.h
  FileInfoMac.h
  FileUtilities.h
  HookedSingleton.h
  IErrorReporter.h
  IIniFileBase.h
  IOrvaneInstance.h
  IniFile.h
  IniString.h
  Logger.h
  LoggerAgent.h
  LoggerDefs.h
  LoggerWorker.h
  RTimerGarbageCollector.h
  RegisteredThread.h
  RegisteredTimer.h
  SettingsIniFile.h
  SingletonHook.h
  StackTrace.h
  SystemConfig.h
  UrlQueryManager.h)
set(module_headers Logging.h Settings.h System.h Threading.h Util.h)
set(public_headers Export.h ${class_headers} ${module_headers})
list(TRANSFORM public_headers PREPEND include/NeroltOrvaneBase/)

# Installed beside those of the build with the other framework: Debian's packages share no file.
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR})
if(NOT NEROLT_QT EQUAL 5)
  string(APPEND include_dir /${nerolt_name})
endif()

# The headers of the classes have short names, too: <Logger.h>. The folder that users search for those holds nothing else:
# <Settings.h> is a host's own, and <util.h> is the system's, also on a volume that ignores case.
set(short_names ${CMAKE_CURRENT_BINARY_DIR}/short_names)
set(short_names_dir ${include_dir}/NeroltOrvaneBase/short_names)
foreach(header IN LISTS class_headers)
  file(CONFIGURE OUTPUT ${short_names}/${header}
    CONTENT "#pragma once\n\n#include <NeroltOrvaneBase/${header}>\n")
endforeach()
list(TRANSFORM class_headers PREPEND ${short_names}/ OUTPUT_VARIABLE short_headers)

# Shared by default, in other projects too: modules of a process that each contain the library have a log each.
set(library_type SHARED)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(library_type STATIC)
endif()
add_library(NeroltOrvaneBase ${library_type}
  ${public_headers}
  logging/BatchQueue.cpp
  logging/CrashFile.cpp
  logging/CrashFileOpen_posix.cpp
  logging/CrashFormat.cpp
  logging/CrashRecovery_posix.cpp
  logging/LogDelivery.cpp
  logging/Descriptor.cpp
  logging/LogFile.cpp
  logging/LogLine.cpp
  logging/LogProgress.cpp
  logging/Logger.cpp
  logging/LoggerFork.cpp
  logging/LoggerLife.cpp
  logging/LoggerAgent.cpp
  logging/LoggerAgentThread.cpp
  logging/LoggerWorker.cpp
  logging/LoggingThread.cpp
  logging/RotatedFiles_posix.cpp
  logging/Rotation.cpp
  logging/StackFrame.cpp
  logging/StackTrace_posix.cpp
  logging/WriteSignals.cpp
  logging/Stamp.cpp
  logging/WriterDispatcher.cpp
  settings/IIniFileBase.cpp
  settings/IniChanges.cpp
  settings/IniDisk.cpp
  settings/IniEncoding_qt${NEROLT_QT}.cpp
  settings/IniFile.cpp
  settings/IniNames.cpp
  settings/IniSettings.cpp
  settings/IniSettingsBeside.cpp
  settings/IniString.cpp
  settings/IniText.cpp
  settings/ReadableIni.cpp
  settings/SettingsIniFile.cpp
  settings/SharedChanges.cpp
  settings/StandIns.cpp
  settings/StreamedValue.cpp
  system/HostWords.cpp
  system/ReportText.cpp
  system/SystemConfig.cpp
  system/SystemConfigPaths.cpp
  system/SystemConfigReport.cpp
  threading/HookedSingleton.cpp
  threading/RTimerGarbageCollector.cpp
  threading/RegisteredThread.cpp
  threading/RegisteredTimer.cpp
  threading/SingletonHook.cpp
  util/FileUtilities.cpp
  util/Framework_qt${NEROLT_QT}.cpp
  util/UrlQueryManager.cpp)
# The first for projects that contain this one, whatever the framework.
add_library(NeroltOrvaneBase::NeroltOrvaneBase ALIAS NeroltOrvaneBase)
if(NOT TARGET ${nerolt_name}::${nerolt_name})
  add_library(${nerolt_name}::${nerolt_name} ALIAS NeroltOrvaneBase)
endif()

# The only place that selects the platform: by file.
if(APPLE)
  target_sources(NeroltOrvaneBase PRIVATE
    logging/FrameLines_mac.cpp
    logging/MappedFile_mac.cpp
    logging/Rename_mac.cpp
    settings/FileTime_mac.cpp
    system/Host_mac.cpp
    util/DiskSpace_mac.cpp
    util/FileInfoMac_mac.mm)
  target_link_libraries(NeroltOrvaneBase PRIVATE
    "-framework CoreFoundation" "-framework CoreServices" "-framework Foundation")
  # The File Manager is deprecated.
  set_source_files_properties(util/DiskSpace_mac.cpp PROPERTIES COMPILE_OPTIONS -Wno-deprecated-declarations)
else()
  target_sources(NeroltOrvaneBase PRIVATE
    logging/FrameLines_linux.cpp
    logging/MappedFile_linux.cpp
    logging/Rename_linux.cpp
    settings/FileTime_linux.cpp
    system/Host_linux.cpp
    util/DiskSpace_linux.cpp
    util/FileAttributes_linux.cpp
    util/FileInfoMac_linux.cpp
    util/FileLock_linux.cpp
    util/OsRelease.cpp)
  find_package(Threads REQUIRED)
  target_link_libraries(NeroltOrvaneBase PRIVATE ${CMAKE_DL_LIBS} Threads::Threads)
  # Calls within the library are not interposed, as in the framework's own libraries.
  target_compile_options(NeroltOrvaneBase PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  # At -O2, which distributions build with, g++ does not vectorise the loop that copies text: a line takes 140 ns instead of 90.
  set_source_files_properties(logging/LogLine.cpp PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
endif()

target_compile_features(NeroltOrvaneBase PUBLIC cxx_std_17)
target_compile_definitions(NeroltOrvaneBase PRIVATE QT_NO_CAST_TO_ASCII QT_NO_FOREACH
  QT_DISABLE_DEPRECATED_BEFORE=${nerolt_qt_without})
target_include_directories(NeroltOrvaneBase PUBLIC
  $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${short_names}>
  $<INSTALL_INTERFACE:${include_dir}>
  $<INSTALL_INTERFACE:${short_names_dir}>)
target_link_libraries(NeroltOrvaneBase PUBLIC ${nerolt_qt}::Core)
set_target_properties(NeroltOrvaneBase PROPERTIES
  OUTPUT_NAME ${nerolt_name}
  EXPORT_NAME ${nerolt_name}
  CXX_EXTENSIONS OFF
  CXX_VISIBILITY_PRESET hidden
  POSITION_INDEPENDENT_CODE ON
  OBJCXX_STANDARD 17
  OBJCXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})
if(library_type STREQUAL STATIC)
  target_compile_definitions(NeroltOrvaneBase PUBLIC NEROLTORVANEBASE_STATIC)
endif()
nerolt_set_warnings(NeroltOrvaneBase)
