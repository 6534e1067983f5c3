/*
 * cmd_dbi_text.h: command-line text to and from the library's UTF-16, for
 * the database-interface commands (dbparm, sql, driver), through the
 * library's own conversions.
 */
#ifndef KOSHR_TOOL_CMD_DBI_TEXT_H
#define KOSHR_TOOL_CMD_DBI_TEXT_H

#include <koshr/dbi.h>
#include <koshr/storage.h>
#include <koshr/strings.h>

#include <cstring>
#include <string>

namespace koshr_tool {

inline std::u16string to_utf16(const char* text) {
  std::u16string out(static_cast<size_t>(kostg_UTF8toUCS2(nullptr, text)), u'\0');
  kostg_UTF8toUCS2(out.data(), text);
  return out;
}

inline std::string to_utf8(const KOCHAR* text) {
  if (text == nullptr) return {};
  std::string out(static_cast<size_t>(kostg_UCS2toUTF8(nullptr, text, 0)) + 1, '\0');
  kostg_UCS2toUTF8(out.data(), text, static_cast<int64_t>(out.size()));
  out.pop_back();
  return out;
}

// A bare connection context (no driver) on its own storage, for the
// commands that only parse and edit DBParm text.
class ScratchConnection {
 public:
  explicit ScratchConnection(const std::u16string& dbparm) : storage_(kostg_begin(0)) {
    context_ = static_cast<DbiContext*>(kostg_alc(storage_, sizeof(DbiContext), nullptr));
    std::memset(context_, 0, sizeof *context_);
    context_->storage = storage_;
    context_->dbparm = kostg_strdup(storage_, dbparm.c_str(), nullptr);
  }
  ~ScratchConnection() { kostg_end(storage_); }
  ScratchConnection(const ScratchConnection&) = delete;
  ScratchConnection& operator=(const ScratchConnection&) = delete;
  DbiContext* operator->() const { return context_; }
  DbiContext* get() const { return context_; }

 private:
  KostgContext* storage_;
  DbiContext* context_;
};

}  // namespace koshr_tool

#endif
