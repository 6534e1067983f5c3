# test_tool: the koshr tool's own parts (its UTF-8 conversion and argument
# parser, the CSV reader and column typing of `koshr saveas`, the streaming
# export, its read-ahead thread and its child process) built from the tool's sources, with the
# save-as tests' table helpers, and the tool itself run when it is built.
target_sources(${test_target} PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/saveas/export_table.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/cli.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/csv_reader.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/decimal_text.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/export_process.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/export_stream.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/read_ahead.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/row_codec.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/row_spool.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/saveas_columns.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/staged_output.cpp
  ${PROJECT_SOURCE_DIR}/tools/koshr/utf.cpp)
target_include_directories(${test_target} PRIVATE ${PROJECT_SOURCE_DIR}/tools/koshr)
if(TARGET koshr_tool AND NOT CMAKE_CROSSCOMPILING)
  add_dependencies(${test_target} koshr_tool)
  target_compile_definitions(${test_target} PRIVATE KOSHR_TOOL="$<TARGET_FILE:koshr_tool>")

  # The command-line conventions, every command, and the generated man page and
  # bash completion (native builds only: the script runs the tool).
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_test(NAME KoshrToolConventions
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/tool/koshr_conventions_test.py
                     $<TARGET_FILE:koshr_tool>)
  endif()
endif()
