# What find_package(Ostrel) needs: Ostrel::ostrel, Ostrel::tv and Ostrel::client.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/Ostrel)

configure_package_config_file(cmake/OstrelConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/OstrelConfig.cmake
    INSTALL_DESTINATION ${packageFolder} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# Until 1.0 a minor version may break its users.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OstrelConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)

install(EXPORT Ostrel NAMESPACE Ostrel:: FILE OstrelTargets.cmake DESTINATION ${packageFolder})
install(
    FILES
        ${CMAKE_CURRENT_BINARY_DIR}/OstrelConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/OstrelConfigVersion.cmake
    DESTINATION ${packageFolder})
