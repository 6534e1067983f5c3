/*
 * ini_file.h: the one INI reader and writer, behind the posix backend's
 * profile (win.ini, ko.ini) and registry store.
 *
 * The text is UTF-8 (a UTF-8 byte-order mark is skipped, a UTF-16LE one is
 * honoured), one statement per line:
 *
 *   ; a comment                 lines starting with ';' and blank lines are dropped
 *   [Section name]              a section; the name ends at the first ']'
 *   key = value                 blanks around key and value are trimmed
 *   key = "  padded value  "    one pair of matching quotes (" or ') is removed on reading
 *   lonely key                  a key without '=' has an empty value
 *
 * Lines before the first section belong to no section and are ignored.
 * Section and key names compare without regard to case; the first section of
 * a name and the first key of a name in it win. Comments are not kept when a
 * document is written back.
 */
#ifndef KOSHR_PLATFORM_INI_FILE_H
#define KOSHR_PLATFORM_INI_FILE_H

#include <koshr/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ko {

class IniFile {
 public:
  struct Entry {
    std::u16string key;
    std::u16string raw_value;  // as written in the file, trimmed, quotes still on
  };
  struct Section {
    std::u16string name;
    std::vector<Entry> entries;
  };

  // Reads a document from bytes; any bytes give some document.
  static IniFile parse(const char* bytes, size_t size);
  // The document as UTF-8 text that parse() reads back to the same document.
  std::string serialize() const;

  const std::vector<Section>& sections() const { return sections_; }
  const Section* find_section(const KOCHAR* name) const;
  static const Entry* find_entry(const Section& section, const KOCHAR* key);
  // A value as readers see it: raw text with one pair of matching quotes removed.
  static std::u16string unquote(const std::u16string& raw_value);

  // The value of section/key; false when either is missing.
  bool get(const KOCHAR* section, const KOCHAR* key, std::u16string* value) const;
  // Sets a value, creating the section and key as needed. False, changing
  // nothing, for text a line cannot hold (line breaks, a key with '=' or
  // outer blanks, a section name with ']').
  bool set(const KOCHAR* section, const KOCHAR* key, const KOCHAR* value);
  // Removes a key, a section; false when it was not there.
  bool remove_key(const KOCHAR* section, const KOCHAR* key);
  bool remove_section(const KOCHAR* section);
  // Adds an empty section unless one of that name exists; false for a bad name.
  bool add_section(const KOCHAR* section);

 private:
  Section* find_section_mutable(const KOCHAR* name);

  std::vector<Section> sections_;
};

// Whether two names are the same, ignoring case.
bool ini_same_name(const std::u16string& a, const KOCHAR* b);

}  // namespace ko

#endif
