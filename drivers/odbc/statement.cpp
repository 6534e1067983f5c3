// statement.cpp: prepare, parameters, execute, describe and block fetch.
#include "drivers/odbc/statement.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "drivers/odbc/diagnostics.h"

namespace ko::odbc {
namespace {

constexpr SQLLEN kNarrowWidth = 64;  // date-time text, and the least for a number's text

bool check(DbiContext* context, Statement* statement, SQLRETURN rc) {
  if (succeeded(rc) || rc == SQL_NO_DATA) return true;
  report_failure(context, statement->connection, SQL_HANDLE_STMT, statement->handle);
  return false;
}

struct TypeRule {
  BufferKind kind;
  SQLSMALLINT c_type;
  int32_t data_type;
  int32_t alignment;  // 0 left, 1 right
};

TypeRule rule_for(SQLSMALLINT sql_type, bool doubles_as_text) {
  switch (sql_type) {
    case SQL_BIT:
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
      return {BufferKind::kInteger, SQL_C_SLONG, DBI_TYPE_INTEGER, 1};
    case SQL_BIGINT:
      return {BufferKind::kBigint, SQL_C_SBIGINT, DBI_TYPE_BIGINT, 1};
    case SQL_REAL:
      return {BufferKind::kReal, SQL_C_FLOAT, DBI_TYPE_REAL, 1};
    case SQL_FLOAT:
    case SQL_DOUBLE:
      if (doubles_as_text) return {BufferKind::kDoubleText, SQL_C_CHAR, DBI_TYPE_DOUBLE, 1};
      return {BufferKind::kDouble, SQL_C_DOUBLE, DBI_TYPE_DOUBLE, 1};
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return {BufferKind::kDecimal, SQL_C_CHAR, DBI_TYPE_DECIMAL, 1};
    case SQL_TYPE_DATE:
    case SQL_DATE:
      return {BufferKind::kDate, SQL_C_CHAR, DBI_TYPE_DATE, 0};
    case SQL_TYPE_TIME:
    case SQL_TIME:
      return {BufferKind::kTime, SQL_C_CHAR, DBI_TYPE_TIME, 0};
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
      return {BufferKind::kTimestamp, SQL_C_CHAR, DBI_TYPE_TIMESTAMP, 0};
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
      return {BufferKind::kBinary, SQL_C_BINARY, DBI_TYPE_BINARY, 0};
    default:
      return {BufferKind::kText, SQL_C_WCHAR, DBI_TYPE_TEXT, 0};
  }
}

// Bytes a column's buffer holds per row.
SQLLEN width_for(const Column& column, SQLULEN size, uint32_t text_units) {
  switch (column.kind) {
    case BufferKind::kInteger:
      return sizeof(SQLINTEGER);
    case BufferKind::kBigint:
      return sizeof(SQLBIGINT);
    case BufferKind::kReal:
      return sizeof(SQLREAL);
    case BufferKind::kDouble:
      return sizeof(SQLDOUBLE);
    case BufferKind::kDecimal:
      return std::max<SQLLEN>(kNarrowWidth, static_cast<SQLLEN>(std::min<SQLULEN>(size, 1000)) + 4);
    case BufferKind::kDoubleText:
    case BufferKind::kDate:
    case BufferKind::kTime:
    case BufferKind::kTimestamp:
      return kNarrowWidth;
    case BufferKind::kText: {
      const SQLULEN units = size == 0 || size > text_units ? text_units : size;
      return static_cast<SQLLEN>((units + 1) * sizeof(SQLWCHAR));
    }
    case BufferKind::kBinary:
      return static_cast<SQLLEN>(size == 0 || size > 2 * text_units ? 2 * text_units : size);
  }
  return kNarrowWidth;
}

// Bytes of a value that fit the buffer with the terminator the C type adds.
SQLLEN room(const Column& column) {
  if (column.c_type == SQL_C_WCHAR) return column.width - static_cast<SQLLEN>(sizeof(SQLWCHAR));
  if (column.c_type == SQL_C_CHAR) return column.width - 1;
  return column.width;
}

bool declared_decimal(const std::u16string& type_name) {
  std::string lower;
  for (KOCHAR c : type_name.substr(0, 7)) {
    lower += static_cast<char>(c >= u'A' && c <= u'Z' ? c + 32 : (c < 128 ? c : '?'));
  }
  return lower == "numeric" || lower.rfind("decimal", 0) == 0;
}

// "numeric(15,2)": the declared precision and scale, when the driver gave none.
void declared_precision(const std::u16string& type_name, SQLULEN& size, SQLSMALLINT& digits) {
  const size_t open = type_name.find(u'(');
  if (open == std::u16string::npos) return;
  unsigned numbers[2] = {0, 0};
  size_t which = 0;
  for (size_t i = open + 1; i < type_name.size() && which < 2; ++i) {
    const KOCHAR c = type_name[i];
    if (c >= u'0' && c <= u'9' && numbers[which] < 10000) {
      numbers[which] = numbers[which] * 10 + (c - u'0');
    } else if (c == u',') {
      ++which;
    } else if (c != u' ') {
      break;
    }
  }
  if (numbers[0] != 0) size = numbers[0];
  digits = static_cast<SQLSMALLINT>(numbers[1]);
}

bool fixed_width(const Column& column) {
  return column.c_type != SQL_C_WCHAR && column.c_type != SQL_C_CHAR &&
         column.c_type != SQL_C_BINARY;
}

void set_array_size(Statement* statement, uint32_t rows) {
  if (statement->array_size == rows) return;
  const SQLRETURN rc = SQLSetStmtAttr(statement->handle, SQL_ATTR_ROW_ARRAY_SIZE,
                                      reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(rows)), 0);
  SQLULEN actual = 1;
  if (succeeded(rc)) {
    SQLGetStmtAttr(statement->handle, SQL_ATTR_ROW_ARRAY_SIZE, &actual, 0, nullptr);
  }
  statement->array_size = actual >= 1 && actual <= rows ? static_cast<uint32_t>(actual) : 1;
}

SQLLEN aligned(SQLLEN bytes) { return (bytes + 7) & ~SQLLEN{7}; }

// Lays the columns out in one row-wise buffer (each value, then its
// indicator) and binds them; picks how rows are fetched.
bool bind_columns(DbiContext* context, Statement* statement) {
  const SQLUINTEGER getdata = statement->connection->getdata_extensions;
  statement->block_rows = statement->connection->settings.fetch_block;
  statement->array_size = 0;
  if ((getdata & SQL_GD_BOUND) == 0) {
    statement->mode = FetchMode::kUnbound;
    statement->block_rows = std::min<uint32_t>(statement->block_rows, 64);
    statement->bound = true;
    return true;
  }
  statement->mode = (getdata & SQL_GD_BLOCK) != 0 ? FetchMode::kBlock : FetchMode::kRowByRow;
  set_array_size(statement, statement->mode == FetchMode::kBlock ? statement->block_rows : 1);
  if (statement->mode == FetchMode::kBlock && statement->array_size < statement->block_rows) {
    // A driver that refuses row arrays: one row per call, into the same buffer.
    statement->mode = FetchMode::kRowByRow;
    set_array_size(statement, 1);
  }
  SQLLEN row_size = 0;
  for (Column& column : statement->columns) {
    column.offset = row_size;
    column.indicator_offset = aligned(row_size + column.width);
    row_size = column.indicator_offset + static_cast<SQLLEN>(sizeof(SQLLEN));
  }
  statement->row_size = aligned(row_size);
  statement->buffer.assign(static_cast<size_t>(statement->row_size) * statement->block_rows, 0);
  statement->bind_offset = 0;
  SQLSetStmtAttr(statement->handle, SQL_ATTR_ROW_BIND_TYPE,
                 reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(statement->row_size)), 0);
  SQLSetStmtAttr(statement->handle, SQL_ATTR_ROWS_FETCHED_PTR, &statement->rows_fetched, 0);
  if (statement->mode == FetchMode::kRowByRow &&
      !succeeded(SQLSetStmtAttr(statement->handle, SQL_ATTR_ROW_BIND_OFFSET_PTR,
                                &statement->bind_offset, 0))) {
    statement->block_rows = 1;  // every row lands at the buffer's start
  }
  unsigned char* base = statement->buffer.data();
  for (size_t i = 0; i < statement->columns.size(); ++i) {
    Column& column = statement->columns[i];
    const SQLRETURN rc = SQLBindCol(statement->handle, static_cast<SQLUSMALLINT>(i + 1),
                                    column.c_type, base + column.offset, column.width,
                                    reinterpret_cast<SQLLEN*>(base + column.indicator_offset));
    if (!check(context, statement, rc)) return false;
  }
  statement->bound = true;
  return true;
}

