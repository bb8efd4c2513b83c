# Run with cmake -P; fails with a message on the first step that goes wrong.
function(run_step what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(step_output "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${KELP_SCRATCH}/prefix)
file(REMOVE_RECURSE ${KELP_SCRATCH})

run_step("install" ${CMAKE_COMMAND} --install ${KELP_BUILD_DIR} --prefix ${prefix})

foreach(lib KelpCore KelpImageLoad KelpFileIO)
  file(GLOB_RECURSE found ${prefix}/lib*/lib${lib}.so.1)
  if(NOT found)
    message(FATAL_ERROR "lib${lib}.so.1 (versioned SONAME link) was not installed")
  endif()
endforeach()

# CMake package.
run_step("consumer configure" ${CMAKE_COMMAND} -S ${KELP_CONSUMER_SOURCE} -B ${KELP_SCRATCH}/consumer
  -G ${KELP_GENERATOR} -DCMAKE_CXX_COMPILER=${KELP_CXX_COMPILER} -DCMAKE_PREFIX_PATH=${prefix}
  "-DCMAKE_CXX_FLAGS=${KELP_CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${KELP_CXX_FLAGS}")
run_step("consumer build" ${CMAKE_COMMAND} --build ${KELP_SCRATCH}/consumer)
run_step("consumer run" ${KELP_SCRATCH}/consumer/kelp_consumer ${KELP_SCRATCH}/cloud.asc)
if(NOT step_output MATCHES "read 3 points")
  message(FATAL_ERROR "unexpected consumer output: ${step_output}")
endif()

# pkg-config.
file(GLOB_RECURSE pcfile ${prefix}/*/kelpfileio.pc)
if(NOT pcfile)
  message(FATAL_ERROR "kelpfileio.pc was not installed")
endif()
get_filename_component(pcdir ${pcfile} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run_step("pkg-config" pkg-config --cflags --libs kelpfileio)
string(STRIP "${step_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
# The host compiles with the same instrumentation as the libraries (sanitizer builds).
separate_arguments(host_flags UNIX_COMMAND "${KELP_CXX_FLAGS}")
run_step("pkg-config build" ${KELP_CXX_COMPILER} -std=c++17 ${host_flags} ${KELP_CONSUMER_SOURCE}/main.cpp ${flags}
  -o ${KELP_SCRATCH}/kelp_consumer_pc)

# The Python package, from the prefix's site-packages only (not the build tree).
if(KELP_PYTHON)
  set(ENV{PYTHONPATH} ${prefix}/${KELP_PYTHON_DIR})
  set(ENV{PYTHONNOUSERSITE} 1)
  if(KELP_PYTHON_PRELOAD)
    set(ENV{LD_PRELOAD} ${KELP_PYTHON_PRELOAD})
    set(ENV{ASAN_OPTIONS} detect_leaks=0)
  endif()
  run_step("python import" ${KELP_PYTHON} -c
    "import kelpfileio, sys\nprint(kelpfileio.__file__, len(kelpfileio.read(sys.argv[1]).vertices))"
    ${KELP_SCRATCH}/cloud.asc)
  string(FIND "${step_output}" "${prefix}/${KELP_PYTHON_DIR}/kelpfileio/__init__.py 3" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "kelpfileio was not imported from the prefix or read the wrong points: ${step_output}")
  endif()
endif()
