/*
 * cmd_lib.cpp: `koshr lib`, library files from the command line: create,
 * list, describe, read, write, remove, export, import, check and optimize,
 * through the public LMI_* interface only. Entries move between files and
 * the library a chunk at a time (put, cat, export), so memory stays flat
 * whatever their size.
 */
#include <koshr/library.h>
#include <koshr/storage.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "cli.h"
#include "command.h"
#include "utf.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace {

using koshr_tool::fail;
using koshr_tool::is_high_surrogate;
using koshr_tool::is_low_surrogate;
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

// Bytes moved at a time between a file and an entry.
constexpr size_t kChunk = 1 << 20;
// An entry's data (comment and object) has a 32-bit length, and every block
// a 32-bit offset: neither an entry nor a library reaches 4 GiB.
constexpr uint64_t kMaxEntryData = 0xFFFFFFFFu;
constexpr uint64_t kPayloadPerBlock = 502;
// What returns from a streaming step when the other side (a file, stdout)
// failed, apart from every LMI_* code.
constexpr int32_t kOutsideFailed = 1;

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
    case kOutsideFailed: return "cannot write the output";
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

// The UTF-16LE unit at byte `at`.
char16_t unit_at(std::string_view bytes, size_t at) {
  return char16_t(uint8_t(bytes[at]) | uint8_t(bytes[at + 1]) << 8);
}

std::u16string as_units(const std::string& bytes) {
  std::u16string out(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < out.size(); ++i) out[i] = unit_at(bytes, 2 * i);
  return out;
}

// The length of the longest prefix that does not end inside a UTF-8 sequence.
size_t whole_utf8_prefix(std::string_view bytes) {
  size_t n = bytes.size();
  for (size_t back = 1; back <= 4 && back <= n; ++back) {
    unsigned char c = uint8_t(bytes[n - back]);
    if ((c & 0xC0) == 0x80) continue;
    size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
    return length > back ? n - back : n;
  }
  return n;
}

// UTF-16LE bytes arriving in pieces, as UTF-8: an odd byte or a high
// surrogate at the end of a piece waits for the next one.
class Utf16Pieces {
 public:
  std::string take(std::string_view bytes, bool last) {
    pending_.append(bytes);
    size_t whole = pending_.size() & ~size_t(1);
    if (!last && whole >= 2) {
      char16_t unit = unit_at(pending_, whole - 2);
      if (is_high_surrogate(unit)) whole -= 2;
    }
    std::string out = utf16_to_utf8(as_units(pending_.substr(0, whole)));
    pending_.erase(0, last ? pending_.size() : whole);
    return out;
  }

 private:
  std::string pending_;
};

// Whether an object read in pieces is UTF-16LE text: even size, no NUL,
// surrogates paired.
class TextProbe {
 public:
  void feed(std::string_view bytes) {
    pending_.append(bytes);
    size_t whole = pending_.size() & ~size_t(1);
    for (size_t i = 0; text_ && i < whole; i += 2) {
      char16_t c = unit_at(pending_, i);
      bool low = is_low_surrogate(c);
      if (c == 0 || low != high_pending_) text_ = false;
      high_pending_ = is_high_surrogate(c);
    }
    pending_.erase(0, whole);
  }
  bool is_text() const { return text_ && pending_.empty() && !high_pending_; }

 private:
  std::string pending_;
  bool text_ = true;
  bool high_pending_ = false;
};

