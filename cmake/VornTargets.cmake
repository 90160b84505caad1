# One library per subsystem folder: every .cpp in src/<folder>/ and in the
# sub-folders named (the engines of the database contract).
function(vorn_library name folder)
  cmake_parse_arguments(ARG "" "" "DEPS;PRIVATE_DEPS;EXCLUDE;SUBFOLDERS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp")
  foreach(sub IN LISTS ARG_SUBFOLDERS)
    file(GLOB sub_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${folder}/${sub}/*.cpp")
    list(APPEND sources ${sub_sources})
  endforeach()
  foreach(skip IN LISTS ARG_EXCLUDE)
    list(REMOVE_ITEM sources "${PROJECT_SOURCE_DIR}/src/${folder}/${skip}")
  endforeach()
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(${name} PUBLIC ${ARG_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  else()
    # A subsystem whose classes have not been written yet still takes its
    # place in the dependency chain.
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# One GoogleTest executable per test folder: every .cpp in tests/<folder>/.
# TEST_PROPERTIES adds properties to every test (a fixture the tests need,
# for instance); each value must be a single list element.
function(vorn_tests name folder)
  cmake_parse_arguments(ARG "" "" "LIBS;SUBFOLDERS;TEST_PROPERTIES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp")
  foreach(sub IN LISTS ARG_SUBFOLDERS)
    file(GLOB sub_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/${sub}/*.cpp")
    list(APPEND sources ${sub_sources})
  endforeach()
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} vorn_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  # One variable only: a list value would reach the test script split into
  # its elements. Tests find their data from the source tree's root.
  gtest_discover_tests(${name}
    PROPERTIES ${ARG_TEST_PROPERTIES} ENVIRONMENT "VORN_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
    DISCOVERY_TIMEOUT 60)
endfunction()
