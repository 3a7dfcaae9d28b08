# The libraries of others that the programs use. Native builds take the distribution's. Cross builds, and those with
# another standard library, have none of their own: they take header libraries from the build machine, and compile the
# others from the sources that scripts/fetch-sources gets.
include_guard(GLOBAL)

# tavrix_find_header_library(<variable> <header> <copied> [suffixes]): appends the folder of a header library to
# header_libraries; a cross build copies the file or folder `copied` from it, and takes nothing else from beside it.
function(tavrix_find_header_library variable header copied)
    find_path(${variable} ${header} PATH_SUFFIXES ${ARGN} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
    set(folder ${${variable}})
    if(CMAKE_CROSSCOMPILING)
        file(COPY ${folder}/${copied} DESTINATION ${CMAKE_CURRENT_BINARY_DIR}/include)
        set(folder ${CMAKE_CURRENT_BINARY_DIR}/include)
    endif()
    set(header_libraries ${header_libraries} ${folder} PARENT_SCOPE)
endfunction()

# The folder of a library's sources.
function(tavrix_find_sources name out)
    file(GLOB folder LIST_DIRECTORIES true ${PROJECT_SOURCE_DIR}/build/sources/${name}-*/)
    if(NOT folder)
        message(FATAL_ERROR "The sources of ${name} are missing: run scripts/fetch-sources first")
    endif()
    list(GET folder 0 folder)
    set(${out} ${folder} PARENT_SCOPE)
endfunction()

if(CMAKE_CROSSCOMPILING OR CMAKE_CXX_FLAGS MATCHES "-stdlib=")
    tavrix_find_sources(pugixml folder)
    add_library(tavrix_pugixml STATIC ${folder}/src/pugixml.cpp)
    target_include_directories(tavrix_pugixml SYSTEM PUBLIC ${folder}/src)
    add_library(tavrix::pugixml ALIAS tavrix_pugixml)
else()
    find_package(pugixml REQUIRED)
    add_library(tavrix::pugixml ALIAS pugixml::pugixml)
endif()

if(CMAKE_CROSSCOMPILING)
    enable_language(C)
    tavrix_find_sources(zlib folder)
    add_library(tavrix_zlib STATIC)
    foreach(name adler32 crc32 inffast inflate inftrees zutil)
        target_sources(tavrix_zlib PRIVATE ${folder}/${name}.c)
    endforeach()
    target_include_directories(tavrix_zlib SYSTEM PUBLIC ${folder})
    add_library(tavrix::zlib ALIAS tavrix_zlib)
else()
    find_package(ZLIB REQUIRED)
    add_library(tavrix::zlib ALIAS ZLIB::ZLIB)
endif()
