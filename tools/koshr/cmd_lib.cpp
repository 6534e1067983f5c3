/*
 * cmd_lib.cpp: `koshr lib`, library files from the command line: create,
 * list, describe, read, write, remove, export, import and check entries,
 * through the public LMI_* interface only.
 */
#include <koshr/library.h>
#include <koshr/storage.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli.h"
#include "command.h"
#include "utf.h"

namespace {

using koshr_tool::fail;
using koshr_tool::read_input;
using koshr_tool::utf16_to_utf8;
using koshr_tool::utf8_to_utf16;
using koshr_tool::write_stdout;

const char kUsage[] =
    "usage: koshr lib <subcommand> LIB [arguments]\n"
    "\n"
    "Reads and writes library files (.kol, .kod).\n"
    "\n"
    "  new LIB [--comment TEXT]                 create an empty library\n"
    "  ls LIB                                   one line an entry: name, size, time (UTC), comment\n"
    "  info LIB                                 type, format version, time, comment, blocks\n"
    "  cat LIB ENTRY [--text]                   the entry's object to stdout (--text: UTF-16LE as UTF-8)\n"
    "  put LIB ENTRY [FILE] [--text] [--comment TEXT]\n"
    "                                           store FILE (or stdin) as the entry (--text: UTF-8 as UTF-16LE)\n"
    "  rm LIB ENTRY                             remove an entry\n"
    "  export LIB [ENTRY...] -o DIR             one file an entry: export header, then text or hex section\n"
    "  import LIB FILE...                       the reverse of export\n"
    "  check LIB                                verify the file; exit 1 with one line per finding\n"
    "  optimize LIB                             rewrite compactly: balanced directory, each entry's\n"
    "                                           data in one run, leaked blocks reclaimed\n";

const char kStartMarker[] = "Start of Korvane Binary Data Section : Do NOT Edit";

// The parsed command line: operands[0] is LIB.
struct Args {
  std::vector<std::string> positional;
  std::string comment;
  bool text = false;
  std::string out_dir;
};

Args args_of(const koshr_tool::Arguments& arguments) {
  return {arguments.operands, arguments.value("--comment"), arguments.has("--text"),
          arguments.value("-o")};
}

std::string lmi_error(int32_t rc) {
  switch (rc) {
    case LMI_E_CREATE_FAILED: return "the library file could not be written";
    case LMI_E_EXISTS: return "the library exists already";
    case LMI_E_IO: return "read or write failed";
    case LMI_E_FORMAT: return "no binary data section";
    case LMI_E_NO_HANDLE: return "not a library, or it cannot be opened";
    case LMI_E_NAME: return "missing or invalid name";
    case LMI_E_NOT_FOUND: return "no such entry";
    case LMI_E_FORBIDDEN: return "not allowed in this mode";
    case LMI_E_DISK_FULL: return "out of disk space";
    default: return "error " + std::to_string(rc);
  }
}

std::string iso_time(uint32_t seconds) {
  std::time_t t = std::time_t(seconds);
  std::tm tm{};
#ifdef _WIN32
  gmtime_s(&tm, &t);
#else
  gmtime_r(&t, &tm);
#endif
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &tm);
  return text;
}

std::string as_bytes(const std::u16string& text) {
  std::string out(text.size() * 2, '\0');
  for (size_t i = 0; i < text.size(); ++i) {
    out[2 * i] = char(text[i] & 0xFF);
    out[2 * i + 1] = char(text[i] >> 8);
  }
  return out;
}

std::u16string as_units(const std::string& bytes) {
  std::u16string out(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < out.size(); ++i)
    out[i] = char16_t(uint8_t(bytes[2 * i]) | uint8_t(bytes[2 * i + 1]) << 8);
  return out;
}

// Whether an object reads as UTF-16LE text: even size, no NUL, surrogates paired.
bool looks_like_text(const std::string& bytes) {
  if (bytes.size() % 2) return false;
  std::u16string units = as_units(bytes);
  for (size_t i = 0; i < units.size(); ++i) {
    char16_t c = units[i];
    if (c == 0) return false;
    if (c >= 0xD800 && c < 0xDC00) {
      if (i + 1 >= units.size() || units[i + 1] < 0xDC00 || units[i + 1] >= 0xE000) return false;
      ++i;
    } else if (c >= 0xDC00 && c < 0xE000) {
      return false;
    }
  }
  return true;
}

