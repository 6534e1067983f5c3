# The test drivers: real driver libraries the front end loads by DBMS name
# from the folder of the module that holds it (here the test program).
#   koTST  exports KO_DB_Rout
#   koTRA  exports TraceMainDispatcher (the tracing driver's entry name)
#   koNOE  exports no entry at all
foreach(driver TST TRA NOE)
  add_library(ko${driver} MODULE ${CMAKE_CURRENT_SOURCE_DIR}/dbi/driver/test_driver.cpp)
  target_include_directories(ko${driver} PRIVATE ${PROJECT_SOURCE_DIR}/include)
  set_target_properties(ko${driver} PROPERTIES
    PREFIX ""
    OUTPUT_NAME ko${driver}
    LIBRARY_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:${test_target}>
    RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:${test_target}>)
  add_dependencies(${test_target} ko${driver})
endforeach()
target_compile_definitions(koTST PRIVATE TEST_DRIVER_ENTRY=KO_DB_Rout)
target_compile_definitions(koTRA PRIVATE TEST_DRIVER_ENTRY=TraceMainDispatcher)

# The `koshr dbparm`, `sql` and `driver` commands, driven end to end (native builds).
if(NOT CMAKE_CROSSCOMPILING AND TARGET koshr_tool)
  find_package(Python3 COMPONENTS Interpreter QUIET)
  if(Python3_FOUND)
    add_test(NAME KoshrDbiTool
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/dbi/koshr_dbi_test.py $<TARGET_FILE:koshr_tool>)
    # `koshr query` and `koshr catalog` on a SQLite file through koODB, or on
    # the server KOSHR_TEST_CONNECT names (make test-postgres).
    if(TARGET koODB)
      add_test(NAME KoshrQueryTool
               COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/dbi/koshr_query_test.py $<TARGET_FILE:koshr_tool>)
    endif()
  endif()
endif()
