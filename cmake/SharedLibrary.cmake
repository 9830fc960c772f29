include(CMakePackageConfigHelpers)
include(GenerateExportHeader)

# Declares one installed shared library of this project: version, soname, export macro, headers, CMake package and
# pkg-config module.
#
#   add_installed_library(<name> EXPORT_AS <target name within Tolvek::>
#       EXPORT_HEADER <path of the generated export header> EXPORT_MACRO <macro>
#       HEADERS <folder whose content is installed>
#       SOURCES <...> [LINK_PUBLIC <...>] [LINK_PRIVATE <...>]
#       [FIND_DEPENDENCIES <packages>] [PC_REQUIRES <modules>] [PC_DESCRIPTION <text>])
function(add_installed_library name)
    cmake_parse_arguments(LIB "" "EXPORT_AS;EXPORT_HEADER;EXPORT_MACRO;HEADERS;PC_DESCRIPTION"
        "SOURCES;LINK_PUBLIC;LINK_PRIVATE;FIND_DEPENDENCIES;PC_REQUIRES" ${ARGN})

    add_library(${name} SHARED ${LIB_SOURCES})
    add_library(Tolvek::${LIB_EXPORT_AS} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${LIB_EXPORT_AS})
    set(generated "${CMAKE_CURRENT_BINARY_DIR}/include")
    generate_export_header(${name}
        EXPORT_FILE_NAME "${generated}/${LIB_EXPORT_HEADER}" EXPORT_MACRO_NAME ${LIB_EXPORT_MACRO})
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${LIB_HEADERS}>" "$<BUILD_INTERFACE:${generated}>"
        "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_link_libraries(${name} PUBLIC ${LIB_LINK_PUBLIC} PRIVATE ${LIB_LINK_PRIVATE})

    install(TARGETS ${name} EXPORT ${name}Targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${name} NAMELINK_COMPONENT ${name}-dev)
    install(DIRECTORY "${LIB_HEADERS}/" "${generated}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
        COMPONENT ${name}-dev FILES_MATCHING PATTERN "*.h")
    install_cmake_package(${name} "${LIB_FIND_DEPENDENCIES}")
    install_pkgconfig_module(${name} "${LIB_PC_DESCRIPTION}" "${LIB_PC_REQUIRES}")
endfunction()

function(install_cmake_package name dependencies)
    set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${name}")
    set(FIND_DEPENDENCY_CALLS "")
    foreach(dependency IN LISTS dependencies)
        string(APPEND FIND_DEPENDENCY_CALLS "find_dependency(${dependency})\n")
    endforeach()
    set(PACKAGE_NAME ${name})
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/package-config.cmake.in"
        "${CMAKE_CURRENT_BINARY_DIR}/${name}-config.cmake" INSTALL_DESTINATION "${package_dir}")
    write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/${name}-config-version.cmake"
        COMPATIBILITY SameMajorVersion)
    install(EXPORT ${name}Targets NAMESPACE Tolvek:: DESTINATION "${package_dir}" COMPONENT ${name}-dev)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}-config.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/${name}-config-version.cmake"
        DESTINATION "${package_dir}" COMPONENT ${name}-dev)
endfunction()

function(install_pkgconfig_module name description requires)
    string(REPLACE ";" ", " PC_REQUIRES "${requires}")
    set(PC_NAME ${name})
    set(PC_DESCRIPTION "${description}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/module.pc.in" "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${name}-dev)
endfunction()
