# What find_package(Talmo) needs, beside the libraries that it is for: the targets, with names that begin with
# Talmo::, and the files that define them. All paths in them are relative, so the installed tree can be moved.
include(CMakePackageConfigHelpers)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Talmo)
set(made ${PROJECT_BINARY_DIR}/cmake)

# Talmo::talmo needs it, and has nothing of its own to install.
set_target_properties(talmo_qt PROPERTIES EXPORT_NAME qt)
install(TARGETS talmo_qt EXPORT TalmoTargets)
install(EXPORT TalmoTargets NAMESPACE Talmo:: DESTINATION ${package})

configure_package_config_file(cmake/TalmoConfig.cmake.in ${made}/TalmoConfig.cmake
  INSTALL_DESTINATION ${package}
  NO_SET_AND_CHECK_MACRO)
# While the first number is 0, the second one counts what is new.
write_basic_package_version_file(${made}/TalmoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${made}/TalmoConfig.cmake ${made}/TalmoConfigVersion.cmake
  cmake/TalmoAddTests.cmake cmake/TalmoDiscoverTests.cmake
  DESTINATION ${package})
install(PROGRAMS cmake/linkSuite DESTINATION ${package})
