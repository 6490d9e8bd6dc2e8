# Script run by CTest: install, check that every public header of the
# decoding library compiles on its own, then build the decode client through
# find_package and through pkg-config and decode the example drive with it.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

function(decode_example client)
  run(${client} ${EXAMPLES}/vehicle.dbc ${EXAMPLES}/drive.log)
  # Changed values only, without triggers: examples/drive.expected.csv less
  # its header and its three TRIGGER rows.
  if(NOT last_output MATCHES "decode client [0-9.]+: 2870 rows")
    message(FATAL_ERROR "unexpected output of ${client}: ${last_output}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS}")

file(GLOB headers RELATIVE ${prefix}/include/rksignal
  ${prefix}/include/rksignal/definitions/*.h ${prefix}/include/rksignal/recordings/*.h
  ${prefix}/include/rksignal/decode/*.h)
foreach(header ${headers})
  file(WRITE ${WORK_DIR}/header.cpp "#include \"${header}\"\n")
  run(${CXX_COMPILER} -std=c++17 ${extra_flags} -fsyntax-only -I${prefix}/include/rksignal ${WORK_DIR}/header.cpp)
endforeach()

run(${CMAKE_COMMAND} -S ${CLIENT_DIR} -B ${WORK_DIR}/cmake-client
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-client)
decode_example(${WORK_DIR}/cmake-client/decode_client)

file(GLOB_RECURSE pc_files ${prefix}/*/rksignal-decode.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
get_filename_component(lib_dir ${pc_dir} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --cflags --libs rksignal-decode)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run(${CXX_COMPILER} -std=c++17 ${extra_flags} ${CLIENT_DIR}/decode_client.cpp -o ${WORK_DIR}/pc-client ${pc_flags}
    -pthread -Wl,-rpath,${lib_dir})
decode_example(${WORK_DIR}/pc-client)
