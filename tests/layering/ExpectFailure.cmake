# Runs CheckLayers.cmake on a tree that breaks the layering and fails unless
# the check fails too, printing a line that matches EXPECTED and none that
# matches UNEXPECTED (when given).
#
#   cmake -DROOT=<tree> -DLAYERS=a,b -DEXPECTED=<regex> [-DUNEXPECTED=<regex>]
#         -P ExpectFailure.cmake
execute_process(
  COMMAND ${CMAKE_COMMAND} -DROOT=${ROOT} -DLAYERS=${LAYERS}
          -P ${CMAKE_CURRENT_LIST_DIR}/CheckLayers.cmake
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
# Every reported line starts after a line feed.
set(output "\n${output}")
if(result EQUAL 0)
  message(FATAL_ERROR "the check passed a tree that breaks the layering:\n${output}")
endif()
if(NOT output MATCHES "${EXPECTED}")
  message(FATAL_ERROR "the check did not report \"${EXPECTED}\":\n${output}")
endif()
if(DEFINED UNEXPECTED AND output MATCHES "${UNEXPECTED}")
  message(FATAL_ERROR "the check reported \"${UNEXPECTED}\":\n${output}")
endif()
message("${output}")
