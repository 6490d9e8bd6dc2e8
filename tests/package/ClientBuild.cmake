# Script run by CTest: install, then build and run the client two ways.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_client_output)
  if(NOT last_output MATCHES "client: Speed = 42 km/h")
    message(FATAL_ERROR "unexpected client output: ${last_output}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# find_package
run(${CMAKE_COMMAND} -S ${CLIENT_DIR} -B ${WORK_DIR}/cmake-client
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-client)
run(${WORK_DIR}/cmake-client/client)
expect_client_output()

# pkg-config
file(GLOB_RECURSE pc_files ${prefix}/*/rksignal.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs rksignal)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS}")
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
run(${CXX_COMPILER} -std=c++17 ${extra_flags} ${CLIENT_DIR}/client.cpp -o ${WORK_DIR}/pc-client ${pc_flags}
    -pthread -Wl,-rpath,${lib_dir})
run(${WORK_DIR}/pc-client)
expect_client_output()
