# Imports the platform's own logging, bus-connection and VEL libraries from below a prefix, as the targets that the
# stand-ins would otherwise provide. Used by the build and by the installed package of a library built this way.
function(import_platform_library prefix target file header)
    if(TARGET Tolvek::${target})
        return()
    endif()
    # In a cross build, below the root folder of the target or outside it.
    find_library(${target}_LIBRARY ${file} PATHS "${prefix}" PATH_SUFFIXES
        lib "lib/${CMAKE_LIBRARY_ARCHITECTURE}" NO_DEFAULT_PATH CMAKE_FIND_ROOT_PATH_BOTH NO_CACHE REQUIRED)
    find_path(${target}_INCLUDE ${header} PATHS "${prefix}/include"
        NO_DEFAULT_PATH CMAKE_FIND_ROOT_PATH_BOTH NO_CACHE REQUIRED)
    add_library(Tolvek::${target} SHARED IMPORTED GLOBAL)
    set_target_properties(Tolvek::${target} PROPERTIES
        IMPORTED_LOCATION "${${target}_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE}")
    target_link_libraries(Tolvek::${target} INTERFACE ${ARGN})
endfunction()

function(import_platform prefix)
    import_platform_library("${prefix}" logger tolvekcpplogger logger/logger.h)
    import_platform_library("${prefix}" vel tolvekcppvel vel/vel.h)
    import_platform_library("${prefix}" busutils tolvekcppbusutils busconnection/factory_ifc.h Tolvek::logger)
    import_platform_library("${prefix}" dbusutils tolvekcppdbusutils busconnection/dbus/factory.h
        Tolvek::busutils SDBusCpp::sdbus-c++)
endfunction()
