# The `koshr lib` command, driven end to end by a script (native builds only).
if(NOT CMAKE_CROSSCOMPILING AND TARGET koshr_tool)
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_test(NAME KoshrLibTool
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/library/koshr_lib_test.py $<TARGET_FILE:koshr_tool>)
  endif()
endif()
