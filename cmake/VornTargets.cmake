# One library per subsystem folder: every .cpp in src/<folder>/ (not in
# sub-folders, which hold engines with libraries of their own).
function(vorn_library name folder)
  cmake_parse_arguments(ARG "" "" "DEPS;PRIVATE_DEPS;EXCLUDE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp")
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
function(vorn_tests name folder)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/${folder}/*.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} vorn_testsupport GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name}
    PROPERTIES ENVIRONMENT "VORN_SOURCE_DIR=${PROJECT_SOURCE_DIR};VORN_SHARED_DIR=${PROJECT_SOURCE_DIR}/../shared"
    DISCOVERY_TIMEOUT 60)
endfunction()
