/*
 * runtime_services.cpp: the default runtime answers and the switch that lets
 * a host replace them.
 *
 * Message texts are the family's string-table rows, looked up by key. The
 * password encryption is a keyed exclusive-or of each UTF-16 unit written as
 * four upper-case hex digits: it keeps passwords out of plain sight in
 * memory dumps and trace files, nothing more. A security connection string
 * is a list of name=value pairs separated by ";"; a value in braces may hold
 * ";" itself.
 */
#include "dbi/runtime_services.h"

#include <atomic>

#include "dbi/context_error.h"
#include "dbi/text_blanks.h"
#include "platform/resources.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

const StringResource kMessages[] = {
    {24001, "DBI_WRONG_VENDOR", u"The database interface for \"%s\" could not be loaded."},
    {24002, "DBI_TXNSERVER_NOT_SUPPORTED",
     u"The database interface does not support the transaction server."},
    {24003, "DBI_NO_INPROCESS_DRIVER",
     u"No in-process database interface is installed for \"%s\"."},
    {24004, "DBI_PARM_TOO_LONG",
     u"A database parameter name or value is longer than 1024 characters."},
    {24005, "DBI_OUT_OF_MEMORY", u"Out of memory while running a statement."},
};
KO_STRING_TABLE(dbi_messages, kMessages);

const KOCHAR* message_from_table(const char* key) {
  const KOCHAR* text = resource_string(key);
  return text != nullptr ? text : u"%s";
}

uint32_t no_environment() { return 0; }
bool answer_no() { return false; }
void do_nothing() {}

void encrypt_keyed_hex(const KOCHAR* clear, KOCHAR* out, size_t capacity) {
  if (out == nullptr || capacity == 0) return;
  size_t written = 0;
  for (size_t i = 0; clear != nullptr && clear[i] != 0 && written + 4 < capacity; ++i) {
    const unsigned key = (0x5A3Cu + 0x9E37u * static_cast<unsigned>(i)) & 0xFFFFu;
    const unsigned value = (clear[i] ^ key) & 0xFFFFu;
    for (int shift = 12; shift >= 0; shift -= 4) {
      out[written++] = KOCHAR(kHexDigitsUpper[(value >> shift) & 15]);
    }
  }
  out[written] = 0;
}

bool find_property(const KOCHAR* connect, const char* property, const KOCHAR** value,
                   size_t* length) {
  if (connect == nullptr || property == nullptr) return false;
  const KOCHAR* p = connect;
  while (*p != 0) {
    while (is_space_tab_or_line_break(*p) || *p == u';') ++p;
    const KOCHAR* name = p;
    while (*p != 0 && *p != u'=' && *p != u';') ++p;
    const KOCHAR* name_end = p;
    while (name_end > name && is_space_tab_or_line_break(name_end[-1])) --name_end;
    if (*p != u'=') continue;
    ++p;
    while (is_space_tab_or_line_break(*p)) ++p;
    const KOCHAR* begin = p;
    const KOCHAR* end;
    if (*p == u'{') {
      begin = ++p;
      while (*p != 0 && *p != u'}') ++p;
      end = p;
      if (*p == u'}') ++p;
    } else {
      while (*p != 0 && *p != u';') ++p;
      end = p;
    }
    const size_t name_length = static_cast<size_t>(name_end - name);
    size_t i = 0;
    while (i < name_length && property[i] != 0 &&
           ascii_lower(name[i]) == ascii_lower(KOCHAR(static_cast<unsigned char>(property[i])))) {
      ++i;
    }
    if (i == name_length && property[i] == 0) {
      *value = begin;
      *length = static_cast<size_t>(end - begin);
      return true;
    }
  }
  return false;
}

int32_t no_in_process_driver(DbiContext* context) {
  raise_error(context, "DBI_NO_INPROCESS_DRIVER", context->dbms);
  return 0;
}

void* no_connection_object(DbiContext*) { return nullptr; }
void no_trace_file(DbiContext*) {}

const RuntimeServices kDefaults = {
    &message_from_table,
    &no_environment,
    &answer_no,
    &answer_no,
    &answer_no,
    &do_nothing,
    &do_nothing,
    &encrypt_keyed_hex,
    &find_property,
    &no_in_process_driver,
    &no_connection_object,
    &no_trace_file,
};

std::atomic<const RuntimeServices*> g_services{&kDefaults};

}  // namespace

const RuntimeServices& runtime_services() { return *g_services.load(std::memory_order_acquire); }

const RuntimeServices* set_runtime_services(const RuntimeServices* services) {
  return g_services.exchange(services != nullptr ? services : &kDefaults);
}

const RuntimeServices& default_runtime_services() { return kDefaults; }

}  // namespace ko::dbi
