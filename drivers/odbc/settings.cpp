// settings.cpp: the driver's DBParm keywords and the log-in connection string.
#include "drivers/odbc/settings.h"

#include <string>

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

// The value of attribute `name` (lower case) in a connection string, and
// whether it is there. Values may be braced ("{a;b}").
bool find_attribute(const std::u16string& lower, const std::u16string& name,
                    std::u16string* value) {
  size_t at = 0;
  while (at < lower.size()) {
    while (at < lower.size() && (lower[at] == u';' || lower[at] == u' ')) ++at;
    const size_t equals = lower.find(u'=', at);
    if (equals == std::u16string::npos) return false;
    size_t end = equals + 1;
    if (end < lower.size() && lower[end] == u'{') {
      end = lower.find(u'}', end);
      if (end == std::u16string::npos) end = lower.size();
    }
    end = lower.find(u';', end);
    if (end == std::u16string::npos) end = lower.size();
    size_t key_end = equals;
    while (key_end > at && lower[key_end - 1] == u' ') --key_end;
    if (lower.compare(at, key_end - at, name) == 0) {
      if (value != nullptr) *value = lower.substr(equals + 1, end - equals - 1);
      return true;
    }
    at = end;
  }
  return false;
}

struct StreamingRule {
  const char16_t* driver;  // part of the Driver attribute's value, lower case
  const char16_t* attribute;
  const char16_t* value;  // null: the fetch block size
  bool changes_types;     // added only when Streaming is asked for by name
};

// SQLite's driver in its streaming mode ("StepAPI=1") types every expression
// column (count(*), 1 + 1) as text, which a user would notice more than the
// memory, so it waits for an explicit Streaming='Yes'.
const StreamingRule kStreaming[] = {
    {u"postgres", u"usedeclarefetch", u"1", false},
    {u"postgres", u"fetch", nullptr, false},
    {u"sqlite", u"stepapi", u"1", true},
};

}  // namespace

std::u16string lower_ascii(const std::u16string& text) {
  std::u16string out(text);
  for (KOCHAR& c : out) {
    if (c >= u'A' && c <= u'Z') c = static_cast<KOCHAR>(c + 32);
  }
  return out;
}

std::u16string streaming_connect_string(const std::u16string& connect, uint32_t fetch_block,
                                        Streaming mode) {
  const std::u16string lower = lower_ascii(connect);
  std::u16string driver;
  if (mode == Streaming::kNone || !find_attribute(lower, u"driver", &driver)) return connect;
  std::u16string out = connect;
  for (const StreamingRule& rule : kStreaming) {
    if (rule.changes_types && mode != Streaming::kAll) continue;
    if (driver.find(rule.driver) == std::u16string::npos) continue;
    if (find_attribute(lower, rule.attribute, nullptr)) continue;
    if (!out.empty() && out.back() != u';') out += u';';
    out += rule.attribute;
    out += u'=';
    if (rule.value != nullptr) {
      out += rule.value;
    } else {
      // Each round trip to the server brings at least a thousand rows.
      const std::string digits = std::to_string(fetch_block < 1000 ? 1000 : fetch_block);
      out.append(digits.begin(), digits.end());
    }
  }
  return out;
}

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
  if (const DbiParm* record = services->find_parameter(context, list, u"Streaming")) {
    settings.streaming =
        services->parameter_is_true(record) != 0 ? Streaming::kAll : Streaming::kNone;
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
