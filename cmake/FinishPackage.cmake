# Run by CPack before it packs what is installed: Debian's manual pages are compressed, without a time in them, and the
# runtime that a Windows package brings loses its debugging information, most of its size.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*.1)
if(pages)
    execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
file(GLOB_RECURSE runtime ${CPACK_TEMPORARY_DIRECTORY}/lib*-*.dll)
if(runtime)
    execute_process(COMMAND ${CPACK_TAVRIX_STRIP} --strip-debug ${runtime} COMMAND_ERROR_IS_FATAL ANY)
endif()
