# What `cmake --install` gives: headers, library, a CMake package (tavrix::tx_geometry) and a pkg-config file.
include(CMakePackageConfigHelpers)
install(TARGETS tx_geometry EXPORT tavrix
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/tavrix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)
install(EXPORT tavrix NAMESPACE tavrix:: FILE tavrixTargets.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavrix)
file(WRITE ${PROJECT_BINARY_DIR}/tavrixConfig.cmake "include(\${CMAKE_CURRENT_LIST_DIR}/tavrixTargets.cmake)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavrixConfigVersion.cmake COMPATIBILITY SameMajorVersion)
# The file finds its prefix from where it lies, so that `cmake --install --prefix` may name any.
file(RELATIVE_PATH TAVRIX_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tavrix.pc.in ${PROJECT_BINARY_DIR}/tavrix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tavrixConfig.cmake ${PROJECT_BINARY_DIR}/tavrixConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavrix)
install(FILES ${PROJECT_BINARY_DIR}/tavrix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
