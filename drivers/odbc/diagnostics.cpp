// diagnostics.cpp: ODBC diagnostic records into the context's message buffer.
#include "drivers/odbc/diagnostics.h"

#include <koshr/dbi_sql.h>

#include <cstring>
#include <string>

namespace ko::odbc {
namespace {

// SQLSTATE classes that mean the connection is no longer there: "08" is the
// standard's connection exception, "57P0" the server shutting a session down.
bool connection_gone(const KOCHAR* state) {
  return (state[0] == u'0' && state[1] == u'8') ||
         (state[0] == u'5' && state[1] == u'7' && state[2] == u'P' && state[3] == u'0');
}

void write_message(DbiContext* context, const std::u16string& text) {
  const size_t length = text.size() < DBI_MESSAGE_LENGTH - 1 ? text.size() : DBI_MESSAGE_LENGTH - 1;
  std::memcpy(context->message, text.data(), length * sizeof(KOCHAR));
  context->message[length] = 0;
}

}  // namespace

void clear_error(DbiContext* context) {
  context->return_code = 0;
  context->sql_code = 0;
  context->message[0] = 0;
}

bool report_diagnostics(DbiContext* context, SQLSMALLINT handle_type, SQLHANDLE handle) {
  SQLWCHAR state[6] = {0};
  SQLINTEGER native = 0;
  SQLWCHAR text[DBI_MESSAGE_LENGTH] = {0};
  SQLSMALLINT length = 0;
  // The first record that is not a warning says what failed; with none, the
  // first record.
  const SQLRETURN rc =
      SQLGetDiagRecW(handle_type, handle, 1, state, &native, text, DBI_MESSAGE_LENGTH, &length);
  for (SQLSMALLINT record = 2; succeeded(rc) && state[0] == '0' && state[1] == '1' && record <= 8;
       ++record) {
    SQLWCHAR next_state[6] = {0};
    SQLINTEGER next_native = 0;
    SQLWCHAR next_text[DBI_MESSAGE_LENGTH] = {0};
    if (!succeeded(SQLGetDiagRecW(handle_type, handle, record, next_state, &next_native, next_text,
                                  DBI_MESSAGE_LENGTH, &length))) {
      break;
    }
    if (next_state[0] == '0' && (next_state[1] == '1' || next_state[1] == '0')) continue;
    std::memcpy(state, next_state, sizeof state);
    std::memcpy(text, next_text, sizeof text);
    native = next_native;
  }
  std::u16string message;
  bool gone = false;
  if (succeeded(rc)) {
    const auto* code = reinterpret_cast<const KOCHAR*>(state);
    gone = connection_gone(code);
    message.assign(code, 5);
    message += u": ";
    if (gone) message += u"the connection to the database was lost: ";
    message += reinterpret_cast<const KOCHAR*>(text);
    while (!message.empty() && (message.back() == u'\n' || message.back() == u' ')) {
      message.pop_back();
    }
  } else {
    message = u"HY000: the ODBC driver reported an error without a diagnostic record";
  }
  write_message(context, message);
  context->return_code = DBI_RC_DRIVER_ERROR;
  context->sql_code = native != 0 ? native : -1;
  return gone;
}

void report_connection_lost(DbiContext* context) {
  std::u16string text(context->message);
  if (text.size() >= 7 && text.compare(5, 2, u": ") == 0) text.erase(0, 7);
  const int32_t sql_code = context->sql_code;
  write_message(context, u"08S01: the connection to the database was lost: " + text);
  context->return_code = DBI_RC_DRIVER_ERROR;
  context->sql_code = sql_code != 0 ? sql_code : -1;
}

void report_error(DbiContext* context, const char* sqlstate, const KOCHAR* text) {
  std::u16string message(sqlstate, sqlstate + std::strlen(sqlstate));
  message += u": ";
  message += text;
  write_message(context, message);
  context->return_code = DBI_RC_DRIVER_ERROR;
  context->sql_code = -1;
}

void report_error(DbiContext* context, const char* sqlstate, const char* text) {
  const std::u16string wide(text, text + std::strlen(text));
  report_error(context, sqlstate, wide.c_str());
}

}  // namespace ko::odbc
