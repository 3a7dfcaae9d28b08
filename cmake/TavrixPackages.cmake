# What scripts/package has CPack make of the install components: three Debian packages, or one zip of all for Windows.

# The terms of what is compiled into the program or delivered beside it, as Debian states them, where it does.
set(notices libcli11-dev libfast-float-dev libstb-dev libtomlplusplus-dev nlohmann-json3-dev)
if(CMAKE_CROSSCOMPILING)
    list(APPEND notices libpugixml-dev zlib1g-dev)
endif()
if(MINGW)
    list(APPEND notices gcc-mingw-w64-base mingw-w64-x86-64-dev)
endif()
if(TAVRIX_BUILD_TOOLS)
    foreach(package IN LISTS notices)
        install(FILES /usr/share/doc/${package}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR}/licences
            COMPONENT program RENAME ${package}.txt OPTIONAL)
    endforeach()
endif()

set(CPACK_PACKAGE_VENDOR "tavrix authors")
set(CPACK_PACKAGE_CONTACT "tavrix authors <authors@tavrix.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_TAVRIX_STRIP ${CMAKE_STRIP})
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/FinishPackage.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME tavrix-${PROJECT_VERSION}-windows-x64)
    include(CPack)
    return()
endif()

# The name of the library's package follows its soname, so that incompatible versions can be installed side by side.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development)
set(package_of_library libtx-geometry-x64-${TAVRIX_ABI_VERSION})
set(package_of_development libtx-geometry-dev)
set(package_of_program tavrix)
if(TAVRIX_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package_of_${component}})
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_of_${component}}
        COMPONENT ${component} RENAME copyright EXCLUDE_FROM_ALL)
endforeach()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What they depend on: the libraries that the files are linked with, and each other in the same version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_PROGRAM_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# First the summary of each package; CPack would put the project's, were there one, above it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "surfaces of particles, and meshes, from the command line
Makes closed meshes around the particles of fluid simulations, whole sequences of
them, grows, shrinks and hollows solids, converts, simplifies, inspects and
queries meshes, and draws pictures of them.")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "geometry kernel: particles, fields, iso-surfaces, meshes
Particles become scalar fields, fields become iso-surfaces, surfaces become
triangle meshes. This package has the shared library.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "geometry kernel: headers and documentation
Particles become scalar fields, fields become iso-surfaces, surfaces become
triangle meshes. This package has what programs need that are to be built with
the library: headers, a CMake package and a pkg-config file.")
include(CPack)
