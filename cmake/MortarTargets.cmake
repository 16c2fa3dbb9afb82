# One place that gives every Mortar target the same language level, warnings,
# visibility and registration, so that no module, test or benchmark drifts.

include_guard(GLOBAL)

# Language level, warnings and symbol visibility for a target of ours.
function(mortar_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(MORTAR_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()

# Adds the sources of one module of the library: src/<module>/*.cpp.
# Modules are folders, not targets: the library is one target, mortar.
function(mortar_module module)
  file(GLOB _sources CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/src/${module}/*.cpp"
    "${PROJECT_SOURCE_DIR}/src/${module}/internal/*.cpp")
  file(GLOB _headers CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/include/mortar/${module}/*.h"
    "${PROJECT_SOURCE_DIR}/src/${module}/*.h"
    "${PROJECT_SOURCE_DIR}/src/${module}/internal/*.h")
  target_sources(mortar PRIVATE ${_sources} ${_headers})
endfunction()

# mortar_add_test(<name> SOURCES <files...> [LIBS <libs...>])
# One GoogleTest program, linked with the library and registered with CTest.
function(mortar_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  mortar_target_defaults(${name})
  target_link_libraries(${name} PRIVATE mortar::mortar GTest::gtest GTest::gtest_main ${ARG_LIBS})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "MORTAR_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endfunction()

# mortar_add_benchmark(<name> SOURCES <files...> [LIBS <libs...>])
# One Google Benchmark program, linked with the library.
function(mortar_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  mortar_target_defaults(${name})
  target_link_libraries(${name} PRIVATE mortar::mortar benchmark::benchmark ${ARG_LIBS})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/bench")
endfunction()
