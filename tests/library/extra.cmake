# The `koshr lib` command, driven end to end by a script (native builds only).
if(NOT CMAKE_CROSSCOMPILING AND TARGET koshr_tool)
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    # A sanitizer's shadow memory and quarantine say nothing of the tool's own peak.
    set(lib_tool_flags "")
    if(CMAKE_CXX_FLAGS MATCHES "sanitize")
      set(lib_tool_flags --no-memory-peak)
    endif()
    add_test(NAME KoshrLibTool
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/library/koshr_lib_test.py $<TARGET_FILE:koshr_tool>
                     ${lib_tool_flags})
  endif()
endif()
