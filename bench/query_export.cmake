# The tool is run as a whole process (its path compiled in); the bare ODBC
# fetch floor is measured in-process through unixODBC.
if(TARGET koshr_tool)
  add_dependencies(${bench_target} koshr_tool)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_TOOL_PATH="$<TARGET_FILE:koshr_tool>")
endif()
