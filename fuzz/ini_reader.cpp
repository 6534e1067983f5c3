// Fuzz target for the INI reader: any bytes parse, every lookup of what was read is safe, and
// writing a document back and reading it again reaches a fixed point.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/ini_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  const ko::IniFile document = ko::IniFile::parse(bytes, size);
  for (const ko::IniFile::Section& section : document.sections()) {
    for (const ko::IniFile::Entry& entry : section.entries) {
      std::u16string value;
      document.get(section.name.c_str(), entry.key.c_str(), &value);
    }
  }
  const std::string once = document.serialize();
  const std::string twice = ko::IniFile::parse(once.data(), once.size()).serialize();
  const std::string thrice = ko::IniFile::parse(twice.data(), twice.size()).serialize();
  if (twice != thrice) std::abort();
  return 0;
}