// The input of `put`: a file, or stdin (or anything else that cannot tell its
// size) copied to a temporary file first, so that the size is known before
// anything is written.
class PutInput {
 public:
  ~PutInput() {
    if (spool_) std::fclose(spool_);
  }
  // False with the system's reason.
  bool open(const std::string& path, std::string* why) {
    errno = 0;
    bool ok;
    if (path.empty() || path == "-") {
#ifdef _WIN32
      _setmode(_fileno(stdin), _O_BINARY);
#endif
      ok = spool([](char* to, size_t n) { return std::fread(to, 1, n, stdin); }) &&
           !std::ferror(stdin);
    } else {
      std::error_code error;
      if (std::filesystem::is_directory(std::filesystem::path(path), error)) {
        *why = std::strerror(EISDIR);
        return false;
      }
      file_.open(std::filesystem::path(path), std::ios::binary | std::ios::ate);
      if (!file_) {
        *why = std::strerror(errno ? errno : ENOENT);
        return false;
      }
      std::streamoff end = file_.tellg();
      if (end >= 0 && file_.seekg(0)) {
        size_ = uint64_t(end);
        return true;
      }
      file_.clear();
      ok = spool([this](char* to, size_t n) {
        file_.read(to, std::streamsize(n));
        return size_t(file_.gcount());
      });
    }
    if (!ok) *why = std::strerror(errno ? errno : EIO);
    return ok;
  }
  uint64_t size() const { return size_; }
  // Up to n bytes; 0 at the end.
  size_t read(char* to, size_t n) {
    if (spool_) return std::fread(to, 1, n, spool_);
    file_.read(to, std::streamsize(n));
    return size_t(file_.gcount());
  }
  bool failed() const { return spool_ ? std::ferror(spool_) != 0 : file_.bad(); }
  bool rewind() {
    if (spool_) return std::fseek(spool_, 0, SEEK_SET) == 0;
    file_.clear();
    return bool(file_.seekg(0));
  }

 private:
  template <typename Source>
  bool spool(Source source) {
    spool_ = std::tmpfile();
    if (!spool_) return false;
    std::vector<char> chunk(kChunk);
    for (size_t got; (got = source(chunk.data(), chunk.size())) > 0; size_ += got) {
      if (std::fwrite(chunk.data(), 1, got, spool_) != got) return false;
    }
    return std::fflush(spool_) == 0 && rewind();
  }

  std::ifstream file_;
  std::FILE* spool_ = nullptr;
  uint64_t size_ = 0;
};

// Pieces of the input as the entry will hold them: as they are, or (--text)
// UTF-8 as UTF-16LE, never cutting a UTF-8 sequence.
class PutPieces {
 public:
  PutPieces(PutInput& in, bool text) : in_(in), text_(text), chunk_(kChunk) {}
  // The next piece; empty at the end.
  std::string_view next() {
    if (!text_) return std::string_view(chunk_.data(), in_.read(chunk_.data(), kChunk));
    for (;;) {
      size_t got = in_.read(chunk_.data() + carry_.size(), kChunk - carry_.size());
      std::memcpy(chunk_.data(), carry_.data(), carry_.size());
      std::string_view all(chunk_.data(), carry_.size() + got);
      size_t whole = got ? whole_utf8_prefix(all) : all.size();
      converted_ = as_bytes(utf8_to_utf16(all.substr(0, whole)));
      carry_.assign(all.substr(whole));
      if (!converted_.empty() || all.empty()) return converted_;
    }
  }

 private:
  PutInput& in_;
  bool text_;
  std::vector<char> chunk_;
  std::string carry_, converted_;
};

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
  // Hands an entry's object to `take` a chunk at a time; `take` answers
  // false when it cannot go on (kOutsideFailed).
  template <typename Take>
  int32_t stream(const std::string& entry, Take take) {
    std::u16string name = utf8_to_utf16(entry);
    int32_t rc = LMI_OpenEntry(lib_, name.data(), LMI_ENTRY_READ, nullptr);
    if (rc) return rc;
    std::vector<char> chunk(kChunk);
    int32_t got;
    while ((got = LMI_ReadEntry(lib_, chunk.data(), uint32_t(chunk.size()))) > 0) {
      if (!take(std::string_view(chunk.data(), size_t(got)))) {
        got = kOutsideFailed;
        break;
      }
    }
    LMI_CloseEntry(lib_);
    return got;
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
  Utf16Pieces text;
  int32_t rc = s.stream(a.positional[1], [&](std::string_view chunk) {
    write_stdout(a.text ? text.take(chunk, false) : chunk);
    return true;
  });
  if (rc) return fail("lib cat " + a.positional[1], lmi_error(rc));
  if (a.text) write_stdout(text.take({}, true));
  return 0;
}

