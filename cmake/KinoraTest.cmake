# kinora_test(NAME SOURCES a_test.cpp ... [LINK targets...] [PLACES | IDENTITIES] [MEDIA] [TIMEOUT seconds]
#             [LABELS ...])
#
# One program with GoogleTest's main, each of its tests a ctest of its own, so that a skipped one is reported as skipped.
# PLACES: the tests use the fixed places (/tmp/Kinora, /var/packages/Kinora); each runs in a private view of its own.
# IDENTITIES: PLACES, and every user id where root runs the tests (KINORA_PLACES is then "root" or "real"; a test that
# needs two identities skips where it is "user").
# MEDIA: the tests read the media files that tests/media/make-media makes; KINORA_MEDIA_DIR is their folder.
#
# kinora_script_test(NAME SCRIPT [ARGUMENTS...] [PLACES] [TIMEOUT seconds] [LABELS ...])
#
# A test that is an executable script of this folder: exit status 0 is passed, 77 is skipped, anything else failed.
find_package(GTest REQUIRED)
include(GoogleTest)

# The framework's headers, compiled once for all tests.
file(CONFIGURE OUTPUT test_headers.cpp CONTENT "int main() {}\n")
add_executable(test_headers "${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp")
target_link_libraries(test_headers PRIVATE GTest::gmock kinora_flags)
target_precompile_headers(test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

set(KINORA_VIEW "${PROJECT_SOURCE_DIR}/tests/with-places")

# Where the places have to be the machine's own, the tests that use them run one at a time.
execute_process(COMMAND "${PROJECT_SOURCE_DIR}/packaging/private-view" --way
  OUTPUT_VARIABLE kinora_way OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
set(kinora_places_lock "")
if(kinora_way STREQUAL "real")
  set(kinora_places_lock RESOURCE_LOCK places)
endif()

function(kinora_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "PLACES;IDENTITIES;MEDIA" "TIMEOUT" "SOURCES;LINK;LABELS")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gmock_main kinora_flags)
  target_precompile_headers(${name} REUSE_FROM test_headers)
  target_compile_definitions(${name} PRIVATE
    KINORA_SOURCE_DIR="${PROJECT_SOURCE_DIR}" KINORA_BUILD_DIR="${PROJECT_BINARY_DIR}")
  if(arg_MEDIA)
    add_dependencies(${name} test_media)
    target_compile_definitions(${name} PRIVATE KINORA_MEDIA_DIR="${PROJECT_BINARY_DIR}/media")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set(lock "")
  if(arg_PLACES OR arg_IDENTITIES)
    list(APPEND arg_LABELS places)
    set(lock ${kinora_places_lock})
  endif()
  if(arg_IDENTITIES)
    set_target_properties(${name} PROPERTIES
      CROSSCOMPILING_EMULATOR "${KINORA_VIEW};--identities;${CMAKE_INSTALL_PREFIX}")
  elseif(arg_PLACES)
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${KINORA_VIEW};${CMAKE_INSTALL_PREFIX}")
  endif()
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}" ${lock})
endfunction()

function(kinora_script_test name script)
  cmake_parse_arguments(PARSE_ARGV 2 arg "PLACES" "TIMEOUT" "LABELS")
  set(lock "")
  set(command "${CMAKE_CURRENT_SOURCE_DIR}/${script}" ${arg_UNPARSED_ARGUMENTS})
  if(arg_PLACES)
    list(PREPEND command "${KINORA_VIEW}" "${CMAKE_INSTALL_PREFIX}")
    list(APPEND arg_LABELS places)
    set(lock ${kinora_places_lock})
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_test(NAME ${name} COMMAND ${command})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} SKIP_RETURN_CODE 77 LABELS "${arg_LABELS}" ${lock}
    ENVIRONMENT "KINORA_SOURCE_DIR=${PROJECT_SOURCE_DIR};KINORA_BUILD_DIR=${PROJECT_BINARY_DIR};KINORA_STAGE=${CMAKE_INSTALL_PREFIX}")
endfunction()
