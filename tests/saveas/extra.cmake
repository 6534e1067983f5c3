# The save-as tests also cover the CSV reader and column typing of
# `koshr saveas`, and run the tool itself when it is built.
target_sources(${test_target} PRIVATE
  ${PROJECT_SOURCE_DIR}/tools/koshr/csv_reader.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/saveas_columns.cpp)
target_include_directories(${test_target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/koshr)
if(TARGET koshr_tool AND NOT CMAKE_CROSSCOMPILING)
  add_dependencies(${test_target} koshr_tool)
  target_compile_definitions(${test_target} PRIVATE KOSHR_TOOL="$<TARGET_FILE:koshr_tool>")
endif()
