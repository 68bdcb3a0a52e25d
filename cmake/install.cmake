# What `cmake --install` leaves: the program, the libraries and both language modules, the SDK as a
# CMake package, the examples. The translator's directory installs its own files.
include(CMakePackageConfigHelpers)

set_target_properties(vexil_sdk PROPERTIES EXPORT_NAME sdk)
target_compile_features(vexil_sdk INTERFACE cxx_std_17)
install(TARGETS vexil_sdk vexil3 basekit3 EXPORT vexil3 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS vexil_js vexil_lua LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS vexil_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY sdk/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/vexil/examples)

# find_package(vexil3) gives vexil3::vexil3 and vexil3::basekit3.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vexil3)
install(EXPORT vexil3 FILE vexil3Config.cmake NAMESPACE vexil3:: DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vexil3ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/vexil3ConfigVersion.cmake DESTINATION ${package_dir})
