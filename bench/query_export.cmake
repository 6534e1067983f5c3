# The tool is run as a whole process (its path compiled in); the ODBC floor
# and the statement rounds run in child processes of this program, the
# latter through the database interface, which loads koODB from beside the
# program: the copy bench/dbi_odbc_cache.cmake keeps there.
find_package(ODBC REQUIRED)
target_link_libraries(${bench_target} PRIVATE ODBC::ODBC)
if(TARGET koshr_tool)
  add_dependencies(${bench_target} koshr_tool)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_TOOL_PATH="$<TARGET_FILE:koshr_tool>")
endif()
if(TARGET bench_dbi_odbc_cache_driver)
  add_dependencies(${bench_target} bench_dbi_odbc_cache_driver)
endif()
