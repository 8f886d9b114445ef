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

# The same for pkg-config: ostrel, ostreltv and ostrel-client. All paths begin where the file stands.
file(RELATIVE_PATH toPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})

function(ostrel_describe_for_pkg_config name description libs)
    cmake_parse_arguments(PARSE_ARGV 3 "" "" "requires;staticRequires;staticLibs" "")
    foreach(key requires staticRequires staticLibs)
        set(${key} "${_${key}}")
    endforeach()
    configure_file(cmake/pkgconfig.pc.in ${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(timeFlags " -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64") # as Ostrel::ostrel has them
endif()
if(NOT BUILD_SHARED_LIBS)
    set(linkedStatically staticRequires jsoncpp staticLibs -lboost_json)
endif()
ostrel_describe_for_pkg_config(ostrel "What a service module runs on" "-lostrel -pthread" ${linkedStatically})
ostrel_describe_for_pkg_config(ostreltv "The TV service module" -lostreltv requires ostrel)
ostrel_describe_for_pkg_config(ostrel-client "Talks to a TV service" "-lostrel-client -lboost_json -pthread")
