# The koshr tool's command-line conventions, every command, and its generated
# man page and bash completion (native builds only: the script runs the tool).
if(NOT CMAKE_CROSSCOMPILING AND TARGET koshr_tool)
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_test(NAME KoshrToolConventions
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/tool/koshr_conventions_test.py
                     $<TARGET_FILE:koshr_tool>)
  endif()
endif()
