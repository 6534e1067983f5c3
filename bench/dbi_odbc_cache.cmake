# The driver module beside the benchmark program (the front end loads it
# from the folder of the module holding it), and ODBC for the peer.
if(TARGET koODB)
  add_dependencies(${bench_target} koODB)
  add_custom_command(TARGET ${bench_target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:koODB> $<TARGET_FILE_DIR:${bench_target}>)
  target_link_libraries(${bench_target} PRIVATE ODBC::ODBC)
else()
  set_target_properties(${bench_target} PROPERTIES EXCLUDE_FROM_ALL ON)
endif()
