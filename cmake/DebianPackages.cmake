# Debian packages, one for each component of the installation. The architecture is that of the compiler, so that the
# same lines package a cross build.
find_program(DPKG_ARCHITECTURE dpkg-architecture REQUIRED)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpmachine
    OUTPUT_VARIABLE compiler_machine OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${DPKG_ARCHITECTURE} --host-type ${compiler_machine} --query DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "Tolvek")
# Each package has its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE ${PROJECT_NAME})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${DEVICEID_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Of the libraries of this build nobody knows the packages yet: what depends on which is said with each of them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "")
if(CMAKE_SYSROOT)
    # Of another architecture's libraries the machine that builds knows nothing.
    foreach(folder IN ITEMS lib usr/lib)
        list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
            "${CMAKE_SYSROOT}/${folder}/${CMAKE_LIBRARY_ARCHITECTURE}")
    endforeach()
endif()
set(CPACK_COMPONENTS_ALL "")

# Files that each package has.
set(package_files "${PROJECT_BINARY_DIR}/package")
configure_file("${PROJECT_SOURCE_DIR}/dist/debian/changelog.in" "${package_files}/changelog" @ONLY)
execute_process(COMMAND gzip -9 --no-name --force --keep "${package_files}/changelog" COMMAND_ERROR_IS_FATAL ANY)

#   add_debian_package(<component> NAME <package> SECTION <section> SUMMARY <one line> DESCRIPTION <text>
#       [DEPENDS <relations>] [RECOMMENDS <relations>] [CONTROL <files>])
function(add_debian_package component)
    cmake_parse_arguments(PKG "" "NAME;SECTION;SUMMARY;DESCRIPTION" "DEPENDS;RECOMMENDS;CONTROL" ${ARGN})
    install(FILES "${PROJECT_SOURCE_DIR}/dist/debian/copyright" "${package_files}/changelog.gz"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${PKG_NAME}" COMPONENT ${component})
    string(TOUPPER "CPACK_DEBIAN_${component}" prefix)
    set(all ${CPACK_COMPONENTS_ALL} ${component})
    set(CPACK_COMPONENTS_ALL ${all} PARENT_SCOPE)
    string(REPLACE ";" ", " PKG_DEPENDS "${PKG_DEPENDS}")
    string(REPLACE ";" ", " PKG_RECOMMENDS "${PKG_RECOMMENDS}")
    set(${prefix}_PACKAGE_NAME ${PKG_NAME} PARENT_SCOPE)
    set(${prefix}_PACKAGE_SECTION ${PKG_SECTION} PARENT_SCOPE)
    set(${prefix}_PACKAGE_DEPENDS "${PKG_DEPENDS}" PARENT_SCOPE)
    set(${prefix}_PACKAGE_RECOMMENDS "${PKG_RECOMMENDS}" PARENT_SCOPE)
    set(${prefix}_PACKAGE_CONTROL_EXTRA "${PKG_CONTROL}" PARENT_SCOPE)
    set(${prefix}_DESCRIPTION "${PKG_SUMMARY}\n${PKG_DESCRIPTION}" PARENT_SCOPE)
endfunction()
