# What lets others build on an installed library: find_package(Kinora) with the targets Kinora::webapi_vte,
# Kinora::platform and Kinora::contract, and kinora_webapi_vte for pkg-config. Both find everything from where they
# lie, so that the installed folder can be moved.
include(CMakePackageConfigHelpers)

set(KINORA_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Kinora")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/KinoraConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/KinoraConfig.cmake" INSTALL_DESTINATION "${KINORA_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KinoraConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KinoraConfig.cmake" "${PROJECT_BINARY_DIR}/KinoraConfigVersion.cmake"
  DESTINATION "${KINORA_PACKAGE_DIR}")
install(EXPORT KinoraTargets NAMESPACE Kinora:: DESTINATION "${KINORA_PACKAGE_DIR}")

configure_file("${CMAKE_CURRENT_LIST_DIR}/kinora_webapi_vte.pc.in" "${PROJECT_BINARY_DIR}/kinora_webapi_vte.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kinora_webapi_vte.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
