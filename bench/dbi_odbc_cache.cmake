# The driver module beside the benchmark program (the front end loads it
# from the folder of the module holding it), copied at every build so it is
# never older than the driver; and ODBC for the peer.
if(TARGET koODB)
  add_custom_target(${bench_target}_driver
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:koODB> ${CMAKE_CURRENT_BINARY_DIR}
    DEPENDS koODB)
  add_dependencies(${bench_target} ${bench_target}_driver)
  target_link_libraries(${bench_target} PRIVATE ODBC::ODBC)
else()
  set_target_properties(${bench_target} PROPERTIES EXCLUDE_FROM_ALL ON)
endif()
