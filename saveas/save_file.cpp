/*
 * save_file.cpp: the buffered output file of an export (see save_file.h).
 */
#include "saveas/save_file.h"

#include <atomic>
#include <cstring>

#include "platform/byte_order.h"
#include "platform/utf16.h"

namespace ko {
namespace {

constexpr size_t kDefaultBufferUnits = 32768;
// The widest encoding of one UTF-16 unit: three bytes of UTF-8, or up to four
// bytes of a multi-byte code page.
constexpr size_t kMaxBytesPerUnit = 4;

std::atomic<size_t> g_buffer_units{kDefaultBufferUnits};

// Copies the leading ASCII units of `text` as bytes; returns their count.
// Four units are checked at a time while all four are ASCII.
size_t copy_ascii(const KOCHAR* text, size_t length, uint8_t* out) {
  size_t i = 0;
  for (uint64_t four; i + 4 <= length; i += 4) {
    std::memcpy(&four, text + i, sizeof four);
    if (four & 0xFF80FF80FF80FF80ull) break;
    for (size_t k = 0; k < 4; ++k) out[i + k] = uint8_t(text[i + k]);
  }
  for (; i < length && text[i] < 0x80; ++i) out[i] = uint8_t(text[i]);
  return i;
}

// Writes bytes to the disk; false (and the file marked failed) on a short
// write, which is a full disk: nothing after it can be stored either.
bool write_to_disk(SaveFile* file, const uint8_t* data, size_t size) {
  if (size > 0 && !file->failed && os::file_write(file->handle, data, size) != int64_t(size)) {
    file->failed = true;
  }
  return !file->failed;
}

size_t write_bom(int32_t encoding, uint8_t* out) {
  switch (encoding) {
    case kEncodingUtf8Bom:
      out[0] = 0xEF, out[1] = 0xBB, out[2] = 0xBF;
      return 3;
    case kEncodingUtf16LeBom:
      store_le16(out, kByteOrderMark);
      return 2;
    case kEncodingUtf16BeBom:
      store_be16(out, kByteOrderMark);
      return 2;
    default:
      return 0;
  }
}

size_t narrow_single_bytes(const KOCHAR* text, size_t length, uint8_t* out) {
  for (size_t i = 0; i < length; ++i) {
    KOCHAR c = text[i];
    if (c < 0x80) {
      out[i] = uint8_t(c);
      continue;
    }
    char narrow[8];
    int n = os::utf16_to_ansi(&c, 1, narrow, sizeof narrow);
    out[i] = n == 1 ? uint8_t(narrow[0]) : uint8_t('?');
  }
  return length;
}

// UTF-8: ASCII runs are copied here, the rest goes to the shared converter
// (which terminates its output: the buffer keeps a byte for that).
size_t encode_utf8(const KOCHAR* text, size_t length, uint8_t* out, size_t capacity) {
  size_t used = 0;
  size_t i = 0;
  while (i < length) {
    size_t ascii = copy_ascii(text + i, length - i, out + used);
    i += ascii;
    used += ascii;
    size_t run = i;
    while (run < length && text[run] >= 0x80) ++run;
    if (run > i) {
      used +=
          utf16_to_utf8(text + i, run - i, reinterpret_cast<char*>(out + used), capacity - used);
      i = run;
    }
  }
  return used;
}

// Encodes `length` units of the gather buffer into the byte buffer, behind
// the byte-order mark when it is still to come; returns the byte count.
size_t encode_text(SaveFile* file, const KOCHAR* text, size_t length) {
  uint8_t* out = file->bytes;
  size_t used = 0;
  if (file->bom_pending) {
    used = write_bom(file->encoding, out);
    file->bom_pending = false;
  }
  switch (file->encoding) {
    case kEncodingUtf8:
    case kEncodingUtf8Bom:
      used += encode_utf8(text, length, out + used, file->byte_capacity - used);
      break;
    case kEncodingUtf16LeBom:
      for (size_t i = 0; i < length; ++i, used += 2) store_le16(out + used, text[i]);
      break;
    case kEncodingUtf16BeBom:
      for (size_t i = 0; i < length; ++i, used += 2) store_be16(out + used, text[i]);
      break;
    case kEncodingAnsiSingleByte:
      used += narrow_single_bytes(text, length, out + used);
      break;
    default:
      used += narrow_to_ansi(text, length, reinterpret_cast<char*>(out + used),
                             file->byte_capacity - used);
      break;
  }
  return used;
}

// Hands the gathered text to the disk. A high surrogate at the end of a
// buffer waits for its partner unless this is the last flush.
bool flush_text(SaveFile* file, bool last) {
  size_t length = file->text_used;
  bool hold = !last && length > 0 && is_high_surrogate(file->text[length - 1]);
  if (hold) --length;
  size_t size = encode_text(file, file->text, length);
  bool ok = write_to_disk(file, file->bytes, size);
  if (hold) file->text[0] = file->text[length];
  file->text_used = hold ? 1 : 0;
  return ok;
}

bool flush_bytes(SaveFile* file) {
  bool ok = write_to_disk(file, file->bytes, file->byte_used);
  file->byte_used = 0;
  return ok;
}

}  // namespace

bool save_encoding_known(int32_t encoding) {
  return encoding >= kEncodingAnsiSingleByte && encoding <= kEncodingUtf16BeBom;
}

void save_set_buffer_size(size_t units) { g_buffer_units = units ? units : kDefaultBufferUnits; }

size_t narrow_to_ansi(const KOCHAR* text, size_t length, char* out, size_t capacity) {
  size_t used = 0;
  size_t i = 0;
  while (i < length && used < capacity) {
    size_t limit = length - i < capacity - used ? length - i : capacity - used;
    size_t ascii = copy_ascii(text + i, limit, reinterpret_cast<uint8_t*>(out + used));
    i += ascii;
    used += ascii;
    if (i == length || used == capacity) break;
    // A run of non-ASCII units goes to the platform in one call.
    size_t run = i;
    while (run < length && text[run] >= 0x80) ++run;
    char stack[256];
    size_t units = run - i;
    if (units > sizeof stack / kMaxBytesPerUnit) units = sizeof stack / kMaxBytesPerUnit;
    if (units > 1 && is_high_surrogate(text[i + units - 1])) --units;
    int n = os::utf16_to_ansi(text + i, int(units), stack, int(sizeof stack));
    if (n <= 0) {
      for (size_t k = 0; k < units && used < capacity; ++k) out[used++] = '?';
    } else {
      size_t take = size_t(n) < capacity - used ? size_t(n) : capacity - used;
      std::memcpy(out + used, stack, take);
      used += take;
    }
    i += units;
  }
  return used;
}

bool osFileOpenNew32(SaveFile* file, KostgContext* pool, KostgSubpool* owner, const KOCHAR* path,
                     int32_t encoding) {
  std::memset(file, 0, sizeof *file);
  file->handle = os::kInvalidFile;
  if (!path || !save_encoding_known(encoding)) return false;
  size_t units = g_buffer_units;
  file->encoding = encoding;
  if (encoding == kEncodingBytes) {
    file->byte_capacity = units;
  } else {
    // Two units at least, so that a held-back high surrogate leaves room.
    file->text_capacity = units < 2 ? 2 : units;
    units = file->text_capacity;
    file->text = static_cast<KOCHAR*>(kostg_alc(pool, units * sizeof(KOCHAR), owner));
    if (!file->text) return false;
    file->byte_capacity = units * kMaxBytesPerUnit + 4;  // and the byte-order mark
    file->bom_pending = true;
  }
  file->bytes = static_cast<uint8_t*>(kostg_alc(pool, file->byte_capacity, owner));
  if (file->bytes) {
    file->handle = os::file_open(path, os::kFileWrite | os::kFileCreate | os::kFileTruncate);
    if (file->handle != os::kInvalidFile) return true;
  }
  if (file->bytes) kostg_fee(pool, file->bytes);
  if (file->text) kostg_fee(pool, file->text);
  file->bytes = nullptr;
  file->text = nullptr;
  return false;
}

size_t osFileWrite32(SaveFile* file, const KOCHAR* text, size_t length) {
  if (file->failed) return 0;
  if (length <= file->text_capacity - file->text_used) {  // the common case: it fits
    std::memcpy(file->text + file->text_used, text, length * sizeof(KOCHAR));
    file->text_used += length;
    return length;
  }
  size_t done = 0;
  while (done < length) {
    if (file->text_used == file->text_capacity && !flush_text(file, false)) return 0;
    size_t room = file->text_capacity - file->text_used;
    size_t take = length - done < room ? length - done : room;
    std::memcpy(file->text + file->text_used, text + done, take * sizeof(KOCHAR));
    file->text_used += take;
    done += take;
  }
  return length;
}

size_t osFileWrite(SaveFile* file, const void* data, size_t size) {
  if (file->failed) return 0;
  const auto* in = static_cast<const uint8_t*>(data);
  if (size <= file->byte_capacity - file->byte_used) {  // the common case: it fits
    std::memcpy(file->bytes + file->byte_used, in, size);
    file->byte_used += size;
    return size;
  }
  size_t done = 0;
  while (done < size) {
    if (file->byte_used == file->byte_capacity && !flush_bytes(file)) return 0;
    size_t room = file->byte_capacity - file->byte_used;
    size_t take = size - done < room ? size - done : room;
    std::memcpy(file->bytes + file->byte_used, in + done, take);
    file->byte_used += take;
    done += take;
  }
  return size;
}

int osFileClose(SaveFile* file, KostgContext* pool, bool flush) {
  if (file->handle == os::kInvalidFile) return 0;
  bool ok = false;
  if (flush && !file->failed) {
    ok = file->encoding == kEncodingBytes ? flush_bytes(file) : flush_text(file, true);
  }
  if (!os::file_close(file->handle)) ok = false;
  file->handle = os::kInvalidFile;
  if (file->bytes) kostg_fee(pool, file->bytes);
  if (file->text) kostg_fee(pool, file->text);
  file->bytes = nullptr;
  file->text = nullptr;
  return ok ? 1 : 0;
}

}  // namespace ko
