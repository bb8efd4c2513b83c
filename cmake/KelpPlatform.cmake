# kelp_dll_entry(<target>): gives a shared library of the family its DLL entry
# point on Windows (elsewhere there is none).
function(kelp_dll_entry target)
  if(WIN32)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src/platform/DllMain.cpp)
  endif()
endfunction()

# kelp_host_headers(<target> <dir> [<subdir>]): an interface target for a
# header-only library that Debian installs for the build machine. A cross
# build cannot put the machine's own /usr/include on its include path (the C
# library's headers would shadow the target's), so it gets a folder holding
# only the library's headers: <dir> itself when it holds nothing else, or a
# link to <dir> named <subdir> for headers included as <subdir>/name.
function(kelp_host_headers target dir)
  add_library(${target} INTERFACE)
  if(ARGC GREATER 2)
    set(root ${PROJECT_BINARY_DIR}/host-headers/${target})
    file(MAKE_DIRECTORY ${root})
    file(CREATE_LINK ${dir} ${root}/${ARGV2} SYMBOLIC)
    target_include_directories(${target} SYSTEM INTERFACE ${root})
  else()
    target_include_directories(${target} SYSTEM INTERFACE ${dir})
  endif()
endfunction()
