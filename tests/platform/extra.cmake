# The module-loading tests load a small module of their own, built beside the
# test program under the platform's module name.
add_library(koshr_test_module MODULE ${CMAKE_CURRENT_SOURCE_DIR}/platform/module/test_module.c)
set_target_properties(koshr_test_module PROPERTIES PREFIX ""
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
add_dependencies(${test_target} koshr_test_module)
