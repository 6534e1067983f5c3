/*
 * koshr/dbi_sql.h: running SQL through a database driver (additions of ours
 * to the DBI family; everything in this header is our own).
 *
 * Usage: log in with DBI_LogIn (DBMS "ODBC" loads the driver module koODB;
 * DBParm "ConnectString='Driver=SQLite3;Database=/tmp/x.db'" names the
 * database), then DBI_Prepare a statement, DBI_BindParameters if it has "?"
 * markers, DBI_Execute it, read DBI_DescribeColumns and call DBI_FetchBlock
 * until a block comes back with no rows (or read DBI_RowsAffected when the
 * statement has no result set), and hand it back with DBI_CloseStatement.
 * A closed statement waits in the connection's statement cache (sized by
 * DBParm "SQLCache"): preparing the same text again reuses it without a new
 * prepare, and its column description comes from the cache. Every function
 * returns 0; the outcome is in the context as for the rest of the family:
 * return code 0 on success, otherwise a non-zero SQL code and a message that
 * starts with the database's five-character SQLSTATE ("42S02: no such
 * table: t"). DBI_Begin, DBI_Commit and DBI_Rollback bracket a transaction;
 * outside one every statement commits by itself unless DBParm "AutoCommit"
 * says no. The driver-side contract of the operations below is in
 * docs/DRIVERS.md.
 */
#ifndef KOSHR_DBI_SQL_H
#define KOSHR_DBI_SQL_H

#include <koshr/dbi.h>
#include <koshr/types.h>

/* ---------------------------------------------------------------- operations (additions) */

/* Operation codes for running SQL; the context's result word carries a
 * DbiSqlRequest for each of them except begin, commit, roll back and
 * create catalog, which carry nothing. */
#define DBI_OP_PREPARE 400
#define DBI_OP_BIND_PARAMETERS 401
#define DBI_OP_EXECUTE 402
#define DBI_OP_DESCRIBE 403
#define DBI_OP_FETCH 404
#define DBI_OP_ROWS_AFFECTED 405
#define DBI_OP_CLOSE_CURSOR 406
#define DBI_OP_BEGIN 407
#define DBI_OP_COMMIT 408
#define DBI_OP_ROLLBACK 409
#define DBI_OP_CREATE_CATALOG 410

/* Return code of an error the driver reports (SQLSTATE and message in the
 * context's message buffer, SQL code non-zero). */
#define DBI_RC_DRIVER_ERROR (-1)

/* Sub-operations of DBI_OP_EDIT_UPDATE (217): the context's edit record is a
 * DbiEditStyleRow whose catalog field is ignored. */
#define DBI_EDIT_ROW_INSERT 1   /* add the row */
#define DBI_EDIT_ROW_UPDATE 2   /* replace the row of the same name and sequence */
#define DBI_EDIT_STYLE_DELETE 3 /* remove every row of the style's name */

/* ---------------------------------------------------------------- values (additions) */

/* What a value holds; also a column descriptor's data_type. */
#define DBI_TYPE_NULL 0
#define DBI_TYPE_INTEGER 1   /* integer: 32-bit */
#define DBI_TYPE_BIGINT 2    /* bigint: 64-bit */
#define DBI_TYPE_DECIMAL 3   /* decimal: the shared decimal, every digit kept */
#define DBI_TYPE_REAL 4      /* real: 32-bit floating point */
#define DBI_TYPE_DOUBLE 5    /* double: 64-bit floating point */
#define DBI_TYPE_DATE 6      /* datetime, time fields 0 */
#define DBI_TYPE_TIME 7      /* datetime, date fields 0 */
#define DBI_TYPE_TIMESTAMP 8 /* datetime, microseconds in subsecond */
#define DBI_TYPE_TEXT 9      /* text: UTF-16 (surrogate pairs kept), length in units */
#define DBI_TYPE_BINARY 10   /* binary: bytes, length in bytes */