class Session {
 public:
  Session() : pool_(kostg_begin(0)) {}
  ~Session() {
    if (lib_) LMI_CloseLibrary(lib_);
    kostg_end(pool_);
  }
  KostgContext* pool() const { return pool_; }
  LMI_HANDLE lib() const { return lib_; }
  bool open(const std::string& path, int mode) {
    path_ = utf8_to_utf16(path);
    lib_ = LMI_OpenLibrary(pool_, path_.c_str(), mode, 0);
    return lib_ != nullptr;
  }
  int32_t close() {
    int32_t rc = LMI_CloseLibrary(lib_);
    lib_ = nullptr;
    return rc;
  }
  // The object bytes of an entry.
  int32_t read(const std::string& entry, std::string* out, std::u16string* comment = nullptr) {
    std::u16string name = utf8_to_utf16(entry);
    int32_t rc = LMI_OpenEntry(lib_, name.data(), LMI_ENTRY_READ, nullptr);
    if (rc) return rc;
    if (comment) {
      LMI_ENTRY_INFO_EX info;
      LMI_CloseEntry(lib_);
      if ((rc = LMI_EntryInfoExtended(lib_, name.data(), &info)) != 0) return rc;
      *comment = info.comment;
      if ((rc = LMI_OpenEntry(lib_, name.data(), LMI_ENTRY_READ, nullptr)) != 0) return rc;
    }
    char chunk[65536];
    int32_t got;
    while ((got = LMI_ReadEntry(lib_, chunk, sizeof chunk)) > 0) out->append(chunk, size_t(got));
    LMI_CloseEntry(lib_);
    return got < 0 ? got : 0;
  }
  int32_t write(const std::string& entry, const std::string& bytes, const std::u16string& comment) {
    std::u16string name = utf8_to_utf16(entry);
    int32_t rc = LMI_OpenEntry(lib_, name.data(), LMI_ENTRY_WRITE, comment.c_str());
    if (rc) return rc;
    int32_t wrote = bytes.empty() ? 0 : LMI_WriteEntry(lib_, bytes.data(), uint32_t(bytes.size()));
    int32_t closed = LMI_CloseEntry(lib_);
    return wrote < 0 ? wrote : closed;
  }

 private:
  KostgContext* pool_;
  std::u16string path_;
  LMI_HANDLE lib_ = nullptr;
};

int cmd_new(const Args& a) {
  std::u16string path = utf8_to_utf16(a.positional[0]);
  std::u16string comment = utf8_to_utf16(a.comment);
  Session s;
  int32_t rc = LMI_CreateLibrary(s.pool(), path.data(), comment.c_str());
  if (rc == 0) return 0;
  std::string why = rc == LMI_E_EXISTS ? std::strerror(EEXIST) : "";
  if (rc == LMI_E_CREATE_FAILED) {
    why = koshr_tool::open_problem(a.positional[0], koshr_tool::Access::kCreate);
  }
  return fail("lib new " + a.positional[0], why.empty() ? lmi_error(rc) : why);
}

int cmd_ls(const Args& a, Session& s) {
  LMI_LIST_ITEM* items = nullptr;
  int32_t count = LMI_ListEntriesExtended(s.lib(), s.pool(), &items);
  if (count < 0) return fail("lib ls " + a.positional[0], lmi_error(count));
  for (int32_t i = 0; i < count; ++i) {
    std::printf("%s\t%u\t%s\t%s\n", utf16_to_utf8(items[i].name).c_str(), items[i].objectSize,
                iso_time(items[i].timeStamp).c_str(), utf16_to_utf8(items[i].comment).c_str());
  }
  kostg_fee(s.pool(), items);
  return 0;
}

int cmd_info(const Args& a, Session& s) {
  LMI_LIBRARY_INFO info;
  LMI_SPACE_INFO space;
  int32_t rc = LMI_LibraryInformation(s.lib(), &info);
  if (rc == 0) rc = LMI_LibrarySpace(s.lib(), &space);
  if (rc) return fail("lib info " + a.positional[0], lmi_error(rc));
  std::u16string path = utf8_to_utf16(a.positional[0]);
  static const char* kTypes[] = {"not recorded", "source", "compiled", "temporary"};
  int32_t type = LMI_GetLibraryType(s.pool(), path.c_str());
  std::printf("type: %d (%s)\n", type, kTypes[type & 3]);
  std::printf("format version: %s\n", utf16_to_utf8(info.version).c_str());
  std::printf("time stamp: %s\n", iso_time(info.timeStamp).c_str());
  std::printf("comment: %s\n", utf16_to_utf8(info.comment).c_str());
  std::printf("blocks used: %u\nblocks free: %u\n", space.blocksUsed, space.blocksFree);
  return 0;
}

