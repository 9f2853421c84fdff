# Read by CPack before it makes the packages: adds the system libraries that the programs really need.
function(add_system_libraries component file)
    execute_process(COMMAND ${CPACK_ZUCHARSET_READELF} -V ${file} OUTPUT_VARIABLE versions COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "GLIBC_[0-9.]+" versions "${versions}")
    list(SORT versions COMPARE NATURAL ORDER DESCENDING)
    list(GET versions 0 newest)
    string(REPLACE "GLIBC_" "" newest ${newest})
    set(variable CPACK_DEBIAN_${component}_PACKAGE_DEPENDS)
    list(APPEND ${variable} "libc6 (>= ${newest})" ${ARGN})
    list(JOIN ${variable} ", " ${variable})
    set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

add_system_libraries(RUNTIME ${CPACK_ZUCHARSET_BUILD}/libzucharset.so)
add_system_libraries(STANDIN ${CPACK_ZUCHARSET_BUILD}/libvemora_utils.so)
# Built with a compiler, a C++ program needs the run-time library of that compiler's version at most.
add_system_libraries(COMMAND ${CPACK_ZUCHARSET_BUILD}/zucharset
    libgcc-s1 "libstdc++6 (>= ${CPACK_ZUCHARSET_COMPILER})")
