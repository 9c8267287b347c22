# What an installation holds: library and headers, a CMake package, a pkg-config file, the program, and the docs.
# Nothing in it names the prefix, so that it can be moved.
include(CMakePackageConfigHelpers)

install(TARGETS vfile EXPORT vfileTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(TARGET vfile-tool)
    file(RELATIVE_PATH bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
    set_target_properties(vfile-tool PROPERTIES INSTALL_RPATH $ORIGIN/${bin_to_lib})
    install(TARGETS vfile-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vfile)
install(EXPORT vfileTargets NAMESPACE vfile:: DESTINATION ${package_dir})
configure_package_config_file(cmake/vfileConfig.cmake.in ${PROJECT_BINARY_DIR}/package/vfileConfig.cmake
    INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may break its users.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/vfileConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/vfileConfig.cmake ${PROJECT_BINARY_DIR}/package/vfileConfigVersion.cmake
    DESTINATION ${package_dir})

file(RELATIVE_PATH VFILE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" VFILE_PC_TO_PREFIX ${VFILE_PC_TO_PREFIX})
if(NOT BUILD_SHARED_LIBS)
    set(VFILE_PC_CFLAGS " -DVFILE_STATIC")
    set(VFILE_PC_LIBS " -pthread")
endif()
configure_file(cmake/vfile.pc.in ${PROJECT_BINARY_DIR}/package/vfile.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/vfile.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md)
