# The package for the system's Python, as component python: the Debian package python3-zucharset. It takes the system's
# libzutext.so. Other installations use the wheels that build-wheels.sh makes, so nothing of this is installed by default.
set(python_modules lib/python3/dist-packages)
install(DIRECTORY ${CMAKE_CURRENT_LIST_DIR}/zucharset DESTINATION ${python_modules} COMPONENT python EXCLUDE_FROM_ALL
    FILES_MATCHING PATTERN "*.py" PATTERN py.typed
    PATTERN "__pycache__" EXCLUDE PATTERN ".*_cache" EXCLUDE PATTERN lib EXCLUDE)
configure_file(${CMAKE_CURRENT_LIST_DIR}/METADATA.in ${CMAKE_CURRENT_BINARY_DIR}/python/METADATA @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/python/METADATA
    DESTINATION ${python_modules}/zucharset-${PROJECT_VERSION}.dist-info COMPONENT python EXCLUDE_FROM_ALL)
