/*
 * regional.cpp: the regional-settings record, read from a culture string or
 * from the user's profile, and the process's own three regional values.
 *
 * The profile record and the process values are read at library load
 * (koshr_intl runs as a subsystem initialiser) and kept for the process;
 * koshr_intl may be called again to re-read them. A culture string is read
 * afresh on every call that passes one.
 */
#include "format/regional.h"

#include "format/culture_string.h"

#include <koshr/format.h>

#include <atomic>
#include <iterator>

#include "platform/lifecycle.h"
#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

constexpr const KOCHAR* kIntlSection = u"intl";
constexpr const KOCHAR* kInternationalKey = u"Control Panel\\International";

// Where the keys come from: a culture string, or the profile (and, for the
// date and time conventions, the registry before it).
class SettingSource {
 public:
  explicit SettingSource(const KOCHAR* culture) : culture_(culture) {}

  void text(const KOCHAR* key, const KOCHAR* fallback, KOCHAR* out, size_t capacity) const {
    if (culture_) {
      getCultureValueStr(culture_, key, fallback, out, int(capacity));
    } else {
      os::profile_string(kIntlSection, key, fallback, out, capacity);
    }
  }
  // The first character of the value, whatever its length.
  KOCHAR character(const KOCHAR* key, KOCHAR fallback) const {
    if (culture_) return culture_first_character(culture_, key, fallback);
    KOCHAR text[2];
    const KOCHAR fallback_text[2] = {fallback, 0};
    os::profile_string(kIntlSection, key, fallback_text, text, 2);
    return *text ? *text : fallback;
  }
  int integer(const KOCHAR* key, int fallback) const {
    if (!culture_) return os::profile_int(kIntlSection, key, fallback);
    int value = fallback;
    getCultureValueInt(culture_, key, fallback, &value);
    return value;
  }
  void convention(const KOCHAR* key, const KOCHAR* fallback, KOCHAR* out, size_t capacity) const {
    if (!culture_ &&
        os::registry_get_string(os::Hive::kCurrentUser, kInternationalKey, key, out, capacity)) {
      return;
    }
    text(key, fallback, out, capacity);
  }

 private:
  const KOCHAR* culture_;
};

int grouping_or_three(int digits) { return digits == 0 || digits == 3 ? digits : 3; }

int clamp(int value, int low, int high, int fallback) {
  return value < low || value > high ? fallback : value;
}

void fill_settings(const SettingSource& source, RegionalSettings& s) {
  s.decimal = source.character(u"sDecimal", u'.');
  s.thousand = source.character(u"sThousand", u',');
  s.currency_position = clamp(source.integer(u"iCurrency", 0), 0, 3, 0);
  source.text(u"sCurrency", u"$", s.currency_symbol, kCurrencySymbolMax + 1);
  s.currency[0] = 0;
  if (s.currency_position == 3) u16lcat(s.currency, u" ", std::size(s.currency));
  u16lcat(s.currency, s.currency_symbol, std::size(s.currency));
  if (s.currency_position == 2) u16lcat(s.currency, u" ", std::size(s.currency));
  s.currency_length = u16len(s.currency);
  s.grouping = grouping_or_three(source.integer(u"sGrouping", 3));
  s.money_grouping = grouping_or_three(source.integer(u"sMonGrouping", 3));
  s.currency_digits = clamp(source.integer(u"iCurrDigits", 2), 0, 15, 2);
  s.negative_currency = clamp(source.integer(u"iNegCurr", 0), 0, 15, 0);
  source.text(u"s1159", u"AM", s.am, kDesignatorMax + 1);
  if (!*s.am) u16cpy(s.am, u"AM");
  source.text(u"s2359", u"PM", s.pm, kDesignatorMax + 1);
  if (!*s.pm) u16cpy(s.pm, u"PM");
  s.country = source.integer(u"iCountry", 1);
  source.convention(u"sShortDate", u"m/d/yy", s.short_date, kDatePatternMax + 1);
  source.convention(u"sLongDate", u"mmmm d, yyyy", s.long_date, kDatePatternMax + 1);
  source.convention(u"sDate", u"/", s.date_separator, kSeparatorMax + 1);
  source.convention(u"sTime", u":", s.time_separator, kSeparatorMax + 1);
}

struct ProcessValues {
  KOCHAR decimal = u'.';
  KOCHAR grouping = u',';
  KOCHAR currency[kCurrencySymbolMax + 1] = u"$";
};

ProcessValues g_process;
RegionalSettings g_profile;
std::atomic<bool> g_profile_loaded{false};

void load_profile_record() {
  os::ProfileSnapshot snapshot;  // one reading of the profile for all its keys
  fill_settings(SettingSource(nullptr), g_profile);
  g_profile_loaded.store(true, std::memory_order_release);
}

}  // namespace

void read_culture_settings(const KOCHAR* culture, RegionalSettings& out) {
  fill_settings(SettingSource(culture), out);
}

const RegionalSettings& regional_settings(const KOCHAR* culture, RegionalSettings& scratch) {
  if (culture) {
    read_culture_settings(culture, scratch);
    return scratch;
  }
  if (!g_profile_loaded.load(std::memory_order_acquire)) load_profile_record();
  return g_profile;
}

KOCHAR process_decimal_separator() { return g_process.decimal; }
KOCHAR process_grouping_character() { return g_process.grouping; }
const KOCHAR* process_currency_symbol() { return g_process.currency; }

size_t profile_time_separator(KOCHAR* out, size_t capacity) {
  if (!out || capacity == 0) return 0;
  KOCHAR separator[kSeparatorMax + 1];
  os::profile_string(kIntlSection, u"sTime", u":", separator, kSeparatorMax + 1);
  return u16lcpy(out, separator, capacity);
}

size_t build_time_format(const KOCHAR* separator, KOCHAR* out, size_t capacity) {
  const char* pattern = separator[0] == u'\'' ? "hh''%s'mm''%s'ss" : "hh'%s'mm'%s'ss";
  size_t length = u16_format(out, capacity, pattern, separator, separator);
  return length < capacity ? length : capacity - 1;
}

}  // namespace ko

extern "C" KOSHR_API void koshr_intl(void) {
  using namespace ko;
  os::ProfileSnapshot snapshot;
  const SettingSource profile(nullptr);
  g_process.decimal = profile.character(u"sDecimal", u'.');
  g_process.grouping = profile.character(u"sThousand", u',');
  os::profile_string(kIntlSection, u"sCurrency", u"$", g_process.currency, kCurrencySymbolMax + 1);
  load_profile_record();
}

KO_SUBSYSTEM(format_intl, 50, &koshr_intl, nullptr);
