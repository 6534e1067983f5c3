/*
 * lmi_hex_ascii.cpp: an entry's bytes carried inside exported text.
 *
 *   (empty line)
 *   Start of Korvane Binary Data Section : Do NOT Edit
 *   0<c><name><blank>                          header line
 *   2<c><3992 hex digits>                      one data line a 1996-byte chunk
 *   ...
 *   1<c><name><blank>                          end line
 *   End of Korvane Binary Data Section : No Source Expected After This Point
 *
 * Every line ends CR LF. <c> is a checksum digit: the low four bits of the sum
 * of the name's UTF-16 units, or of a data line's 32-bit words, as one
 * upper-case hex digit. A data line holds a chunk's little-endian words, each
 * as "%8x" with blanks turned to "0", then "0" digits up to 3994 characters.
 * The word count of a chunk of n bytes is kept as it stands: the positions
 * 2, 10, 18, ... below 2n, so a final chunk of 4k+1 bytes loses its last byte
 * and one of another odd size takes its last word partly from the bytes the
 * 1996-byte read buffer still holds. Reading back gives 1996 bytes a line,
 * padding included; checksums are not checked on reading.
 */
#include <koshr/library.h>
#include <koshr/lists.h>

#include "library/library_handle.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

#include <cstring>

namespace {

constexpr uint32_t kChunk = 1996;
constexpr uint32_t kLineUnits = 3996;       // a data line with its CR LF
constexpr uint32_t kLineDigits = 3994;      // kind, checksum and hex digits
constexpr uint32_t kMaxLine = 4000;
const KOCHAR kStartMarker[] = u"Start of Korvane Binary Data Section : Do NOT Edit";
const KOCHAR kEndMarker[] = u"End of Korvane Binary Data Section : No Source Expected After This Point";

KOCHAR checksum_digit(uint32_t sum) { return KOCHAR(ko::kHexDigitsUpper[sum & 15]); }

uint32_t words_for_chunk(uint32_t n) { return n < 2 ? 0 : (2 * n - 2 + 7) / 8; }

struct Lines {
  KostgContext* pool;
  shlistx* list;
  size_t units = 0;

  // One line more; the whole text must stay within what a length of 32 bits counts.
  static int32_t sink(void* context, const KOCHAR* text, uint32_t length) {
    Lines* lines = static_cast<Lines*>(context);
    if (lines->units + length >= 0xFFFFFFFFu) return LMI_E_DISK_FULL;
    KOCHAR* line = static_cast<KOCHAR*>(kostg_alc(lines->pool, 2 * (size_t(length) + 1), nullptr));
    if (!line) return LMI_E_DISK_FULL;
    std::memcpy(line, text, 2 * size_t(length));
    line[length] = 0;
    lines->units += length;
    return shlist_insert(lines->list, line) == 1 ? 0 : LMI_E_DISK_FULL;
  }
};

// The header ('0') or end ('1') line for a name, cut to stay within 4000 characters.
size_t name_line(KOCHAR kind, const KOCHAR* name, KOCHAR* out) {
  size_t length = ko::u16nlen(name, kMaxLine - 5);
  uint32_t sum = 0;
  for (size_t i = 0; i < length; ++i) sum += name[i];
  out[0] = kind;
  out[1] = checksum_digit(sum);
  std::memcpy(out + 2, name, 2 * length);
  std::memcpy(out + 2 + length, u" \r\n", 6);
  return length + 5;
}

size_t data_line(const uint8_t* chunk, uint32_t n, KOCHAR* out) {
  uint32_t words = words_for_chunk(n), sum = 0;
  KOCHAR* at = out + 2;
  for (uint32_t w = 0; w < words; ++w) {
    uint32_t value = ko::load_le32(chunk + 4 * w);
    sum += value;
    for (int d = 7; d >= 0; --d) *at++ = KOCHAR(ko::kHexDigitsLower[(value >> (4 * d)) & 15]);
  }
  while (at < out + kLineDigits) *at++ = u'0';
  out[0] = u'2';
  out[1] = checksum_digit(sum);
  *at++ = u'\r';
  *at++ = u'\n';
  return size_t(at - out);
}

// One piece of at most 3996 characters back into bytes; the byte count.
uint32_t decode_piece(const KOCHAR* piece, size_t length, uint8_t* out) {
  if (length == 0 || piece[0] == u'1') return 0;
  while (length && (piece[length - 1] == u'\r' || piece[length - 1] == u'\n')) --length;
  if (length < 2) return 0;
  uint32_t bytes = 0;
  for (size_t at = 2; at + 8 <= length; at += 8) {
    uint32_t value = 0;
    for (size_t i = 0; i < 8; ++i) {
      int digit = ko::digit_value(piece[at + i]);
      if (digit >= 16) break;
      value = value << 4 | uint32_t(digit);
    }
    ko::store_le32(out + bytes, value);
    bytes += 4;
  }
  return bytes;
}

const KOCHAR* find_marker(const KOCHAR* text, size_t length) {
  size_t marker = ko::u16len(kStartMarker);
  for (size_t i = 0; i + marker <= length; ++i) {
    if (text[i] == kStartMarker[0] && std::memcmp(text + i, kStartMarker, 2 * marker) == 0) return text + i + marker;
  }
  return nullptr;
}

}  // namespace