// Characters of comment the entry will carry: the new one as the library
// trims and cuts it, else (on replacing) the old one.
uint64_t stored_comment(Session& s, const std::u16string& entry, const std::u16string& comment) {
  auto blank = [](char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); };
  size_t first = 0, last = comment.size();
  while (first < last && blank(comment[first])) ++first;
  while (last > first && blank(comment[last - 1])) --last;
  if (last > first) return std::min<uint64_t>(last - first, LMI_MAX_COMMENT);
  std::u16string name = entry;
  LMI_ENTRY_INFO_EX info;
  return LMI_EntryInfoExtended(s.lib(), name.data(), &info) == 0 ? info.commentLength : 0;
}

// What the entry's data will take, or why the format cannot hold it.
bool fits(Session& s, const Args& a, uint64_t data, std::string* why) {
  if (data > kMaxEntryData) {
    *why = "too large: " + std::to_string(data) +
           " bytes with its comment, an entry holds at most " + std::to_string(kMaxEntryData);
    return false;
  }
  // The free blocks inside, and what the 32-bit offsets still reach beyond
  // the end (less a bitmap block every 4,032 blocks, and room for a node).
  LMI_SPACE_INFO space;
  std::error_code ec;
  uint64_t end = std::filesystem::file_size(std::filesystem::u8path(a.positional[0]), ec);
  if (ec || LMI_LibrarySpace(s.lib(), &space) != 0) return true;  // the write itself will tell
  uint64_t beyond = end < kMaxEntryData ? (kMaxEntryData - end) / 512 : 0;
  uint64_t room = space.blocksFree + beyond - beyond / 4032;
  uint64_t needed = (data + kPayloadPerBlock - 1) / kPayloadPerBlock + 6;
  if (needed <= room) return true;
  *why = "does not fit: the library's offsets reach 4 GiB, and " + std::to_string(data) +
         " bytes need " + std::to_string(needed) + " blocks of the " + std::to_string(room) +
         " left";
  return false;
}

int cmd_put(const Args& a, Session& s) {
  std::string file = a.positional.size() == 3 ? a.positional[2] : "-";
  PutInput in;
  std::string why;
  if (!in.open(file, &why)) return fail("lib put " + file, why);
  std::u16string name = utf8_to_utf16(a.positional[1]), comment = utf8_to_utf16(a.comment);
  // The object's size as the entry will hold it: --text needs a pass of its own.
  uint64_t object = 0;
  if (a.text) {
    PutPieces count(in, true);
    for (std::string_view piece; !(piece = count.next()).empty();) object += piece.size();
    if (in.failed() || !in.rewind()) return fail("lib put " + file, std::strerror(EIO));
  } else {
    object = in.size();
  }
  if (!fits(s, a, object + 2 * stored_comment(s, name, comment), &why))
    return fail("lib put " + a.positional[1], why);
  int32_t rc = LMI_OpenEntry(s.lib(), name.data(), LMI_ENTRY_WRITE, comment.c_str());
  if (rc) return fail("lib put " + a.positional[1], lmi_error(rc));
  PutPieces pieces(in, a.text);
  int32_t wrote = 0;
  for (std::string_view piece; wrote >= 0 && !(piece = pieces.next()).empty();)
    wrote = LMI_WriteEntry(s.lib(), piece.data(), uint32_t(piece.size()));
  // A failed read drops the entry's new data: the library keeps what it had.
  if (wrote >= 0 && in.failed()) wrote = LMI_E_IO;
  int32_t closed = LMI_CloseEntry(s.lib());
  rc = wrote < 0 ? wrote : closed;
  if (rc == 0) rc = s.close();
  if (rc == 0 && in.failed()) return fail("lib put " + file, std::strerror(EIO));
  return rc ? fail("lib put " + a.positional[1], lmi_error(rc)) : 0;
}