// Reads a value whole with SQLGetData into `bytes` (positioning on its row
// first when the last fetch brought several).
bool read_again(DbiContext* context, Statement* statement, size_t column_index, uint32_t row,
                std::vector<unsigned char>& bytes, bool& null) {
  const Column& column = statement->columns[column_index];
  null = false;
  if (statement->array_size > 1) {
    const SQLRETURN rc = SQLSetPos(statement->handle, static_cast<SQLSETPOSIROW>(row + 1),
                                   SQL_POSITION, SQL_LOCK_NO_CHANGE);
    if (!succeeded(rc)) {
      report_error(context, "01004",
                   "a value is longer than its buffer and the ODBC driver cannot position on "
                   "its row to read it whole (raise TextBufferSize)");
      return false;
    }
  }
  bytes.clear();
  unsigned char chunk[8192];
  for (;;) {
    SQLLEN indicator = 0;
    const SQLRETURN rc = SQLGetData(statement->handle, static_cast<SQLUSMALLINT>(column_index + 1),
                                    column.c_type, chunk, sizeof chunk, &indicator);
    if (rc == SQL_NO_DATA) break;
    if (!check(context, statement, rc)) return false;
    if (indicator == SQL_NULL_DATA) {
      null = true;
      break;
    }
    const size_t terminator = column.c_type == SQL_C_WCHAR  ? sizeof(SQLWCHAR)
                              : column.c_type == SQL_C_CHAR ? 1
                                                            : 0;
    size_t got = sizeof chunk - terminator;
    if (indicator != SQL_NO_TOTAL && static_cast<size_t>(indicator) < got) {
      got = static_cast<size_t>(indicator);
    }
    bytes.insert(bytes.end(), chunk, chunk + got);
    if (rc == SQL_SUCCESS) break;
  }
  return true;
}

