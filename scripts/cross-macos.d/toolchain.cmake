# CMake toolchain for a Mac with the substitute for the SDK. The caller sets its path in CMAKE_OSX_SYSROOT.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20.0.0) # of macOS 11, the first for both architectures
set(CMAKE_OSX_DEPLOYMENT_TARGET 10.13 CACHE STRING "")

find_program(clang clang++ REQUIRED)
set(CMAKE_CXX_COMPILER ${clang})
set(CMAKE_CXX_COMPILER_TARGET arm64-apple-macos)
set(CMAKE_OBJCXX_COMPILER ${clang})
set(CMAKE_OBJCXX_COMPILER_TARGET arm64-apple-macos)
set(CMAKE_CXX_FLAGS_INIT -stdlib=libc++)
set(CMAKE_OBJCXX_FLAGS_INIT -stdlib=libc++)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)

# A static library for several architectures takes more than ar.
find_program(libtool llvm-libtool-darwin REQUIRED)
set(CMAKE_CXX_ARCHIVE_CREATE "${libtool} -static -o <TARGET> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "")

get_filename_component(analyse ${CMAKE_CURRENT_LIST_DIR}/analyse ABSOLUTE)
set(CMAKE_CXX_COMPILER_LAUNCHER ${analyse} CACHE STRING "")
set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${analyse} CACHE STRING "")