int cmd_rm(const Args& a, Session& s) {
  std::u16string name = utf8_to_utf16(a.positional[1]);
  int32_t rc = LMI_DeleteEntry(s.lib(), name.data());
  if (rc == 0) rc = s.close();
  return rc ? fail("lib rm " + a.positional[1], lmi_error(rc)) : 0;
}

// Writes UTF-8 to an export file; false once the file failed.
bool put_text(std::ofstream& out, const std::string& utf8) {
  out.write(utf8.data(), std::streamsize(utf8.size()));
  return bool(out);
}

// The entry read twice, a chunk at a time: once to tell text from binary,
// once to write it.
int export_entry(Session& s, const std::string& entry, const std::filesystem::path& dir) {
  std::u16string name = utf8_to_utf16(entry);
  LMI_ENTRY_INFO_EX info;
  int32_t rc = LMI_EntryInfoExtended(s.lib(), name.data(), &info);
  TextProbe probe;
  if (rc == 0)
    rc = s.stream(entry, [&](std::string_view chunk) {
      probe.feed(chunk);
      return true;
    });
  if (rc) return fail("lib export " + entry, lmi_error(rc));
  KOCHAR header[LMI_EXPORT_HEADER_MAX];
  uint32_t length = 0;
  LMI_Build_Export_Header(s.pool(), &info, header, &length);
  std::filesystem::path target = dir / std::filesystem::path(name);
  errno = 0;
  std::ofstream out(target, std::ios::binary);
  bool written = put_text(out, utf16_to_utf8(std::u16string_view(header, length)));
  if (written && probe.is_text()) {
    Utf16Pieces text;
    rc = s.stream(entry,
                  [&](std::string_view chunk) { return put_text(out, text.take(chunk, false)); });
    written = rc != kOutsideFailed && put_text(out, text.take({}, true));
  } else if (written) {
    rc = LMI_StreamHexAsciiForEntry(
        s.lib(), name.data(),
        [](void* file, const KOCHAR* line, uint32_t units) {
          std::string utf8 = utf16_to_utf8(std::u16string_view(line, units));
          return put_text(*static_cast<std::ofstream*>(file), utf8) ? 0 : kOutsideFailed;
        },
        &out);
    written = rc != kOutsideFailed;
  }
  out.close();
  if (!written || !out)
    return fail("lib export " + target.string(), std::strerror(errno ? errno : EIO));
  return rc ? fail("lib export " + entry, lmi_error(rc)) : 0;
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
  std::string lib = (dir / "orders.kol").string(), source = (dir / "welcome.txt").string();
  std::ofstream(dir / "welcome.txt", std::ios::binary)
      << "Welcome to the demonstration library.\r\nEach entry keeps its text and a comment.\r\n";
  std::ofstream(dir / "orders.txt", std::ios::binary)
      << "Orders placed before noon leave the same day.\r\n";
  std::string icon(600, '\0');
  for (size_t i = 0; i < icon.size(); ++i) icon[i] = char(i * 37);
  std::ofstream(dir / "app.bin", std::ios::binary) << icon;
  const std::vector<std::vector<std::string>> steps = {
      {"lib", "new", lib, "--comment", "a demonstration library"},
      {"lib", "put", lib, "welcome.kos", source, "--text", "--comment", "the welcome text"},
      {"lib", "put", lib, "orders.kos", (dir / "orders.txt").string(), "--text", "--comment",
       "orders"},
      {"lib", "put", lib, "app.bin", (dir / "app.bin").string()},
      {"lib", "ls", lib},
      {"lib", "export", lib, "welcome.kos", "-o", (dir / "export").string()},
  };
  for (const auto& step : steps) {
    std::string line = "$ koshr";
    for (const std::string& word : step)
      line += " " + (word.find(' ') == std::string::npos ? word : "'" + word + "'");
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    if (koshr_tool::run_command_line(step) != 0) return 1;
  }
  std::string exported, exported_file = (dir / "export" / "welcome.kos").string();
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
