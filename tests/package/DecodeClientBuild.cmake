# Script run by CTest: install, check that every public header of the
# decoding library compiles on its own, then build the decode client through
# find_package and through pkg-config and decode the example drive with it.
include(${CMAKE_CURRENT_LIST_DIR}/PackageSupport.cmake)

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

build_with_pkg_config(rksignal-decode ${CLIENT_DIR}/decode_client.cpp ${WORK_DIR}/pc-client)
decode_example(${WORK_DIR}/pc-client)
