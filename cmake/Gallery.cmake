# Draws the interface into pictures, for people to look at; built when it is asked for. Input is made as the tests make it.
add_executable(gallery EXCLUDE_FROM_ALL
  tools/gallery/Main.cpp tools/gallery/DrawPage.cpp tools/gallery/PanelPages.cpp tools/gallery/WidgetPages.cpp)
target_link_libraries(gallery PRIVATE interface comms_render)
target_include_directories(gallery PRIVATE ${CMAKE_SOURCE_DIR}/tests)