// Reads one value whole into its slot.
bool read_whole(DbiContext* context, Statement* statement, size_t c, uint32_t row, size_t slot,
                std::vector<unsigned char>& bytes) {
  bool null = false;
  if (!read_again(context, statement, c, row, bytes, null)) return false;
  DbiValue& value = statement->values[slot];
  value = DbiValue{};
  if (null) return true;
  const Column& column = statement->columns[c];
  std::u16string& spill = statement->spills[slot];
  if (column.kind == BufferKind::kText || column.kind == BufferKind::kBinary) {
    // The value's own bytes are kept in the slot's spill, terminated.
    spill.assign((bytes.size() + 1) / sizeof(KOCHAR), 0);
    if (!bytes.empty()) std::memcpy(spill.data(), bytes.data(), bytes.size());
    decode_value(column.kind, spill.data(), bytes.size(), spill, value);
  } else {
    decode_value(column.kind, bytes.data(), bytes.size(), spill, value);
  }
  return true;
}

// Decodes the values of buffer row `row` into the values of block row
// `out_row`; `fetched_row` is the row's place in the last fetch.
bool decode_row(DbiContext* context, Statement* statement, uint32_t row, uint32_t fetched_row,
                uint32_t out_row, std::vector<unsigned char>& bytes) {
  const size_t width = statement->columns.size();
  const unsigned char* base =
      statement->buffer.data() + static_cast<size_t>(statement->row_size) * row;
  for (size_t c = 0; c < width; ++c) {
    Column& column = statement->columns[c];
    const size_t slot = out_row * width + c;
    DbiValue& value = statement->values[slot];
    if (statement->mode == FetchMode::kUnbound) {
      if (!read_whole(context, statement, c, 0, slot, bytes)) return false;
      continue;
    }
    SQLLEN indicator = 0;
    std::memcpy(&indicator, base + column.indicator_offset, sizeof indicator);
    if (indicator == SQL_NULL_DATA) {
      value = DbiValue{};
      continue;
    }
    if (!fixed_width(column) && (indicator == SQL_NO_TOTAL || indicator > room(column))) {
      if (!read_whole(context, statement, c, fetched_row, slot, bytes)) return false;
      continue;
    }
    const size_t length =
        fixed_width(column) ? static_cast<size_t>(column.width) : static_cast<size_t>(indicator);
    decode_value(column.kind, base + column.offset, length, statement->spills[slot], value);
  }
  return true;
}

