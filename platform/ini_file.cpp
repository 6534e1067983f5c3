/*
 * ini_file.cpp: parsing and writing INI documents (layout in ini_file.h).
 */
#include "platform/ini_file.h"

#include "platform/byte_order.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko {
namespace {

bool is_space_or_tab(KOCHAR c) { return c == u' ' || c == u'\t'; }

std::u16string trim(const KOCHAR* begin, const KOCHAR* end) {
  while (begin < end && is_space_or_tab(*begin)) ++begin;
  while (end > begin && is_space_or_tab(end[-1])) --end;
  return std::u16string(begin, end);
}

bool has_line_break(const KOCHAR* text) {
  for (; *text != 0; ++text) {
    if (*text == u'\n' || *text == u'\r') return true;
  }
  return false;
}

bool has_outer_blank(const KOCHAR* text) {
  const size_t length = u16len(text);
  return length > 0 && (is_space_or_tab(text[0]) || is_space_or_tab(text[length - 1]));
}

bool valid_section_name(const KOCHAR* name) {
  return name != nullptr && !has_line_break(name) && u16chr(name, u']') == nullptr &&
         !has_outer_blank(name);
}

bool valid_key(const KOCHAR* key) {
  if (key == nullptr || has_line_break(key) || u16chr(key, u'=') != nullptr) return false;
  return !has_outer_blank(key) && key[0] != u';' && key[0] != u'[';
}

bool quoted(const std::u16string& text) {
  return text.size() >= 2 && (text.front() == u'"' || text.front() == u'\'') &&
         text.back() == text.front();
}

// The raw form that unquote() turns back into `value`.
std::u16string quote_if_needed(const std::u16string& value) {
  if (value.empty()) return value;
  if (is_space_or_tab(value.front()) || is_space_or_tab(value.back()) || quoted(value)) {
    return u"\"" + value + u"\"";
  }
  return value;
}

std::u16string decode(const char* bytes, size_t size) {
  const auto* data = reinterpret_cast<const unsigned char*>(bytes);
  if (size >= 2 && load_le16(data) == kByteOrderMark) {
    std::u16string text;
    text.reserve(size / 2);
    for (size_t i = 2; i + 1 < size; i += 2) text.push_back(KOCHAR(load_le16(data + i)));
    return text;
  }
  if (size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF) {
    bytes += 3;
    size -= 3;
  }
  std::u16string text(utf8_to_utf16(bytes, size, nullptr, 0), u'\0');
  utf8_to_utf16(bytes, size, text.data(), text.size() + 1);
  return text;
}

}  // namespace

bool ini_same_name(const std::u16string& a, const KOCHAR* b) {
  for (size_t i = 0; i < a.size(); ++i) {
    if (b[i] == 0 || os::char_lower(a[i]) != os::char_lower(b[i])) return false;
  }
  return b[a.size()] == 0;
}

IniFile IniFile::parse(const char* bytes, size_t size) {
  IniFile document;
  if (bytes == nullptr) return document;
  const std::u16string text = decode(bytes, size);
  Section* current = nullptr;
  const KOCHAR* cursor = text.data();
  const KOCHAR* const end = cursor + text.size();
  while (cursor < end) {
    const KOCHAR* line_end = cursor;
    while (line_end < end && *line_end != u'\n' && *line_end != u'\r') ++line_end;
    const std::u16string line = trim(cursor, line_end);
    cursor = line_end + 1;
    if (line.empty() || line[0] == u';' || line.find(u'\0') != std::u16string::npos) continue;
    if (line[0] == u'[') {
      const size_t close = line.find(u']');
      const KOCHAR* name_end = line.data() + (close == std::u16string::npos ? line.size() : close);
      document.sections_.push_back(Section{trim(line.data() + 1, name_end), {}});
      current = &document.sections_.back();
      continue;
    }
    if (current == nullptr) continue;
    const size_t equals = line.find(u'=');
    if (equals == std::u16string::npos) {
      current->entries.push_back(Entry{line, {}});
    } else {
      current->entries.push_back(Entry{trim(line.data(), line.data() + equals),
                                       trim(line.data() + equals + 1, line.data() + line.size())});
    }
  }
  return document;
}

std::string IniFile::serialize() const {
  std::u16string text;
  for (const Section& section : sections_) {
    if (!text.empty()) text += u"\n";
    text += u"[" + section.name + u"]\n";
    for (const Entry& entry : section.entries) text += entry.key + u"=" + entry.raw_value + u"\n";
  }
  std::string bytes(utf16_to_utf8(text.data(), text.size(), nullptr, 0), '\0');
  utf16_to_utf8(text.data(), text.size(), bytes.data(), bytes.size() + 1);
  return bytes;
}

const IniFile::Section* IniFile::find_section(const KOCHAR* name) const {
  if (name == nullptr) return nullptr;
  for (const Section& section : sections_) {
    if (ini_same_name(section.name, name)) return &section;
  }
  return nullptr;
}

IniFile::Section* IniFile::find_section_mutable(const KOCHAR* name) {
  return const_cast<Section*>(find_section(name));
}

const IniFile::Entry* IniFile::find_entry(const Section& section, const KOCHAR* key) {
  if (key == nullptr) return nullptr;
  for (const Entry& entry : section.entries) {
    if (ini_same_name(entry.key, key)) return &entry;
  }
  return nullptr;
}

std::u16string IniFile::unquote(const std::u16string& raw_value) {
  return quoted(raw_value) ? raw_value.substr(1, raw_value.size() - 2) : raw_value;
}

bool IniFile::get(const KOCHAR* section, const KOCHAR* key, std::u16string* value) const {
  const Section* found = find_section(section);
  const Entry* entry = found != nullptr ? find_entry(*found, key) : nullptr;
  if (entry == nullptr) return false;
  if (value != nullptr) *value = unquote(entry->raw_value);
  return true;
}

bool IniFile::add_section(const KOCHAR* section) {
  if (!valid_section_name(section)) return false;
  if (find_section(section) == nullptr) sections_.push_back(Section{section, {}});
  return true;
}

bool IniFile::set(const KOCHAR* section, const KOCHAR* key, const KOCHAR* value) {
  if (!valid_key(key) || value == nullptr || has_line_break(value) || !add_section(section)) {
    return false;
  }
  Section* target = find_section_mutable(section);
  const std::u16string raw = quote_if_needed(value);
  for (Entry& entry : target->entries) {
    if (ini_same_name(entry.key, key)) {
      entry.raw_value = raw;
      return true;
    }
  }
  target->entries.push_back(Entry{key, raw});
  return true;
}

bool IniFile::remove_key(const KOCHAR* section, const KOCHAR* key) {
  Section* target = find_section_mutable(section);
  if (target == nullptr || key == nullptr) return false;
  for (auto it = target->entries.begin(); it != target->entries.end(); ++it) {
    if (ini_same_name(it->key, key)) {
      target->entries.erase(it);
      return true;
    }
  }
  return false;
}

bool IniFile::remove_section(const KOCHAR* section) {
  if (section == nullptr) return false;
  for (auto it = sections_.begin(); it != sections_.end(); ++it) {
    if (ini_same_name(it->name, section)) {
      sections_.erase(it);
      return true;
    }
  }
  return false;
}

}  // namespace ko
