/*
 * context_open.cpp: opening a connection context.
 *
 * The DBParm text is read for three switches ("commitondisconnect",
 * "UseContextObject", "ThreadSafe"), the driver library is named and loaded
 * and its dispatch entry found ("KO_DB_Rout", or "TraceMainDispatcher" for
 * the tracing driver). Names served in-process ("koado") and the SQL-family
 * names ("kosql...") load nothing. A load that fails leaves the
 * "DBI_WRONG_VENDOR" message in the context. The password is kept
 * hex-encrypted for the drivers that want it.
 */
#include "dbi/context_open.h"

#include <atomic>

#include "dbi/context_error.h"
#include "dbi/context_memory.h"
#include "dbi/dbparm_records.h"
#include "dbi/driver_services.h"
#include "dbi/password_rule.h"
#include "dbi/runtime_services.h"
#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

namespace ko::dbi {
namespace {

std::atomic<int32_t> g_thread_safe{0};

constexpr size_t kEncryptedLength = 200;  // units: a 400-byte buffer

// A switch of the parsed DBParm list: `absent` when the keyword is not there.
int16_t switch_value(DbiContext* context, shlistx* list, const KOCHAR* keyword, int16_t absent) {
  DbiParm* record = nullptr;
  DBI_GetParm(context, list, keyword, &record);
  return record == nullptr ? absent : static_cast<int16_t>(DBI_YesTrue1(record));
}

void read_switches(DbiContext* context) {
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  context->commit_on_disconnect = switch_value(context, list, u"commitondisconnect", 1);
  context->use_context_object = switch_value(context, list, u"UseContextObject", 0);
  if (switch_value(context, list, u"ThreadSafe", 0) != 0) g_thread_safe.store(1);
  DBI_FreeParmList(context, &list);
}

bool equals_module(const KOCHAR* file, const char* stem) {
  KOCHAR expected[32];
  u16_format(expected, sizeof expected / sizeof expected[0], "%hs%s", stem, os::module_suffix());
  return os::collate_nocase(file, expected) == 0;
}

// Loads the driver named `file`; null when it or its entry is missing.
void* load_driver(DbiContext* context, const KOCHAR* file) {
  void* module = DBI_LoadDBInterface(file, &context->flags);
  if (module == nullptr) return nullptr;
  const char* entry_name = equals_module(file, "kotra") ? "TraceMainDispatcher" : "KO_DB_Rout";
  context->driver = reinterpret_cast<DbiDriverEntry>(os::module_symbol(module, entry_name));
  if (context->driver != nullptr) return module;
  if (!runtime_services().under_transaction_server() &&
      (context->flags & DBI_LOAD_OWN_FOLDER) != 0) {
    os::module_free(module);
  }
  return nullptr;
}

void keep_password(DbiContext* context, const KOCHAR* password, bool encrypt) {
  context->login[2] = duplicate(context, password);
  if (!encrypt || password == nullptr || password[0] == 0 ||
      runtime_services().under_transaction_server() || !password_wants_encryption(context->dbms)) {
    return;
  }
  auto* hex = static_cast<KOCHAR*>(alloc_zeroed(context, kEncryptedLength * sizeof(KOCHAR)));
  if (hex == nullptr) return;
  runtime_services().encrypt_to_hex(context->login[2], hex, kEncryptedLength);
  release_secret(context, context->login[2]);
  context->login[2] = hex;
}

}  // namespace

int32_t thread_safe_flag() { return g_thread_safe.load(); }

DbiContext* open_context(KostgContext* pool, const KOCHAR* dbms, const KOCHAR* login1,
                         const KOCHAR* login2, const KOCHAR* password, const KOCHAR* parameters,
                         uint32_t flags, bool encrypt_password) {
  if (pool == nullptr) return nullptr;
  auto* context = static_cast<DbiContext*>(kostg_alc(pool, sizeof(DbiContext), nullptr));
  if (context == nullptr) return nullptr;
  wipe(context, sizeof *context);
  context->flags = flags;
  context->storage = pool;
  context->services = driver_services();

  if (parameters != nullptr) {
    context->dbparm = duplicate(context, parameters);
    read_switches(context);
  }

  // The name is built from a scratch copy: the lower-casing that naming does
  // for "INF" must not reach the stored parameters.
  KOCHAR file[DBI_NAME_LENGTH + 16];
  KOCHAR* scratch = duplicate(context, parameters);
  DBI_LibraryName(nullptr, nullptr, file, dbms, scratch);
  release_secret(context, scratch);

  const bool in_process = equals_module(file, "koado");
  void* module = nullptr;
  if (u16nicmp_ascii(file, u"kosql", 5) != 0 && !in_process) module = load_driver(context, file);
  if (module == nullptr && !in_process) {
    context->driver = nullptr;
    raise_error(context, "DBI_WRONG_VENDOR", dbms);
    const RuntimeServices& runtime = runtime_services();
    if (runtime.under_transaction_server() && context->use_context_object == 0 &&
        runtime.connection_from_server() && runtime.transaction_active()) {
      runtime.disable_commit();
    }
    return context;
  }

  context->module = module;
  if (dbms != nullptr) u16lcpy(context->dbms, dbms, DBI_DBMS_LENGTH);
  context->login[0] = duplicate(context, login1);
  context->login[1] = duplicate(context, login2);
  keep_password(context, password, encrypt_password);
  context->connection_object = runtime_services().create_connection_object(context);
  return context;
}

}  // namespace ko::dbi
