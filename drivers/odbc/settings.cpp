// settings.cpp: the driver's DBParm keywords and the log-in connection string.
#include "drivers/odbc/settings.h"

#include "drivers/odbc/odbc_api.h"

namespace ko::odbc {
namespace {

bool same_ascii(const KOCHAR* text, const char* word) {
  for (; *word != 0; ++text, ++word) {
    KOCHAR a = *text;
    char b = *word;
    if (a >= u'A' && a <= u'Z') a = static_cast<KOCHAR>(a + 32);
    if (b >= 'A' && b <= 'Z') b = static_cast<char>(b + 32);
    if (a != static_cast<KOCHAR>(b)) return false;
  }
  return *text == 0;
}

// A number from an unquoted (numeric) or quoted value; -1 when not a number.
int64_t number_of(const DbiParm* record) {
  if (record->text == nullptr) return record->number;
  int64_t value = 0;
  const KOCHAR* p = record->text;
  if (*p == 0) return -1;
  for (; *p != 0; ++p) {
    if (*p < u'0' || *p > u'9' || value > 100000000) return -1;
    value = value * 10 + (*p - u'0');
  }
  return value;
}

struct Choice {
  const char* name;
  int32_t value;
};

const Choice kIsolation[] = {
    {"ReadUncommitted", SQL_TXN_READ_UNCOMMITTED},
    {"ReadCommitted", SQL_TXN_READ_COMMITTED},
    {"RepeatableRead", SQL_TXN_REPEATABLE_READ},
    {"Serializable", SQL_TXN_SERIALIZABLE},
};

void append_ascii(std::u16string& out, const char* text) {
  for (; *text != 0; ++text) out += static_cast<KOCHAR>(*text);
}

void describe_bad(std::u16string& error, const char* keyword, const char* expected) {
  error.clear();
  append_ascii(error, "DBParm ");
  append_ascii(error, keyword);
  append_ascii(error, ": ");
  append_ascii(error, expected);
}

bool read_range(const DbiParm* record, const char* keyword, uint32_t low, uint32_t high,
                uint32_t& out, std::u16string& error) {
  const int64_t value = number_of(record);
  if (value < low || value > high) {
    describe_bad(error, keyword, "the value is not a number in the allowed range");
    return false;
  }
  out = static_cast<uint32_t>(value);
  return true;
}

void append_attribute(std::u16string& out, const char* name, const KOCHAR* value) {
  if (value == nullptr || value[0] == 0) return;
  std::u16string text(value);
  append_ascii(out, name);
  out += u'=';
  if (text.find_first_of(u";{}=") != std::u16string::npos || text.front() == u' ' ||
      text.back() == u' ') {
    out += u'{';
    for (KOCHAR c : text) {
      out += c;
      if (c == u'}') out += u'}';
    }
    out += u'}';
  } else {
    out += text;
  }
  out += u';';
}

}  // namespace

bool read_settings(DbiContext* context, Settings& settings, std::u16string& error) {
  settings = Settings{};
  const DbiServices* services = context->services;
  if (services == nullptr || services->size < sizeof(DbiServices)) {
    describe_bad(error, "text", "the front end cannot read it (services too old)");
    return false;
  }
  shlistx* list = services->parse_parameters(context);
  if (list == nullptr) return true;
  bool good = true;
  if (const DbiParm* record = services->find_parameter(context, list, u"ConnectString")) {
    if (record->text != nullptr) settings.connect_string = record->text;
  }
  if (const DbiParm* record = services->find_parameter(context, list, u"AutoCommit")) {
    settings.auto_commit = services->parameter_is_true(record) != 0;
  }
  if (const DbiParm* record = services->find_parameter(context, list, u"Isolation")) {
    bool known = false;
    for (const Choice& choice : kIsolation) {
      if (record->text != nullptr && same_ascii(record->text, choice.name)) {
        settings.isolation = choice.value;
        known = true;
      }
    }
    if (!known) {
      describe_bad(error, "Isolation",
                   "expected 'ReadUncommitted', 'ReadCommitted', 'RepeatableRead' or "
                   "'Serializable'");
      good = false;
    }
  }
  if (const DbiParm* record = services->find_parameter(context, list, u"FetchBlockSize")) {
    good = good && read_range(record, "FetchBlockSize", 1, 4096, settings.fetch_block, error);
  }
  if (const DbiParm* record = services->find_parameter(context, list, u"TextBufferSize")) {
    good = good && read_range(record, "TextBufferSize", 16, 1048576, settings.text_buffer, error);
  }
  services->free_parameters(context, &list);
  return good;
}

std::u16string login_connect_string(const KOCHAR* source, const KOCHAR* user,
                                    const KOCHAR* password) {
  std::u16string out;
  append_attribute(out, "DSN", source);
  append_attribute(out, "UID", user);
  append_attribute(out, "PWD", password);
  return out;
}

}  // namespace ko::odbc