int cmd_cat(const Args& a, Session& s) {
  std::string bytes;
  int32_t rc = s.read(a.positional[1], &bytes);
  if (rc) return fail("lib cat " + a.positional[1], lmi_error(rc));
  if (a.text) bytes = utf16_to_utf8(as_units(bytes));
  write_stdout(bytes);
  return 0;
}

int cmd_put(const Args& a, Session& s) {
  std::string bytes, file = a.positional.size() == 3 ? a.positional[2] : "-";
  std::string why;
  if (!read_input(file, &bytes, &why)) return fail("lib put " + file, why);
  if (a.text) bytes = as_bytes(utf8_to_utf16(bytes));
  int32_t rc = s.write(a.positional[1], bytes, utf8_to_utf16(a.comment));
  if (rc == 0) rc = s.close();
  return rc ? fail("lib put " + a.positional[1], lmi_error(rc)) : 0;
}

int cmd_rm(const Args& a, Session& s) {
  std::u16string name = utf8_to_utf16(a.positional[1]);
  int32_t rc = LMI_DeleteEntry(s.lib(), name.data());
  if (rc == 0) rc = s.close();
  return rc ? fail("lib rm " + a.positional[1], lmi_error(rc)) : 0;
}

int export_entry(Session& s, const std::string& entry, const std::filesystem::path& dir) {
  std::u16string name = utf8_to_utf16(entry);
  LMI_ENTRY_INFO_EX info;
  int32_t rc = LMI_EntryInfoExtended(s.lib(), name.data(), &info);
  std::string bytes;
  if (rc == 0) rc = s.read(entry, &bytes);
  if (rc) return fail("lib export " + entry, lmi_error(rc));
  KOCHAR header[LMI_EXPORT_HEADER_MAX];
  uint32_t length = 0;
  LMI_Build_Export_Header(s.pool(), &info, header, &length);
  std::u16string text(header, length);
  if (looks_like_text(bytes)) {
    text += as_units(bytes);
  } else {
    KOCHAR* hex = nullptr;
    uint32_t units = 0;
    if ((rc = LMI_GetHexAsciiForEntry(s.lib(), name.data(), s.pool(), &hex, &units)) != 0)
      return fail("lib export " + entry, lmi_error(rc));
    text.append(hex, units);
    kostg_fee(s.pool(), hex);
  }
  std::filesystem::path file = dir / std::filesystem::path(name);
  errno = 0;
  std::ofstream out(file, std::ios::binary);
  std::string utf8 = utf16_to_utf8(text);
  out.write(utf8.data(), std::streamsize(utf8.size()));
  out.close();
  if (!out) return fail("lib export " + file.string(), std::strerror(errno ? errno : EIO));
  return 0;
}

// Every entry named is looked up before the output folder is made, and a
// folder the export made is removed again when the export fails.
int cmd_export(const Args& a, Session& s) {
  std::vector<std::string> entries(a.positional.begin() + 1, a.positional.end());
  if (entries.empty()) {
    LMI_LIST_ITEM* items = nullptr;
    int32_t count = LMI_ListEntries(s.lib(), s.pool(), &items);
    if (count < 0) return fail("lib export " + a.positional[0], lmi_error(count));
    for (int32_t i = 0; i < count; ++i) entries.push_back(utf16_to_utf8(items[i].name));
    kostg_fee(s.pool(), items);
  }
  for (const std::string& entry : entries) {
    std::u16string name = utf8_to_utf16(entry);
    LMI_ENTRY_INFO_EX info;
    if (int32_t rc = LMI_EntryInfoExtended(s.lib(), name.data(), &info))
      return fail("lib export " + entry, lmi_error(rc));
  }
  std::filesystem::path dir = utf8_to_utf16(a.out_dir);
  std::error_code ec;
  bool made = std::filesystem::create_directories(dir, ec);
  if (ec) return fail("lib export " + a.out_dir, ec.message());
  if (!std::filesystem::is_directory(dir, ec))
    return fail("lib export " + a.out_dir, std::strerror(ENOTDIR));
  int status = 0;
  for (const std::string& entry : entries) status |= export_entry(s, entry, dir);
  if (status != 0 && made) std::filesystem::remove_all(dir, ec);
  return status;
}

