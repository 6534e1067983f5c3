# The save-as tests also cover the CSV reader and column typing of
# `koshr saveas`, the tool's shared text conversion and argument splitting,
# its streaming export (read-ahead thread, spool and staged output),
# and run the tool itself when it is built.
target_sources(${test_target} PRIVATE
  ${PROJECT_SOURCE_DIR}/tools/koshr/csv_reader.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/decimal_text.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/saveas_columns.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/utf.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/cli.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/export_stream.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/read_ahead.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/row_spool.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/staged_output.cpp)
target_include_directories(${test_target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/koshr)
if(TARGET koshr_tool AND NOT CMAKE_CROSSCOMPILING)
  add_dependencies(${test_target} koshr_tool)
  target_compile_definitions(${test_target} PRIVATE KOSHR_TOOL="$<TARGET_FILE:koshr_tool>")
endif()
