# What every target of the project shares: warnings, reproducible arithmetic, and where Windows finds its DLLs.

# Joined sources look like headers to GCC, in which nothing without linkage belongs.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    set(TAVRIX_JOINED -Wno-subobject-linkage)
endif()

# Warnings and the arithmetic rules of the project: no contraction of a*b+c, so that every compiler and every
# instruction set computes the same bytes.
function(tavrix_compile_options target)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -ffp-contract=off)
        if(CMAKE_UNITY_BUILD)
            target_compile_options(${target} PRIVATE ${TAVRIX_JOINED})
        endif()
        if(TAVRIX_WERROR)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    elseif(MSVC)
        target_compile_options(${target} PRIVATE /W4 /fp:precise /utf-8 /EHsc)
        if(TAVRIX_WERROR)
            target_compile_options(${target} PRIVATE /WX)
        endif()
    endif()
endfunction()

# Flags for code that is mostly templates of calls, as those of CLI11 and pybind11 are: optimising it further takes minutes
# and brings nothing.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    set(TAVRIX_LIGHTLY_OPTIMISED $<$<CONFIG:Release>:-O1>)
endif()

# Has the compiler read the sources of a target many at a time, where the headers that they share take longer than they do:
# a fourth of the work of building it. TAVRIX_JOIN_SOURCES=OFF gives each source a command of its own, as tools that read
# single sources want it.
function(tavrix_join_sources target)
    if(TAVRIX_JOIN_SOURCES)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
        target_compile_options(${target} PRIVATE ${TAVRIX_JOINED})
    endif()
endfunction()

# Has the programs of one kind read a large header once: `owner`, which comes first, keeps it, and the others take its.
# They share their compile options.
function(tavrix_precompile target owner header)
    if(target STREQUAL owner)
        target_precompile_headers(${target} PRIVATE ${header})
    else()
        target_precompile_headers(${target} REUSE_FROM ${owner})
    endif()
endfunction()

# A program of the project.
function(tavrix_add_program target)
    add_executable(${target} ${ARGN})
    target_link_libraries(${target} PRIVATE tavrix::tx_geometry)
    tavrix_compile_options(${target})
endfunction()

# The DLLs of the MinGW runtime that the library and its hosts load; the runtime is shared so that an exception thrown
# in the library is caught in the host.
function(tavrix_mingw_runtime out)
    set(found)
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}")
            find_file(tavrix_${name} ${name} PATHS /usr/x86_64-w64-mingw32/lib NO_DEFAULT_PATH)
            set(path ${tavrix_${name}})
        endif()
        list(APPEND found ${path})
    endforeach()
    set(${out} ${found} PARENT_SCOPE)
endfunction()
