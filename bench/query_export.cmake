# The tool is run as a whole process (its path compiled in); the bare ODBC
# fetch floor and the statement cache run in child processes of this
# program, through unixODBC and through the database interface, which finds
# the driver module koODB beside the library as a host does.
find_package(ODBC REQUIRED)
target_link_libraries(${bench_target} PRIVATE ODBC::ODBC ${CMAKE_DL_LIBS})
if(TARGET koshr_tool)
  add_dependencies(${bench_target} koshr_tool)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_TOOL_PATH="$<TARGET_FILE:koshr_tool>")
endif()
if(TARGET koODB)
  add_dependencies(${bench_target} koODB)
  # The statement benchmark is statically linked: its "own folder" is its own.
  add_custom_command(TARGET ${bench_target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:koODB> $<TARGET_FILE_DIR:${bench_target}>)
endif()