// UTF-16 as UTF-8; an unpaired surrogate becomes U+FFFD.
std::string utf8_of(const KOCHAR* text) {
  std::string out;
  for (const KOCHAR* p = text; *p != 0; ++p) {
    char32_t code = *p;
    if (code >= 0xD800 && code < 0xDC00 && p[1] >= 0xDC00 && p[1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (char32_t(*++p) - 0xDC00);
    } else if (code >= 0xD800 && code < 0xE000) {
      code = 0xFFFD;
    }
    if (code < 0x80) {
      out += char(code);
    } else if (code < 0x800) {
      out += char(0xC0 | (code >> 6));
      out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += char(0xE0 | (code >> 12));
      out += char(0x80 | ((code >> 6) & 0x3F));
      out += char(0x80 | (code & 0x3F));
    } else {
      out += char(0xF0 | (code >> 18));
      out += char(0x80 | ((code >> 12) & 0x3F));
      out += char(0x80 | ((code >> 6) & 0x3F));
      out += char(0x80 | (code & 0x3F));
    }
  }
  return out;
}

}  // namespace

Statement* prepare(DbiContext* context, Connection* connection, const KOCHAR* sql) {
  auto* statement = new Statement;
  statement->connection = connection;
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, connection->handle, &statement->handle);
  if (!succeeded(rc)) {
    report_failure(context, connection, SQL_HANDLE_DBC, connection->handle);
    delete statement;
    return nullptr;
  }
  if (connection->utf8_sql_text) {
    std::string text = utf8_of(sql);
    rc = SQLPrepare(statement->handle, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS);
  } else {
    rc = SQLPrepareW(statement->handle, wide(sql), SQL_NTS);
  }
  if (!check(context, statement, rc)) {
    SQLFreeHandle(SQL_HANDLE_STMT, statement->handle);
    delete statement;
    return nullptr;
  }
  connection->statements.push_back(statement);
  return statement;
}

void bind_parameters(DbiContext* context, Statement* statement, const DbiValue* values,
                     uint32_t count) {
  SQLFreeStmt(statement->handle, SQL_RESET_PARAMS);
  statement->parameters.assign(count, {});
  statement->parameter_lengths.assign(count, 0);
  for (uint32_t i = 0; i < count; ++i) {
    const DbiValue& value = values[i];
    std::vector<unsigned char>& data = statement->parameters[i];
    SQLLEN& length = statement->parameter_lengths[i];
    SQLSMALLINT c_type = SQL_C_CHAR;
    SQLSMALLINT sql_type = SQL_VARCHAR;
    SQLULEN size = 1;
    SQLSMALLINT digits = 0;
    auto keep = [&](const void* bytes, size_t n) {
      data.assign(static_cast<const unsigned char*>(bytes),
                  static_cast<const unsigned char*>(bytes) + n);
      data.resize(n + sizeof(SQLWCHAR), 0);  // room for a terminator, never sent
      length = static_cast<SQLLEN>(n);
    };
    switch (value.type) {
      case DBI_TYPE_INTEGER:
        keep(&value.as.integer, sizeof value.as.integer);
        c_type = SQL_C_SLONG, sql_type = SQL_INTEGER, size = 10;
        break;
      case DBI_TYPE_BIGINT:
        keep(&value.as.bigint, sizeof value.as.bigint);
        c_type = SQL_C_SBIGINT, sql_type = SQL_BIGINT, size = 19;
        break;
      case DBI_TYPE_REAL:
        keep(&value.as.real, sizeof value.as.real);
        c_type = SQL_C_FLOAT, sql_type = SQL_REAL, size = 7;
        break;
      case DBI_TYPE_DOUBLE:
        keep(&value.as.dbl, sizeof value.as.dbl);
        c_type = SQL_C_DOUBLE, sql_type = SQL_DOUBLE, size = 15;
        break;
      case DBI_TYPE_DECIMAL: {
        const std::string text = decimal_text(value.as.decimal);
        keep(text.data(), text.size());
        sql_type = SQL_DECIMAL;
        size = text.size();
        digits = static_cast<SQLSMALLINT>(std::min<int>(value.as.decimal.scale, 28));
        break;
      }
      case DBI_TYPE_DATE:
      case DBI_TYPE_TIME:
      case DBI_TYPE_TIMESTAMP: {
        const std::string text = datetime_text(value.as.datetime, value.type);
        keep(text.data(), text.size());
        sql_type = value.type == DBI_TYPE_DATE   ? SQL_TYPE_DATE
                   : value.type == DBI_TYPE_TIME ? SQL_TYPE_TIME
                                                 : SQL_TYPE_TIMESTAMP;
        size = text.size();
        digits = value.type == DBI_TYPE_DATE ? 0 : 6;
        break;
      }
      case DBI_TYPE_TEXT:
        keep(value.as.text, static_cast<size_t>(value.length) * sizeof(KOCHAR));
        c_type = SQL_C_WCHAR;
        sql_type = value.length > 4000 ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
        size = value.length == 0 ? 1 : value.length;
        break;
      case DBI_TYPE_BINARY:
        keep(value.as.binary, value.length);
        c_type = SQL_C_BINARY;
        sql_type = value.length > 8000 ? SQL_LONGVARBINARY : SQL_VARBINARY;
        size = value.length == 0 ? 1 : value.length;
        break;
      default:
        data.assign(sizeof(SQLWCHAR), 0);
        length = SQL_NULL_DATA;
        break;
    }
    if ((value.type == DBI_TYPE_TEXT && value.as.text == nullptr && value.length != 0) ||
        (value.type == DBI_TYPE_BINARY && value.as.binary == nullptr && value.length != 0)) {
      report_error(context, "HY009", "a text or binary parameter has no data");
      return;
    }
    const SQLRETURN rc = SQLBindParameter(statement->handle, static_cast<SQLUSMALLINT>(i + 1),
                                          SQL_PARAM_INPUT, c_type, sql_type, size, digits,
                                          data.data(), static_cast<SQLLEN>(data.size()), &length);
    if (!check(context, statement, rc)) return;
  }
}

