# The shared library: soname and file name are one, only the functions of api.def leave it, the C++ run-time is inside.
file(STRINGS ${PROJECT_SOURCE_DIR}/src/tovan/api.def api_lines REGEX "^TVN_FUNC\\(")
set(api_script "VERS_6.0 {\n  global:\n")
foreach(line IN LISTS api_lines)
  string(REGEX REPLACE "^TVN_FUNC\\(([A-Za-z0-9_]+).*" "\\1" fn "${line}")
  string(APPEND api_script "    ${fn};\n")
endforeach()
string(APPEND api_script "  local: *;\n};\n")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/tovan.map CONTENT "${api_script}" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/tovan/api.def)

file(WRITE ${PROJECT_BINARY_DIR}/anchor.cpp "// The shared library has no source of its own: everything comes from the folders.\n")
add_library(tovan SHARED ${PROJECT_BINARY_DIR}/anchor.cpp)
set_target_properties(tovan PROPERTIES
  OUTPUT_NAME tovannoomp64
  VERSION 6.0 SOVERSION 6.0
  LINK_DEPENDS ${PROJECT_BINARY_DIR}/tovan.map)
target_include_directories(tovan PUBLIC
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
# Exported functions stand in the rooms of src/tovan, and nothing in the library calls them: taken whole.
target_link_libraries(tovan PRIVATE tvn_flags tvn_tovan)
list(TRANSFORM tovan_rooms PREPEND tvn_tovan_ OUTPUT_VARIABLE whole)
list(JOIN whole "," whole)
set_property(TARGET tovan PROPERTY LINK_LIBRARY_OVERRIDE "WHOLE_ARCHIVE,${whole}")
target_link_options(tovan PRIVATE
  -Wl,--version-script=${PROJECT_BINARY_DIR}/tovan.map
  -Wl,--no-undefined-version -Wl,-z,defs -Wl,--as-needed)
if(TOVAN_SANITIZE OR TOVAN_SANITIZE_THREAD OR TOVAN_FUZZ)
  # The sanitizer run-time lives in the executable, so the library has open ends.
  set_target_properties(tovan PROPERTIES LINK_OPTIONS "-Wl,--version-script=${PROJECT_BINARY_DIR}/tovan.map")
else()
  target_link_options(tovan PRIVATE -static-libstdc++ -static-libgcc -Wl,--wrap=sprintf)
endif()
add_library(tovan::tovan ALIAS tovan)

# Install: library, header, CMake package, pkg-config file.
include(CMakePackageConfigHelpers)
install(TARGETS tovan EXPORT tovan-targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/tovan.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT tovan-targets NAMESPACE tovan:: FILE tovan-targets.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovan)
file(WRITE ${PROJECT_BINARY_DIR}/tovan-config.cmake "include(\${CMAKE_CURRENT_LIST_DIR}/tovan-targets.cmake)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tovan-config-version.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tovan-config.cmake ${PROJECT_BINARY_DIR}/tovan-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tovan)
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/tovan.pc.in ${PROJECT_BINARY_DIR}/tovan.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tovan.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
