// test_driver.h: the recording interface of the test drivers.
//
// The test drivers are real driver libraries (koTST, koTRA, koNOE) that the
// front end loads by DBMS name. Each records every operation it receives
// and answers it as the test told it to; the test reads the record back
// through these exported functions, found with the platform's symbol look-up.
#ifndef KOSHR_TESTS_DBI_TEST_DRIVER_H
#define KOSHR_TESTS_DBI_TEST_DRIVER_H

#include <koshr/dbi.h>

#define TEST_DRIVER_TEXT 512

// One operation as the driver saw it.
typedef struct TestDriverCall {
  int32_t operation;
  int32_t sub_operation;
  void* statement;    // 247: the entry's statement handle
  void* edit_record;  // 217
  // 3: the connect strings, 35: the log-in strings, joined by "|";
  // 170: "name=text#number;" per record; 241: "source: text"; 76: the statement
  KOCHAR text[TEST_DRIVER_TEXT];
} TestDriverCall;

typedef void (*TestDriverReset)(void);
// The operations recorded since the last reset, oldest first.
typedef const TestDriverCall* (*TestDriverCalls)(int32_t* count);
// The answer to an operation: return code, SQL code and result word.
typedef void (*TestDriverSetAnswer)(int32_t operation, int32_t return_code, int32_t sql_code,
                                    intptr_t result);
// The rows the driver delivers for a catalog table: `rows` rows of
// `per_row` values each.
typedef void (*TestDriverSetRows)(int32_t catalog, const DbiCatalogValue* values, uint32_t per_row,
                                  uint32_t rows);

#endif
