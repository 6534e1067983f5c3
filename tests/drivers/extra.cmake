# The ODBC driver suite: a client of the shared library, like a host, so the
# front end loads koODB from the folder the library sits in. The program
# sits there too (Windows finds koshr.dll beside it). It runs against SQLite
# in a temporary folder, or against the database KOSHR_TEST_CONNECT names
# (make test-postgres).
add_executable(test_drivers ${CMAKE_CURRENT_SOURCE_DIR}/drivers/odbc_driver_test.cpp)
target_link_libraries(test_drivers PRIVATE koshr GTest::gtest GTest::gtest_main)
target_include_directories(test_drivers PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/common)
set_target_properties(test_drivers PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
add_dependencies(test_drivers koODB)
if(CMAKE_CROSSCOMPILING)
  add_test(NAME test_drivers COMMAND test_drivers)
else()
  gtest_discover_tests(test_drivers DISCOVERY_TIMEOUT 120)
endif()

# The driver's readers and connection strings, without a database.
add_executable(test_odbc_units ${CMAKE_CURRENT_SOURCE_DIR}/drivers/value_decode_test.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/drivers/settings_test.cpp
  ${PROJECT_SOURCE_DIR}/drivers/odbc/value_decode.cpp ${PROJECT_SOURCE_DIR}/drivers/odbc/settings.cpp)
target_include_directories(test_odbc_units PRIVATE
  ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
target_link_libraries(test_odbc_units PRIVATE GTest::gtest GTest::gtest_main)
if(CMAKE_CROSSCOMPILING)
  add_test(NAME test_odbc_units COMMAND test_odbc_units)
else()
  gtest_discover_tests(test_odbc_units DISCOVERY_TIMEOUT 120)
endif()
