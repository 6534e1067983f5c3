# Runs the built koshr tool with ARGS and writes what it prints to OUT: the
# documents generated from the tool's own help texts (cmake -P).
separate_arguments(args UNIX_COMMAND "${ARGS}")
execute_process(COMMAND ${TOOL} ${args} OUTPUT_FILE ${OUT} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  file(REMOVE ${OUT})
  message(FATAL_ERROR "${TOOL} ${ARGS} failed: ${status}")
endif()
