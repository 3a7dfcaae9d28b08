# tavrix_add_kernel(<source>): adds an arithmetic kernel to the library, compiled as the source stands and, where the
# compiler can, once more for AVX2. The source puts its functions into the namespace TX_KERNEL, which is `plain` or
# `avx2`; which one runs is decided at run time (platform/detail/CpuFeatures.h).
#
# Both give the same bytes: no contraction, and of the floating-point environment only errno and traps are given up,
# which no one reads and which would keep square roots and selections from being vectorised. A kernel calls no inline
# function that is not always inlined: the linker might take its AVX2 copy for the whole library.
function(tavrix_add_kernel source)
    set(variants plain)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        list(APPEND variants avx2)
        target_compile_definitions(tx_geometry PRIVATE TX_AVX2_KERNELS)
    endif()
    get_filename_component(name ${source} NAME_WE)
    foreach(variant IN LISTS variants)
        set(target tx_kernel_${name}_${variant})
        add_library(${target} OBJECT ${source})
        set_target_properties(${target} PROPERTIES
            POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
        target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
        target_compile_definitions(${target} PRIVATE TX_GEOMETRY_BUILD TX_KERNEL=${variant})
        tavrix_compile_options(${target})
        if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
            target_compile_options(${target} PRIVATE -fno-math-errno -fno-trapping-math)
        endif()
        if(variant STREQUAL avx2)
            # MinGW aligns the stack to 16 bytes only, so wide values on it need unaligned moves.
            target_compile_options(${target} PRIVATE -mavx2 $<$<BOOL:${MINGW}>:-Wa,-muse-unaligned-vector-move>)
        endif()
        target_sources(tx_geometry PRIVATE $<TARGET_OBJECTS:${target}>)
    endforeach()
endfunction()
