# The platform's libraries: the stand-ins of this tree, or the platform's own, found below DEVICEID_PLATFORM_PREFIX.
# Either way the rest of the build sees the targets Tolvek::logger, Tolvek::busutils, Tolvek::dbusutils and Tolvek::vel.
set(DEVICEID_PLATFORM_PREFIX "" CACHE PATH
    "Prefix of the platform's own logging, bus-connection and VEL libraries; empty: build the stand-ins")

if(DEVICEID_PLATFORM_PREFIX)
    include(cmake/ImportPlatform.cmake)
    import_platform("${DEVICEID_PLATFORM_PREFIX}")
else()
    add_subdirectory(platform)
endif()
