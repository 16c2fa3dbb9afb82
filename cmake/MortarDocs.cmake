# The `docs` target: API documentation from the header comments, with Doxygen.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo "docs: doxygen is not installed (scripts/install-deps docs)"
    COMMAND ${CMAKE_COMMAND} -E false)
  return()
endif()
set(MORTAR_DOCS_OUTPUT "${PROJECT_BINARY_DIR}/docs")
set(MORTAR_DOCS_WARN_AS_ERROR "FAIL_ON_WARNINGS")
configure_file("${PROJECT_SOURCE_DIR}/docs/Doxyfile.in" "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
add_custom_target(docs
  COMMAND ${CMAKE_COMMAND} -E make_directory "${MORTAR_DOCS_OUTPUT}"
  COMMAND ${DOXYGEN_EXECUTABLE} "${PROJECT_BINARY_DIR}/Doxyfile"
  WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
  COMMENT "API documentation in ${MORTAR_DOCS_OUTPUT}/html/index.html"
  VERBATIM)