KOSHR_API int32_t LMI_StreamHexAsciiForEntry(LMI_HANDLE library, KOCHAR* name, LMI_TEXT_SINK sink,
                                             void* context) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!sink) return LMI_E_NO_RESULT;
  int32_t rc = LMI_OpenEntry(library, name, LMI_ENTRY_READ, nullptr);
  if (rc) return rc;
  KOCHAR entry_name[LMI_MAX_NAME + 1];
  ko::u16lcpy(entry_name, name, LMI_MAX_NAME + 1);
  KOCHAR line[kMaxLine + 200];
  // The read buffer keeps what the previous chunk left behind its end: the
  // last word of a final chunk of odd size takes its missing bytes from there.
  uint8_t chunk[kChunk + 4] = {};
  size_t n = ko::u16_format(line, 200, "\r\n%s\r\n", kStartMarker);
  rc = sink(context, line, uint32_t(n));
  if (rc == 0) rc = sink(context, line, uint32_t(name_line(u'0', entry_name, line)));
  int32_t got = 0;
  while (rc == 0 && (got = LMI_ReadEntry(library, chunk, kChunk)) > 0)
    rc = sink(context, line, uint32_t(data_line(chunk, uint32_t(got), line)));
  if (rc == 0 && got < 0) rc = got;
  LMI_CloseEntry(library);
  if (rc == 0) {
    n = name_line(u'1', entry_name, line);
    n += ko::u16_format(line + n, kMaxLine + 200 - n, "%s\r\n", kEndMarker);
    rc = sink(context, line, uint32_t(n));
  }
  return rc;
}

KOSHR_API int32_t LMI_GetHexAsciiForEntry(LMI_HANDLE library, KOCHAR* name, KostgContext* pool,
                                          KOCHAR** text, uint32_t* length) {
  if (text) *text = nullptr;
  if (length) *length = 0;
  if (!library) return LMI_E_NO_HANDLE;
  if (!text || !length) return LMI_E_NO_RESULT;
  if (!pool) return LMI_E_NO_POOL;
  Lines lines{pool, shlist_new(pool, nullptr)};
  if (!lines.list) return LMI_E_DISK_FULL;
  int32_t rc = LMI_StreamHexAsciiForEntry(library, name, &Lines::sink, &lines);
  KOCHAR* joined =
      rc == 0 ? static_cast<KOCHAR*>(kostg_alc(pool, 2 * (lines.units + 1), nullptr)) : nullptr;
  if (joined) {
    KOCHAR* at = joined;
    for (void* item = shlist_get_first(lines.list); item; item = shlist_get_next(lines.list)) {
      size_t units = ko::u16len(static_cast<KOCHAR*>(item));
      std::memcpy(at, item, 2 * units);
      at += units;
    }
    *at = 0;
    *text = joined;
    *length = uint32_t(lines.units);
  } else if (rc == 0) {
    rc = LMI_E_DISK_FULL;
  }
  shlist_deleteFree(lines.list);
  return rc;
}

KOSHR_API int32_t LMI_EntryFromHexAscii(LMI_HANDLE library, KOCHAR* name, const KOCHAR* text, uint32_t length) {
  if (!library) return LMI_E_NO_HANDLE;
  const KOCHAR* at = text ? find_marker(text, length) : nullptr;
  if (!at) return LMI_E_FORMAT;
  const KOCHAR* end = text + length;
  while (at < end && (*at == u'\r' || *at == u'\n')) ++at;
  while (at < end && *at != u'\r' && *at != u'\n') ++at;
  while (at < end && (*at == u'\r' || *at == u'\n')) ++at;
  int32_t rc = LMI_OpenEntry(library, name, LMI_ENTRY_WRITE, nullptr);
  if (rc) return rc;
  uint8_t bytes[kChunk + 4];
  while (at < end) {
    size_t piece = size_t(end - at) < kLineUnits ? size_t(end - at) : kLineUnits;
    uint32_t n = decode_piece(at, piece, bytes);
    at += piece;
    if (n && LMI_WriteEntry(library, bytes, n) < 0) break;
  }
  return LMI_CloseEntry(library);
}
