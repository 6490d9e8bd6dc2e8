# Decodes examples/drive.log with the demo's definitions and triggers and
# compares the CSV with examples/drive.expected.csv.
execute_process(
  COMMAND ${TOOL} decode --defs ${EXAMPLES}/vehicle.dbc --format csv
    --trigger "Doors.DoorFL == 1 && Doors.Locked == 0" --trigger "VehicleDynamics.VehicleSpeed > 50" --edge
    ${EXAMPLES}/drive.log
  OUTPUT_FILE ${OUTPUT}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "rksignal decode failed with status ${status}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUTPUT} ${EXAMPLES}/drive.expected.csv
  RESULT_VARIABLE different)
if(different)
  message(FATAL_ERROR "${OUTPUT} differs from ${EXAMPLES}/drive.expected.csv")
endif()
