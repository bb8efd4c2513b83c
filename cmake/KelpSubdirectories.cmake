# kelp_add_subdirectories(): adds every folder below the current source
# directory that holds a CMakeLists.txt, in name order. A new format, test or
# benchmark folder is then picked up without touching its parent; the glob is
# checked again at build time, so adding one needs no manual re-configure.
function(kelp_add_subdirectories)
  file(GLOB entries CONFIGURE_DEPENDS LIST_DIRECTORIES true ${CMAKE_CURRENT_SOURCE_DIR}/*)
  list(SORT entries)
  foreach(dir IN LISTS entries)
    if(IS_DIRECTORY ${dir} AND EXISTS ${dir}/CMakeLists.txt)
      add_subdirectory(${dir})
    endif()
  endforeach()
endfunction()
