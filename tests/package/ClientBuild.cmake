# Script run by CTest, one STEP at a time: install; build and run the client
# through find_package or pkg-config; compile every installed header alone.
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
set(includes ${prefix}/include/rksignal)
# Found before the system's FlexLexer.h by any #include <FlexLexer.h>.
set(no_flex ${WORK_DIR}/no-flex)
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS}")

if(STEP STREQUAL install)
  file(REMOVE_RECURSE ${WORK_DIR})
  run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
  file(WRITE ${no_flex}/FlexLexer.h "#error \"<FlexLexer.h> reached from an installed header\"\n")

elseif(STEP STREQUAL cmake_client)
  run(${CMAKE_COMMAND} -S ${CLIENT_DIR} -B ${WORK_DIR}/cmake-client
      -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} -I${no_flex}")
  run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-client)
  run(${WORK_DIR}/cmake-client/client)
  expect_client_output()

elseif(STEP STREQUAL pkgconfig_client)
  file(GLOB_RECURSE pc_files ${prefix}/*/rksignal.pc)
  list(GET pc_files 0 pc_file)
  get_filename_component(pc_dir ${pc_file} DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  run(pkg-config --cflags --libs rksignal)
  string(STRIP "${last_output}" pc_flags)
  separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
  get_filename_component(lib_dir ${pc_dir} DIRECTORY)
  run(${CXX_COMPILER} -std=c++17 ${extra_flags} -I${no_flex} ${CLIENT_DIR}/client.cpp -o ${WORK_DIR}/pc-client
      ${pc_flags} -pthread -Wl,-rpath,${lib_dir})
  run(${WORK_DIR}/pc-client)
  expect_client_output()

elseif(STEP STREQUAL headers)
  # The installed headers are exactly the umbrella headers (rksignal.h, at
  # the top) and those they include: an internal header that got installed,
  # or a public one left out of either, shows here.
  file(GLOB_RECURSE installed RELATIVE ${includes} ${prefix}/include/*.h)
  file(GLOB umbrellas RELATIVE ${includes} ${includes}/*.h)
  set(expected ${umbrellas})
  foreach(umbrella IN LISTS umbrellas)
    file(STRINGS ${includes}/${umbrella} lines REGEX "^#include \"")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" header "${line}")
      list(APPEND expected ${header})
    endforeach()
  endforeach()
  list(SORT installed)
  list(REMOVE_DUPLICATES expected)
  list(SORT expected)
  if(NOT installed STREQUAL expected)
    message(FATAL_ERROR "installed headers:\n  ${installed}\numbrella headers and what they include:\n  ${expected}")
  endif()
  # Each one compiles on its own, warning-free, without flex.
  foreach(header IN LISTS installed)
    string(MAKE_C_IDENTIFIER ${header} unit)
    file(WRITE ${WORK_DIR}/headers/${unit}.cpp "#include \"${header}\"\n")
    run(${CXX_COMPILER} -std=c++17 ${extra_flags} -Wall -Wextra -Werror -fsyntax-only -I${no_flex} -I${includes}
        ${WORK_DIR}/headers/${unit}.cpp)
  endforeach()
endif()
