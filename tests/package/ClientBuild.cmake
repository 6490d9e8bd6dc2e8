# Script run by CTest: install, then build and run the client two ways.
include(${CMAKE_CURRENT_LIST_DIR}/PackageSupport.cmake)

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
build_with_pkg_config(rksignal ${CLIENT_DIR}/client.cpp ${WORK_DIR}/pc-client)
run(${WORK_DIR}/pc-client)
expect_client_output()
