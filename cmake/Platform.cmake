# The platform's libraries: the stand-ins of this tree, or the platform's own, found below DEVICEID_PLATFORM_PREFIX.
# Either way the rest of the build sees the targets Tolvek::logger, Tolvek::busutils, Tolvek::dbusutils and Tolvek::vel.
set(DEVICEID_PLATFORM_PREFIX "" CACHE PATH
    "Prefix of the platform's own logging, bus-connection and VEL libraries; empty: build the stand-ins")

function(import_platform_library target file header)
    find_library(${target}_LIBRARY ${file} PATHS "${DEVICEID_PLATFORM_PREFIX}" PATH_SUFFIXES
        lib "lib/${CMAKE_LIBRARY_ARCHITECTURE}" NO_DEFAULT_PATH NO_CACHE REQUIRED)
    find_path(${target}_INCLUDE ${header} PATHS "${DEVICEID_PLATFORM_PREFIX}/include" NO_DEFAULT_PATH NO_CACHE REQUIRED)
    add_library(Tolvek::${target} SHARED IMPORTED GLOBAL)
    set_target_properties(Tolvek::${target} PROPERTIES
        IMPORTED_LOCATION "${${target}_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE}")
    target_link_libraries(Tolvek::${target} INTERFACE ${ARGN})
endfunction()

if(DEVICEID_PLATFORM_PREFIX)
    import_platform_library(logger tolvekcpplogger logger/logger.h)
    import_platform_library(vel tolvekcppvel vel/vel.h)
    import_platform_library(busutils tolvekcppbusutils busconnection/factory_ifc.h Tolvek::logger)
    import_platform_library(dbusutils tolvekcppdbusutils busconnection/dbus/factory.h
        Tolvek::busutils SDBusCpp::sdbus-c++)
else()
    add_subdirectory(platform)
endif()
