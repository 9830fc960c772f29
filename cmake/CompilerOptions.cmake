# Warnings, optimization, visibility and sanitizers that every target of this tree is built with.
option(DEVICEID_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" ON)

# Most time goes by in the libraries for XML and D-Bus: -O3 would only make ours larger. On the devices, which are
# 32-bit ARM, the size counts for more than the few per cent of instructions that it costs. Their kernel may have 64
# bits.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(arm|aarch64)" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(optimization -Os)
else()
    set(optimization -O2)
endif()
set(DEVICEID_OPTIMIZATION ${optimization} CACHE STRING "The compiler's option for optimization in builds of type Release")

set(DEVICEID_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Files have 64-bit sizes and numbers on 32-bit machines, too.
add_compile_definitions(_FILE_OFFSET_BITS=64)

# Comes behind CMake's own -O3, so that it holds. What nothing refers to is left out of libraries and programs.
add_compile_options("$<$<CONFIG:Release>:${DEVICEID_OPTIMIZATION};-ffunction-sections;-fdata-sections>")
add_link_options($<$<CONFIG:Release>:-Wl,--gc-sections>)

add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wunused -Wnull-dereference
    -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # No code of ours is older than the change of the ARM calling convention in GCC 7.
    add_compile_options(-Wduplicated-cond -Wlogical-op -Wno-psabi)
    # On 32 bits many casts between types of fixed and of other size have no effect, by coincidence.
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wuseless-cast>)
    endif()
endif()
if(DEVICEID_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

if(DEVICEID_SANITIZE)
    add_compile_options(-fsanitize=${DEVICEID_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g -O1)
    add_link_options(-fsanitize=${DEVICEID_SANITIZE})
else()
    add_link_options(-Wl,--as-needed -Wl,--no-undefined)
endif()
