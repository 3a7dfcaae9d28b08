# What `cmake --install` gives: headers, library, a CMake package (tavrix::tx_geometry), a pkg-config file, licence and
# documentation. `cmake --build <folder> --target uninstall` takes it away again. The components are `library`, what runs
# with programs that use it, `development`, what builds them, and `program`.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tavrix)
install(TARGETS tx_geometry EXPORT tavrix
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/tavrix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)

# The package. A static library leaves the threads to its hosts.
install(EXPORT tavrix NAMESPACE tavrix:: FILE tavrixTargets.cmake DESTINATION ${package_dir} COMPONENT development)
set(config "include(\${CMAKE_CURRENT_LIST_DIR}/tavrixTargets.cmake)\n")
if(NOT BUILD_SHARED_LIBS)
    string(PREPEND config "include(CMakeFindDependencyMacro)\nfind_dependency(Threads)\n")
    set(TAVRIX_PC_CFLAGS "-DTX_GEOMETRY_STATIC")
    set(TAVRIX_PC_LIBS "-pthread")
endif()
file(WRITE ${PROJECT_BINARY_DIR}/tavrixConfig.cmake "${config}")
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
else()
    set(compatibility SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavrixConfigVersion.cmake COMPATIBILITY ${compatibility})
install(FILES ${PROJECT_BINARY_DIR}/tavrixConfig.cmake ${PROJECT_BINARY_DIR}/tavrixConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# The pkg-config file finds its prefix from where it lies, so that `cmake --install --prefix` may name any.
file(RELATIVE_PATH TAVRIX_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tavrix.pc.in ${PROJECT_BINARY_DIR}/tavrix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tavrix.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development PATTERN Doxyfile EXCLUDE)

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake
        WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)
endif()
