# tvn_folder(NAME below...): the folder src/NAME as a static library of its own.
#
# Headers are included as "NAME/file.h". Each folder publishes one include directory that holds nothing but a link
# to itself, and sees only those of the folders that it names, so an upward include finds no file.
function(tvn_folder name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  set(view ${PROJECT_BINARY_DIR}/view/${name})
  file(MAKE_DIRECTORY ${view})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${name} SYMBOLIC)
  add_library(tvn_${name} STATIC ${sources})
  target_include_directories(tvn_${name} PUBLIC ${view})
  target_link_libraries(tvn_${name} PUBLIC tvn_flags)
  foreach(below IN LISTS ARGN)
    target_link_libraries(tvn_${name} PUBLIC tvn_${below})
  endforeach()
endfunction()