// Takes one "$KOExport...$" line off the front of the text.
bool take_line(std::u16string* text, const std::u16string& tag, std::u16string* value) {
  if (text->compare(0, tag.size(), tag) != 0) return false;
  size_t end = text->find(u"\r\n");
  if (end == std::u16string::npos) end = text->size();
  *value = text->substr(tag.size(), end - tag.size());
  text->erase(0, end + 2 <= text->size() ? end + 2 : text->size());
  return true;
}

int import_file(Session& s, const std::string& file) {
  std::string raw;
  std::string why;
  if (!read_input(file, &raw, &why)) return fail("lib import " + file, why);
  std::u16string text = utf8_to_utf16(raw), name, escaped;
  if (!take_line(&text, u"$KOExportHeader$", &name)) return fail("lib import " + file, "no export header");
  std::u16string comment;
  if (take_line(&text, u"$KOExportComments$", &escaped)) {
    KOCHAR* plain = LMI_DecryptSpecialChars(s.pool(), escaped.c_str());
    comment = plain ? plain : u"";
    kostg_fee(s.pool(), plain);
  }
  int32_t rc;
  if (text.find(utf8_to_utf16(kStartMarker)) != std::u16string::npos) {
    rc = LMI_EntryFromHexAscii(s.lib(), name.data(), text.c_str(), uint32_t(text.size()));
    if (rc == 0 && !comment.empty()) rc = LMI_ModifyEntry(s.lib(), name.data(), comment.c_str());
  } else {
    rc = s.write(utf16_to_utf8(name), as_bytes(text), comment);
  }
  return rc ? fail("lib import " + file, lmi_error(rc)) : 0;
}

int cmd_import(const Args& a, Session& s) {
  int status = 0;
  for (size_t i = 1; i < a.positional.size(); ++i) status |= import_file(s, a.positional[i]);
  int32_t rc = s.close();
  return rc ? fail("lib import " + a.positional[0], lmi_error(rc)) : status;
}

int cmd_check(const Args& a) {
  Session s;
  std::u16string path = utf8_to_utf16(a.positional[0]);
  std::string problem = koshr_tool::open_problem(a.positional[0], koshr_tool::Access::kRead);
  if (!problem.empty()) return fail("lib check " + a.positional[0], problem);
  int32_t rc = LMI_CheckLibrary(s.pool(), path.c_str(),
                                [](void*, int, const char* finding) { std::printf("%s\n", finding); }, nullptr);
  if (rc < 0) return fail("lib check " + a.positional[0], lmi_error(rc));
  return rc == 0 ? 0 : 1;
}

// Why a library would not open: the system's reason, or else its content.
std::string open_failure(const std::string& path, int mode) {
  std::string problem = koshr_tool::open_problem(
      path, mode == LMI_MODE_READ ? koshr_tool::Access::kRead : koshr_tool::Access::kWrite);
  return problem.empty() ? "not a library file, or a damaged one (see 'koshr lib check')" : problem;
}

int cmd_optimize(const Args& a) {
  Session s;
  std::u16string path = utf8_to_utf16(a.positional[0]);
  int32_t rc = LMI_OptimizeLibrary(s.pool(), path.c_str());
  if (rc == LMI_E_IO || rc == LMI_E_NO_HANDLE) {
    return fail("lib optimize " + a.positional[0], open_failure(a.positional[0], LMI_MODE_READWRITE));
  }
  return rc ? fail("lib optimize " + a.positional[0], lmi_error(rc)) : 0;
}