void describe(DbiContext* context, Statement* statement) {
  if (statement->described) return;
  SQLSMALLINT count = 0;
  if (!check(context, statement, SQLNumResultCols(statement->handle, &count))) return;
  statement->columns.assign(static_cast<size_t>(std::max<SQLSMALLINT>(count, 0)), Column{});
  statement->descriptors.assign(statement->columns.size(), DbiColumnDescriptor{});
  for (size_t i = 0; i < statement->columns.size(); ++i) {
    Column& column = statement->columns[i];
    SQLWCHAR name[256] = {0};
    SQLSMALLINT name_length = 0;
    SQLSMALLINT sql_type = 0;
    SQLULEN size = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
    const auto number = static_cast<SQLUSMALLINT>(i + 1);
    const SQLRETURN rc = SQLDescribeColW(statement->handle, number, name, 256, &name_length,
                                         &sql_type, &size, &digits, &nullable);
    if (!check(context, statement, rc)) return;
    column.name = reinterpret_cast<const KOCHAR*>(name);
    SQLWCHAR type_name[128] = {0};
    SQLSMALLINT type_length = 0;
    if (succeeded(SQLColAttributeW(statement->handle, number, SQL_DESC_TYPE_NAME, type_name,
                                   sizeof type_name, &type_length, nullptr))) {
      column.type_name = reinterpret_cast<const KOCHAR*>(type_name);
    }
    SQLLEN display = 0, updatable = 0, identity = 0, case_sensitive = 0;
    SQLColAttributeW(statement->handle, number, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr,
                     &display);
    SQLColAttributeW(statement->handle, number, SQL_DESC_UPDATABLE, nullptr, 0, nullptr,
                     &updatable);
    SQLColAttributeW(statement->handle, number, SQL_DESC_AUTO_UNIQUE_VALUE, nullptr, 0, nullptr,
                     &identity);
    SQLColAttributeW(statement->handle, number, SQL_DESC_CASE_SENSITIVE, nullptr, 0, nullptr,
                     &case_sensitive);
    const bool doubles_as_text = statement->connection->doubles_as_text;
    TypeRule rule = rule_for(sql_type, doubles_as_text);
    if (rule.data_type == DBI_TYPE_DOUBLE && declared_decimal(column.type_name)) {
      // A database that reports its numeric columns as double still writes
      // their text exactly.
      rule = rule_for(SQL_NUMERIC, doubles_as_text);
      declared_precision(column.type_name, size, digits);
    }
    column.kind = rule.kind;
    column.c_type = rule.c_type;
    column.width = width_for(column, size, statement->connection->settings.text_buffer);
    DbiColumnDescriptor& d = statement->descriptors[i];
    d.sql_type = sql_type;
    d.data_type = rule.data_type;
    d.length = static_cast<int32_t>(std::min<SQLULEN>(size, INT32_MAX));
    d.precision = static_cast<int32_t>(std::min<SQLULEN>(size, INT32_MAX));
    d.scale = digits;
    d.nullable = nullable;
    d.display_width = static_cast<int32_t>(std::clamp<SQLLEN>(display, 0, INT32_MAX));
    d.alignment = rule.alignment;
    d.updatable = static_cast<int32_t>(updatable);
    d.identity = identity != 0 ? 1 : 0;
    d.case_sensitive = case_sensitive != 0 ? 1 : 0;
    d.key_column = 0;
    d.bind_type = column.c_type;
    d.bind_length = static_cast<int32_t>(column.width);
  }
  for (size_t i = 0; i < statement->columns.size(); ++i) {
    statement->descriptors[i].name = statement->columns[i].name.data();
    statement->descriptors[i].type_name = statement->columns[i].type_name.data();
  }
  statement->described = true;
}

