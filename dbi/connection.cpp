/*
 * connection.cpp: the connection's life through the driver: log-in,
 * connect, new parameters, native handle, disconnect.
 *
 * Each operation writes its code into the context and calls the driver; the
 * outcome stays in the context. After a successful connect or log-in the
 * connection's statement cache is made and sized from "SQLCache".
 */
#include <koshr/dbi.h>

#include "dbi/context_error.h"
#include "dbi/context_memory.h"
#include "dbi/context_open.h"
#include "dbi/driver_call.h"
#include "dbi/runtime_services.h"
#include "dbi/statement_cache.h"

namespace ko::dbi {
namespace {

// Under the transaction server: asks the driver whether it takes part and
// sets commit accordingly. False when the log-in must stop.
bool join_transaction_server(DbiContext* context) {
  const RuntimeServices& runtime = runtime_services();
  context->result = 0;
  call_driver(context, DBI_OP_TXN_SERVER_PROBE);
  const bool supported = context->result != 0;
  const bool server_transaction = runtime.connection_from_server() && runtime.transaction_active();
  if (supported && runtime.transaction_active() && context->use_context_object != 0) {
    context->context_object_transaction = 1;
  } else if (!supported && server_transaction) {
    if (context->use_context_object == 0) runtime.disable_commit();
    raise_error(context, "DBI_TXNSERVER_NOT_SUPPORTED", context->dbms);
    return false;
  } else if (server_transaction && context->use_context_object == 0) {
    runtime.disable_commit();
    context->commit_disabled = 1;
  }
  return true;
}

// Ends the scanning state a statement left in the context.
void terminate_sql(DbiContext* context) {
  context->scan_text = nullptr;
  context->keyword_position = 0;
  context->keyword_length = 0;
  context->tail = nullptr;
  context->statement = nullptr;
}

}  // namespace
}  // namespace ko::dbi

using namespace ko::dbi;

int32_t DBI_LogIn(KostgContext* pool, const KOCHAR* dbms, const KOCHAR* login1,
                  const KOCHAR* login2, const KOCHAR* password, const KOCHAR* parameters,
                  uint32_t flags, DbiContext** out) {
  DbiContext* context = open_context(pool, dbms, login1, login2, password, parameters, flags, true);
  if (out != nullptr) *out = context;
  if (context == nullptr || context->return_code != 0) return 0;
  if (runtime_services().under_transaction_server() && !join_transaction_server(context)) return 0;
  call_driver(context, DBI_OP_LOGIN);
  if (context->return_code != 0) return 0;
  if (context->commit_disabled != 0) {
    runtime_services().enable_commit();
    context->commit_disabled = 0;
  }
  cache_post_connect(context);
  return 0;
}

int32_t DBI_Connect(DbiContext* context, const KOCHAR* s1, const KOCHAR* s2, const KOCHAR* s3,
                    const KOCHAR* s4) {
  if (context == nullptr) return 0;
  const KOCHAR* strings[4] = {s1, s2, s3, s4};
  for (int i = 0; i < 4; ++i) {
    if (strings[i] == nullptr) continue;
    release_secret(context, context->connect[i]);
    context->connect[i] = duplicate(context, strings[i]);
  }
  call_driver(context, DBI_OP_CONNECT);
  if (context->return_code == 0) cache_post_connect(context);
  return 0;
}

int32_t DBI_Disconnect(DbiContext* context) {
  if (context == nullptr) return 0;
  DBI_SQLCacheEnd(context, context->sql_cache);
  if (context->trace_file != nullptr) {
    runtime_services().close_trace_file(context);
    release(context, context->trace_file);
    context->trace_file = nullptr;
  }
  call_driver(context, DBI_OP_DISCONNECT);
  terminate_sql(context);
  return 0;
}

int32_t DBI_NewDBParm(DbiContext* context, const KOCHAR* parameters) {
  if (context == nullptr) return 0;
  release_secret(context, context->dbparm);
  context->dbparm = duplicate(context, parameters);
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  if (list != nullptr && shlist_get_count(list) != 0) {
    context->result = reinterpret_cast<intptr_t>(list);
    call_driver(context, DBI_OP_NEW_PARAMETERS);
  }
  DBI_FreeParmList(context, &list);
  DBI_SQLCacheSetSelectCacheSize(context);
  return 0;
}

int32_t DBI_DBHandle(DbiContext* context, void** handle) {
  if (handle != nullptr) *handle = nullptr;
  if (context == nullptr) return 0;
  context->result = 0;
  call_driver(context, DBI_OP_NATIVE_HANDLE);
  if (handle != nullptr) *handle = reinterpret_cast<void*>(context->result);
  return 0;
}

int32_t DBI_ThreadSafeEnabled(int32_t* flag) {
  const int32_t value = thread_safe_flag();
  if (flag != nullptr) *flag = value;
  return value;
}