int run_lib(const koshr_tool::Arguments& arguments) {
  const Args a = args_of(arguments);
  const std::string& sub = arguments.subcommand;
  struct Sub {
    const char* name;
    int mode;  // -1: the subcommand opens no handle
    size_t least, most;
    const char* operands;
    int (*run)(const Args&, Session&);
  } const subs[] = {
      {"new", -1, 1, 1, "LIB", nullptr},
      {"check", -1, 1, 1, "LIB", nullptr},
      {"optimize", -1, 1, 1, "LIB", nullptr},
      {"ls", LMI_MODE_READ, 1, 1, "LIB", cmd_ls},
      {"info", LMI_MODE_READ, 1, 1, "LIB", cmd_info},
      {"cat", LMI_MODE_READ, 2, 2, "LIB ENTRY", cmd_cat},
      {"put", LMI_MODE_READWRITE, 2, 3, "LIB ENTRY [FILE]", cmd_put},
      {"rm", LMI_MODE_READWRITE, 2, 2, "LIB ENTRY", cmd_rm},
      {"export", LMI_MODE_READ, 1, SIZE_MAX, "LIB [ENTRY...]", cmd_export},
      {"import", LMI_MODE_READWRITE, 2, SIZE_MAX, "LIB FILE...", cmd_import},
  };
  for (const Sub& s : subs) {
    if (sub != s.name) continue;
    if (int status = koshr_tool::check_operands(arguments, s.least, s.most, s.operands)) {
      return status;
    }
    if (sub == "export" && !arguments.has("-o")) {
      return koshr_tool::usage_error(arguments, "needs -o DIR");
    }
    if (sub == "new") return cmd_new(a);
    if (sub == "check") return cmd_check(a);
    if (sub == "optimize") return cmd_optimize(a);
    Session session;
    if (!session.open(a.positional[0], s.mode))
      return fail("lib " + sub + " " + a.positional[0], open_failure(a.positional[0], s.mode));
    return s.run(a, session);
  }
  return koshr_tool::usage_error(arguments, "unknown subcommand");
}

const koshr_tool::Command kLib{"lib", "read and write library files", kUsage, &run_lib,
                               {{},
                                {{"new", {{"--comment", "TEXT"}}},
                                 {"ls", {}},
                                 {"info", {}},
                                 {"cat", {{"--text", nullptr}}},
                                 {"put", {{"--text", nullptr}, {"--comment", "TEXT"}}},
                                 {"rm", {}},
                                 {"export", {{"-o", "DIR"}}},
                                 {"import", {}},
                                 {"check", {}},
                                 {"optimize", {}}}}};
KOSHR_COMMAND(kLib);

// The tour's stop: a small library built, listed, exported and checked with
// the very commands shown, in the demo's folder, where it stays to be tried.
int demo_library(const std::string& folder) {
  std::filesystem::path dir = utf8_to_utf16(folder);
  std::string lib = (dir / "orders.kol").string(), source = (dir / "main_window.txt").string();
  std::ofstream(dir / "main_window.txt", std::ios::binary)
      << "forward\r\nglobal type main_window from window\r\nend type\r\n";
  std::ofstream(dir / "orders.txt", std::ios::binary) << "release 1;\r\ngrid(units=0)\r\n";
  std::string icon(600, '\0');
  for (size_t i = 0; i < icon.size(); ++i) icon[i] = char(i * 37);
  std::ofstream(dir / "app.bin", std::ios::binary) << icon;
  const std::vector<std::vector<std::string>> steps = {
      {"lib", "new", lib, "--comment", "a demonstration library"},
      {"lib", "put", lib, "main_window.kos", source, "--text", "--comment", "main window"},
      {"lib", "put", lib, "orders.kos", (dir / "orders.txt").string(), "--text", "--comment",
       "orders"},
      {"lib", "put", lib, "app.bin", (dir / "app.bin").string()},
      {"lib", "ls", lib},
      {"lib", "export", lib, "main_window.kos", "-o", (dir / "export").string()},
  };
  for (const auto& step : steps) {
    std::string line = "$ koshr";
    for (const std::string& word : step)
      line += " " + (word.find(' ') == std::string::npos ? word : "'" + word + "'");
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    if (koshr_tool::run_command_line(step) != 0) return 1;
  }
  std::string exported, exported_file = (dir / "export" / "main_window.kos").string();
  std::printf("$ cat %s\n", exported_file.c_str());
  read_input(exported_file, &exported);
  write_stdout(exported);
  std::printf("$ koshr lib check %s && echo sound\n", lib.c_str());
  std::fflush(stdout);
  int rc = koshr_tool::run_command_line({"lib", "check", lib});
  if (rc == 0) std::printf("sound\n");
  std::printf("\n(lib new refuses a library that exists: remove orders.kol to replay from the "
              "first step.)\n");
  return rc;
}

KOSHR_DEMO_STOP(30, "Library files: build, list, export", demo_library);

}  // namespace