void execute(DbiContext* context, Statement* statement, uint32_t& column_count) {
  column_count = 0;
  // Executing again gives a fresh result, whether or not the last was closed.
  if (statement->cursor_open) SQLFreeStmt(statement->handle, SQL_CLOSE);
  statement->cursor_open = false;
  statement->at_end = false;
  statement->rows_affected = -1;
  SQLRETURN rc = SQLExecute(statement->handle);
  if (!check(context, statement, rc)) return;
  SQLLEN rows = -1;
  if (succeeded(SQLRowCount(statement->handle, &rows))) statement->rows_affected = rows;
  SQLSMALLINT count = 0;
  if (!check(context, statement, SQLNumResultCols(statement->handle, &count))) return;
  if (count <= 0) {
    statement->at_end = true;
    return;
  }
  statement->cursor_open = true;
  describe(context, statement);
  if (context->return_code != 0) return;
  if (!statement->bound && !bind_columns(context, statement)) return;
  column_count = static_cast<uint32_t>(statement->columns.size());
}

void fetch(DbiContext* context, Statement* statement, uint32_t max_rows, DbiRowBlock& block) {
  block = DbiRowBlock{};
  block.columns = static_cast<uint32_t>(statement->columns.size());
  if (statement->at_end || !statement->bound) return;
  const uint32_t wanted =
      max_rows == 0 || max_rows > statement->block_rows ? statement->block_rows : max_rows;
  const size_t width = statement->columns.size();
  // The value slots are made once per statement and reused by every fetch.
  const size_t slots = static_cast<size_t>(statement->block_rows) * width;
  if (statement->values.size() < slots) statement->values.resize(slots);
  if (statement->spills.size() < slots) statement->spills.resize(slots);
  std::vector<unsigned char> bytes;
  uint32_t rows = 0;
  if (statement->mode == FetchMode::kBlock) {
    set_array_size(statement, wanted);
    statement->rows_fetched = 0;
    const SQLRETURN rc = SQLFetch(statement->handle);
    if (rc == SQL_NO_DATA) {
      statement->at_end = true;
      return;
    }
    if (!check(context, statement, rc)) return;
    rows = static_cast<uint32_t>(std::min<SQLULEN>(statement->rows_fetched, wanted));
    for (uint32_t r = 0; r < rows; ++r) {
      if (!decode_row(context, statement, r, r, r, bytes)) return;
    }
  } else {
    // One row per call, each into its own place of the buffer, decoded at
    // once while the driver still stands on it.
    while (rows < wanted) {
      statement->bind_offset = static_cast<SQLULEN>(statement->row_size) * rows;
      const SQLRETURN rc = SQLFetch(statement->handle);
      if (rc == SQL_NO_DATA) {
        statement->at_end = true;
        break;
      }
      if (!check(context, statement, rc)) return;
      if (!decode_row(context, statement, rows, 0, rows, bytes)) return;
      ++rows;
    }
  }
  block.rows = rows;
  block.values = rows != 0 ? statement->values.data() : nullptr;
}

void close_cursor(DbiContext* context, Statement* statement) {
  statement->at_end = true;
  statement->cursor_open = false;
  check(context, statement, SQLFreeStmt(statement->handle, SQL_CLOSE));
}

void free_statement(Connection* connection, Statement* statement) {
  if (statement == nullptr) return;
  auto& list = connection->statements;
  list.erase(std::remove(list.begin(), list.end(), statement), list.end());
  if (statement->handle != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, statement->handle);
  delete statement;
}

}  // namespace ko::odbc
