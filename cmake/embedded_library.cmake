# Shared libraries that a C program on a small device loads: no C++ run-time library, no exceptions, no run-time types,
# nothing at start-up.
#   zucharset_objects(TARGET SOURCE...)           their code, as objects
#   zucharset_library(TARGET NAME OBJECTS TARGET... [LIBRARIES TARGET...])
#       lib<NAME>.so of these objects, needing these libraries; lib<NAME>.map in the root folder says what it exports.
#       Adds the target zucharset::<NAME>, for each row of ZUCHARSET_HWCAPS the same library for better processors
#       (<TARGET>_<row>), and by ZUCHARSET_STATIC lib<NAME>.a as zucharset::<NAME>_static.

add_library(zucharset_embedded_options INTERFACE)
target_compile_options(zucharset_embedded_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -fvisibility=hidden -fno-asynchronous-unwind-tables -fno-unwind-tables -ffunction-sections -fdata-sections)
target_link_libraries(zucharset_embedded_options INTERFACE zucharset_options)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
    # Otherwise the choice between two kinds of atomic instructions is made at load.
    target_compile_options(zucharset_embedded_options INTERFACE -mno-outline-atomics)
endif()
# What a process gains nothing from must not help an attacker in it: guarded frames, checked C functions, tables of
# addresses that are read-only once the library is loaded, no executable stack.
# A C++ run-time library that nothing calls stays away, whatever the compiler offers.
set(embedded_link_options -Wl,--as-needed -Wl,--gc-sections -Wl,-z,relro,-z,now,-z,noexecstack)
set(embedded_link_libraries "")
if(NOT ZUCHARSET_SANITIZE)
    target_compile_options(zucharset_embedded_options INTERFACE -fstack-protector-strong
        $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    # Without the start files not even the tool chain's own hooks run at load.
    list(APPEND embedded_link_options -nostartfiles)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(arm|aarch64)")
        # The guard of frames lies in the C library's loader, which every process has: no need to ask for it by name.
        # A test lists what may stay undefined.
        list(APPEND embedded_link_options -nodefaultlibs)
        set(embedded_link_libraries -l:libc.so.6 gcc)
    else()
        list(APPEND embedded_link_options -Wl,--no-undefined)
    endif()
endif()

function(zucharset_objects target)
    add_library(${target} OBJECT ${ARGN})
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_include_directories(${target} PUBLIC
        ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/common ${PROJECT_SOURCE_DIR}/platform
        ${PROJECT_SOURCE_DIR}/detector ${PROJECT_SOURCE_DIR}/identification)
    target_link_libraries(${target} PRIVATE zucharset_embedded_options)
endfunction()

# Makes a shared library of embedded code: its name, its run path, how it is linked. The rest are the libraries it needs.
function(zucharset_link_library target name run_path)
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${name}
        LINKER_LANGUAGE C # keeps the C++ run-time library out of the needed list
        # The one run path everywhere: the one that CMake rewrites at installation is padded with empty entries, and an
        # empty entry is the folder that the user happens to be in.
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "${run_path}")
    target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
    target_link_libraries(${target} PRIVATE ${ARGN} ${embedded_link_libraries})
    target_link_options(${target} PRIVATE ${embedded_link_options})
    set(map ${PROJECT_SOURCE_DIR}/lib${name}.map)
    if(EXISTS ${map})
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
        target_link_options(${target} PRIVATE -Wl,--version-script=${map})
    endif()
endfunction()

# Adds the code of OBJECTS to a target that compiles it in its own way.
function(zucharset_compile_again target)
    foreach(objects IN LISTS ARGN)
        get_target_property(sources ${objects} SOURCES)
        get_target_property(folder ${objects} SOURCE_DIR)
        list(TRANSFORM sources PREPEND ${folder}/)
        target_sources(${target} PRIVATE ${sources})
        target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:${objects},INCLUDE_DIRECTORIES>)
    endforeach()
    target_link_libraries(${target} PRIVATE zucharset_embedded_options)
endfunction()

function(zucharset_library target name)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "OBJECTS;LIBRARIES")
    set(compiled ${arg_OBJECTS})
    list(TRANSFORM compiled REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")

    add_library(${target} SHARED ${compiled})
    add_library(zucharset::${name} ALIAS ${target})
    zucharset_link_library(${target} ${name} "$ORIGIN" ${arg_LIBRARIES})

    # Where the loader looks by itself on a better processor. The stand-in lies with the base libraries, two folders up.
    # In the build folder it would be found too, in place of the base library: there it has another place.
    foreach(level IN LISTS ZUCHARSET_HWCAPS)
        add_library(${target}_${level} SHARED)
        zucharset_compile_again(${target}_${level} ${arg_OBJECTS})
        target_compile_options(${target}_${level} PRIVATE -march=${level})
        zucharset_link_library(${target}_${level} ${name} "$ORIGIN/../.." ${arg_LIBRARIES})
        set_target_properties(${target}_${level} PROPERTIES
            LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/hwcaps/${level})
    endforeach()

    if(ZUCHARSET_STATIC)
        add_library(${target}_static STATIC ${compiled})
        add_library(zucharset::${name}_static ALIAS ${target}_static)
        set_target_properties(${target}_static PROPERTIES OUTPUT_NAME ${name})
        target_include_directories(${target}_static INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
        foreach(library IN LISTS arg_LIBRARIES)
            # The host's utility functions are the program's to choose.
            if(TARGET ${library}_static)
                target_link_libraries(${target}_static INTERFACE ${library}_static)
            endif()
        endforeach()
    endif()
endfunction()
