# Run by CPack before it packs a component: Debian's manual pages are compressed, without a time in them.
file(GLOB_RECURSE pages ${CPACK_TEMPORARY_DIRECTORY}/*.1)
if(pages)
    execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