/*
 * One value of a result or a parameter. A numeric value whose digits do not
 * fit the decimal (more than 28 digits after the point, or a magnitude of
 * 2^96 or more), or a date outside what the date-time holds (before 1900),
 * is delivered as DBI_TYPE_TEXT holding the database's own digits, never
 * rounded; the column's descriptor still says what the column is.
 * Result texts and binaries point into the driver's buffers and stay valid
 * until the next fetch or close of the statement; they are zero-terminated
 * (texts) for convenience, the length is authoritative.
 */
typedef struct DbiValue {
  int32_t type;    /* DBI_TYPE_* */
  uint32_t length; /* text: UTF-16 units without the terminator; binary: bytes */
  union {
    int32_t integer;
    int64_t bigint;
    float real;
    double dbl;
    KODECIMAL decimal;
    KODATETIME datetime;
    const KOCHAR* text;
    const uint8_t* binary;
  } as;
} DbiValue;

/* One block of fetched rows: rows * columns values, row after row. */
typedef struct DbiRowBlock {
  uint32_t rows; /* 0: the result set is at its end */
  uint32_t columns;
  const DbiValue* values; /* the driver's; valid until the next fetch or close */
} DbiRowBlock;

/*
 * What the result word carries to and from the driver for operations 400 to
 * 406 (the front end owns the request; arrays the driver hands back are the
 * driver's own, see each field).
 */
typedef struct DbiSqlRequest {
  uint32_t size;                /* in: sizeof(DbiSqlRequest) */
  void* statement;              /* 400 out, others in: the driver's prepared statement */
  const KOCHAR* sql;            /* 400 in */
  const DbiValue* parameters;   /* 401 in: copied by the driver before it returns */
  uint32_t parameter_count;     /* 401 in */
  uint32_t max_rows;            /* 404 in: rows wanted, 0 for the driver's block size */
  DbiColumnDescriptor* columns; /* 403 out: the driver's, valid until 247 */
  uint32_t column_count;        /* 402, 403 out: 0 when there is no result set */
  DbiRowBlock block;            /* 404 out */
  int64_t rows_affected;        /* 405 out: -1 when the database does not say */
} DbiSqlRequest;

/* A statement as the host holds it. */
typedef struct DbiStatement DbiStatement;

KOSHR_BEGIN_C

/* ---------------------------------------------------------------- host functions (additions) */

/* Prepares `sql`, from the statement cache when its text waits there. */
KOSHR_API int32_t DBI_Prepare(DbiContext* context, const KOCHAR* sql, DbiStatement** statement);
/* Binds the values to the statement's markers, in order; copied at once. */
KOSHR_API int32_t DBI_BindParameters(DbiContext* context, DbiStatement* statement,
                                     const DbiValue* values, uint32_t count);
KOSHR_API int32_t DBI_Execute(DbiContext* context, DbiStatement* statement);
/* The result columns (valid until the statement is closed); count 0 when
 * the statement has no result set. */
KOSHR_API int32_t DBI_DescribeColumns(DbiContext* context, DbiStatement* statement,
                                      const DbiColumnDescriptor** columns, uint32_t* count);
/* The next block of at most `max_rows` rows (0: the driver's block size). */
KOSHR_API int32_t DBI_FetchBlock(DbiContext* context, DbiStatement* statement, uint32_t max_rows,
                                 DbiRowBlock* block);
KOSHR_API int32_t DBI_RowsAffected(DbiContext* context, DbiStatement* statement, int64_t* rows);
/* Ends the statement's result and gives it back to the statement cache. */
KOSHR_API int32_t DBI_CloseStatement(DbiContext* context, DbiStatement* statement);
/* Prepare, execute and close in one: for statements without a result set. */
KOSHR_API int32_t DBI_ExecuteSQL(DbiContext* context, const KOCHAR* sql, int64_t* rows_affected);

KOSHR_API int32_t DBI_Begin(DbiContext* context);
KOSHR_API int32_t DBI_Commit(DbiContext* context);
KOSHR_API int32_t DBI_Rollback(DbiContext* context);

/* Creates the five catalog tables (those that do not exist yet). */
KOSHR_API int32_t DBI_CreateCatalogTables(DbiContext* context);

KOSHR_END_C

#endif
