# Run by CPack between installing into the staging folders and packing them: files in Debian's own folders are found
# without a search path in programs and libraries.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/* ${CPACK_TEMPORARY_DIRECTORY}/*/usr/lib/*.so)
foreach(file IN LISTS files)
    file(RPATH_REMOVE FILE ${file})
endforeach()
