# One static library per folder of src/Layers.txt, linked to exactly the folders that its line names.
include(cmake/ReadLayers.cmake)

# The target of a folder: "shell/core" is shell_core.
function(folder_target folder result)
  string(REPLACE "/" "_" name "${folder}")
  set(${result} "${name}" PARENT_SCOPE)
endfunction()

macro(morvane_folders)
  read_layers(${CMAKE_SOURCE_DIR}/src/Layers.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/Layers.txt)

  file(GLOB_RECURSE allSources CONFIGURE_DEPENDS src/*.h src/*.cpp)
  set(includesStamp ${CMAKE_BINARY_DIR}/includes.stamp)
  add_custom_command(OUTPUT ${includesStamp}
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR}/src -DSTAMP=${includesStamp} -P ${CMAKE_SOURCE_DIR}/cmake/CheckIncludes.cmake
    DEPENDS ${allSources} src/Layers.txt cmake/CheckIncludes.cmake cmake/ReadLayers.cmake
    COMMENT "Holding every #include against src/Layers.txt" VERBATIM)
  add_custom_target(check_includes DEPENDS ${includesStamp})

  # Libraries from outside, by the folder that uses them.
  set(external_ClassEngine Threads::Threads)
  set(external_comms PNG::PNG TBB::tbb ${CMAKE_DL_LIBS})
  set(external_MC TBB::tbb)
  set(external_shell_core TBB::tbb)
  set(external_comms_render PkgConfig::EPOXY)
  set(external_interface_draw PkgConfig::FONTS)
  set(external_shell_platform PkgConfig::WINDOW PkgConfig::CRASH)
  if(TARGET PkgConfig::PORTAL)
    list(APPEND external_shell_platform PkgConfig::PORTAL)
    foreach(file FileDialog SessionBus ThemePreference)
      set_source_files_properties(src/shell/platform/${file}.cpp PROPERTIES COMPILE_DEFINITIONS MORVANE_LIBPORTAL)
    endforeach()
  endif()

  foreach(folder IN LISTS LAYER_FOLDERS)
    folder_target(${folder} target)
    file(GLOB sources CONFIGURE_DEPENDS src/${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
    if(sources)
      add_library(${target} STATIC ${sources})
      set(scope PUBLIC)
    else()
      add_library(${target} INTERFACE)
      set(scope INTERFACE)
    endif()
    target_link_libraries(${target} ${scope} morvane_flags ${external_${target}})
    foreach(below IN LISTS LAYER_MAY_${folder})
      folder_target(${below} belowTarget)
      target_link_libraries(${target} ${scope} ${belowTarget})
    endforeach()
    add_dependencies(${target} check_includes)
  endforeach()

  if(EXISTS ${CMAKE_SOURCE_DIR}/src/shell/app/main.cpp)
    add_executable(morvane src/shell/app/main.cpp)
    target_link_libraries(morvane PRIVATE shell_app)
    target_compile_definitions(morvane PRIVATE MORVANE_DATA_DIR="${CMAKE_SOURCE_DIR}/data" MORVANE_VERSION="${PROJECT_VERSION}")
    set_target_properties(morvane PROPERTIES ENABLE_EXPORTS ON)
  endif()
endmacro()
