# Helpers of the package test script that CTest runs.

# Runs a command and fails the test, with its output, when the command
# fails; its standard output is left in `last_output`.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

# Builds `source` into `output` with what pkg-config says for `package` of
# the installed tree at `prefix`, with CXX_COMPILER, CXX_FLAGS and any
# further compiler arguments given after `output`.
function(build_with_pkg_config package source output)
  file(GLOB_RECURSE pc_files ${prefix}/*/${package}.pc)
  list(GET pc_files 0 pc_file)
  get_filename_component(pc_dir ${pc_file} DIRECTORY)
  get_filename_component(lib_dir ${pc_dir} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  run(pkg-config --cflags --libs ${package})
  string(STRIP "${last_output}" pc_flags)
  separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
  separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS}")
  run(${CXX_COMPILER} -std=c++17 ${extra_flags} ${ARGN} ${source} -o ${output} ${pc_flags} -pthread
      -Wl,-rpath,${lib_dir})
endfunction()
