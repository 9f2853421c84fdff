# The reference of the headers, as HTML: cmake --build FOLDER --target doc
# Run as a script (FOLDER given) it makes the reference; doxygen is looked for then, not when the build is configured.
if(NOT CMAKE_SCRIPT_MODE_FILE)
    if(PROJECT_IS_TOP_LEVEL)
        configure_file(docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
        add_custom_target(doc COMMAND ${CMAKE_COMMAND} -D FOLDER=${PROJECT_BINARY_DIR} -P ${CMAKE_CURRENT_LIST_FILE}
            COMMENT "Reference in ${PROJECT_BINARY_DIR}/reference/html" VERBATIM)
    endif()
    return()
endif()
find_program(DOXYGEN doxygen)
if(NOT DOXYGEN)
    message(FATAL_ERROR "The reference is made by doxygen, which is not here: install the Debian package doxygen")
endif()
execute_process(COMMAND ${DOXYGEN} ${FOLDER}/Doxyfile COMMAND_ERROR_IS_FATAL ANY)
