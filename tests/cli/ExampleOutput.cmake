# Decodes example recordings with `rksignal decode ARGS --format csv` in the
# examples folder (ARGS separated by '|', so that expressions keep their
# spaces) and compares the output with EXPECTED there.
string(REPLACE "|" ";" arguments "${ARGS}")
execute_process(
  COMMAND ${TOOL} decode ${arguments} --format csv
  WORKING_DIRECTORY ${EXAMPLES}
  OUTPUT_FILE ${OUTPUT}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "rksignal decode failed with status ${status}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUTPUT} ${EXAMPLES}/${EXPECTED}
  RESULT_VARIABLE different)
if(different)
  message(FATAL_ERROR "${OUTPUT} differs from ${EXAMPLES}/${EXPECTED}")
endif()
