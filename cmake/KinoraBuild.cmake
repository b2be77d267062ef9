# What every target of the project shares: the language, the warnings, the sanitizers, where things are installed.
#
# An installed Kinora is one folder, the package's target folder:
#   bin/      kinora, entry.cgi, ffmpeg and ffprobe (links)
#   libexec/  the helper programs
#   lib/      libkinora_webapi_vte.so, libkinora_platform.so
#   etc/      format rules and default settings
#   share/    the page, the web server's configuration
#   include/  the public headers, for those who build on the library
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Not -O3: nothing here gains by it, and GCC 12 then warns of copies that cannot happen.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_INSTALL_LIBDIR lib)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")
set(KINORA_INSTALL_INCLUDE_DIR "${CMAKE_INSTALL_INCLUDEDIR}/kinora")

option(KINORA_BENCH "build the benchmarks" OFF)
option(KINORA_FUZZ "build the fuzzers (clang)" OFF)
option(KINORA_SANITIZE "build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(KINORA_COVERAGE "build with coverage counters" OFF)

find_package(PkgConfig REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)

# The flags are an interface target, so that the installed package does not carry them.
add_library(kinora_flags INTERFACE)
target_compile_options(kinora_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                       -Woverloaded-virtual -Wformat=2 -Werror)
target_compile_definitions(kinora_flags INTERFACE _FILE_OFFSET_BITS=64)
target_include_directories(kinora_flags INTERFACE "${PROJECT_SOURCE_DIR}")
if(KINORA_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(KINORA_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
