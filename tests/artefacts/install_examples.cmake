# Installs the build into a scratch prefix, then builds and runs the examples
# against it (examples/run_examples.cmake). Run by CTest with -P.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install ${BUILD_DIR} failed")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/../../examples/run_examples.cmake)
file(REMOVE_RECURSE ${PREFIX} ${WORK_DIR})
