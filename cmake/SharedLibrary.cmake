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
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${LIB_EXPORT_AS}
        # The libraries lie side by side and find each other below any prefix.
        INSTALL_RPATH "$ORIGIN"
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    target_link_options(${name} PRIVATE "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
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

# The platform's own libraries may come without CMake packages and pkg-config modules: what is built on them finds them
# by file, where the build found them.
function(install_cmake_package name dependencies)
    set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${name}")
    set(FIND_DEPENDENCY_CALLS "")
    if(DEVICEID_PLATFORM_PREFIX)
        string(APPEND FIND_DEPENDENCY_CALLS "find_dependency(sdbus-c++)\n"
            "include(\"\${CMAKE_CURRENT_LIST_DIR}/ImportPlatform.cmake\")\n"
            "import_platform(\"${DEVICEID_PLATFORM_PREFIX}\")\n")
        install(FILES "${PROJECT_SOURCE_DIR}/cmake/ImportPlatform.cmake"
            DESTINATION "${package_dir}" COMPONENT ${name}-dev)
    else()
        foreach(dependency IN LISTS dependencies)
            string(APPEND FIND_DEPENDENCY_CALLS "find_dependency(${dependency})\n")
        endforeach()
    endif()
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
    set(module_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    # From the module's own place, so that the prefix may be chosen at installation.
    file(RELATIVE_PATH PC_PREFIX "/prefix/${module_dir}" "/prefix")
    string(REPLACE ";" ", " PC_REQUIRES "${requires}")
    if(DEVICEID_PLATFORM_PREFIX)
        set(PC_REQUIRES "sdbus-c++")
        get_target_property(logger_file Tolvek::logger IMPORTED_LOCATION)
        get_filename_component(platform_libdir "${logger_file}" DIRECTORY)
        string(CONCAT PC_PLATFORM_LIBS " -L${platform_libdir} -Wl,-rpath-link,${platform_libdir}"
            " -ltolvekcpplogger -ltolvekcppdbusutils -ltolvekcppbusutils")
        set(PC_PLATFORM_CFLAGS " -I${DEVICEID_PLATFORM_PREFIX}/include")
    endif()
    set(PC_NAME ${name})
    set(PC_DESCRIPTION "${description}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/module.pc.in" "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}.pc" DESTINATION "${module_dir}" COMPONENT ${name}-dev)
endfunction()
