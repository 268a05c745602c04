# One test program per folder of tests/, named after the folder of src/ that it mirrors and linked to it.
find_package(GTest REQUIRED)
find_package(nlohmann_json REQUIRED)
include(GoogleTest)

add_test(NAME Layers.IncludesFollowTheTable
  COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR}/src -P ${CMAKE_SOURCE_DIR}/cmake/CheckIncludes.cmake)
add_test(NAME Layers.BreachIsRefused
  COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR}/tests/layers -P ${CMAKE_SOURCE_DIR}/cmake/CheckIncludes.cmake)
set_tests_properties(Layers.BreachIsRefused PROPERTIES
  PASS_REGULAR_EXPRESSION "'Lower' is headless and includes <GL/gl.h>.*'Lower' may not include 'Upper'")

# The thread sanitizer takes its time, and doesn't see the joins of libraries that are built without it.
set(testLimit 600)
set(testEnvironment)
if(MORVANE_SANITIZE MATCHES "thread")
  set(testLimit 1800)
  set(testEnvironment ENVIRONMENT "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tools/tsan.supp")
endif()

foreach(folder IN LISTS LAYER_FOLDERS)
  folder_target(${folder} target)
  file(GLOB testSources CONFIGURE_DEPENDS tests/${folder}/*.cpp)
  if(testSources AND TARGET ${target})
    add_executable(${target}_tests ${testSources})
    target_link_libraries(${target}_tests PRIVATE ${target} GTest::gtest GTest::gmock GTest::gtest_main nlohmann_json::nlohmann_json)
    target_include_directories(${target}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_compile_definitions(${target}_tests PRIVATE
      MORVANE_DATA_DIR="${CMAKE_SOURCE_DIR}/data" MORVANE_SHARED_DIR="${CMAKE_SOURCE_DIR}/../shared")
    set_target_properties(${target}_tests PROPERTIES ENABLE_EXPORTS ON)
    gtest_discover_tests(${target}_tests DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${testLimit} ${testEnvironment})
  endif()
endforeach()

# These run the program itself.
if(TARGET shell_app_tests)
  add_dependencies(shell_app_tests morvane)
  target_compile_definitions(shell_app_tests PRIVATE MORVANE_BINARY="$<TARGET_FILE:morvane>")
  add_library(lose_device MODULE tests/shell/app/preload/LoseDevice.cpp)
  target_link_libraries(lose_device PRIVATE morvane_flags)
  target_compile_definitions(shell_app_tests PRIVATE LOSE_DEVICE_MODULE="$<TARGET_FILE:lose_device>")
  add_dependencies(shell_app_tests lose_device)
endif()

# What is drawn is looked at, too, where the machine can draw.
if(TARGET interface_draw_tests)
  target_link_libraries(interface_draw_tests PRIVATE comms_render)
endif()

# A mesh codec plug-in for the tests of the registry.
if(TARGET comms_tests)
  add_library(mesh_plugin MODULE tests/comms/plugin/MeshPlugin.cpp)
  target_link_libraries(mesh_plugin PRIVATE morvane_flags)
  target_compile_definitions(comms_tests PRIVATE MESH_PLUGIN="$<TARGET_FILE:mesh_plugin>")
  add_dependencies(comms_tests mesh_plugin)
endif()
