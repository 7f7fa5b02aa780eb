# tvn_view(TARGET name): TARGET and who links it see the headers of src/NAME as "NAME/file.h". The include directory holds
# nothing but a link to that folder.
function(tvn_view target name)
  string(REPLACE / _ flat ${name})
  set(view ${PROJECT_BINARY_DIR}/view/${flat})
  get_filename_component(parent ${view}/${name} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${name} ${view}/${name} SYMBOLIC)
  target_include_directories(${target} PUBLIC ${view})
endfunction()

# tvn_folder(NAME below...): the folder src/NAME as a static library of its own, tvn_NAME with _ for /.
#
# Each folder publishes one view of itself and sees only those of the folders that it names, so an upward include finds
# no file.
function(tvn_folder name)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cpp)
  string(REPLACE / _ target tvn_${name})
  add_library(${target} STATIC ${sources})
  tvn_view(${target} ${name})
  target_link_libraries(${target} PUBLIC tvn_flags)
  foreach(below IN LISTS ARGN)
    string(REPLACE / _ below ${below})
    target_link_libraries(${target} PUBLIC tvn_${below})
  endforeach()
endfunction()
