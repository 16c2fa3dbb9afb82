# Install rules: headers, the library with its soname, a CMake package (MortarConfig.cmake with
# a version file, exporting mortar::mortar) and a pkg-config file (mortar.pc).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(MORTAR_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Mortar" CACHE STRING
    "Where MortarConfig.cmake is installed, relative to the prefix")

install(TARGETS mortar EXPORT MortarTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/mortar"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(EXPORT MortarTargets
  NAMESPACE mortar::
  DESTINATION ${MORTAR_INSTALL_CMAKEDIR} COMPONENT development)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/MortarConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/MortarConfig.cmake"
  INSTALL_DESTINATION ${MORTAR_INSTALL_CMAKEDIR})
# 0.x releases promise compatibility within a minor version only.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/MortarConfigVersion.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/MortarConfig.cmake" "${PROJECT_BINARY_DIR}/MortarConfigVersion.cmake"
  DESTINATION ${MORTAR_INSTALL_CMAKEDIR} COMPONENT development)

if(MORTAR_SHARED)
  set(MORTAR_PC_CFLAGS "")
else()
  set(MORTAR_PC_CFLAGS "-DMORTAR_STATIC")
endif()
# The .pc file finds its prefix from where it lies, so an installed tree can be moved.
file(RELATIVE_PATH MORTAR_PC_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
string(REGEX REPLACE "/$" "" MORTAR_PC_PREFIX "${MORTAR_PC_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/mortar.pc.in" "${PROJECT_BINARY_DIR}/mortar.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/mortar.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
