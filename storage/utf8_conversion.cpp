/*
 * utf8_conversion.cpp: UTF-16 to UTF-8 and back, unit by unit.
 *
 * These are the library's exported conversions and keep their own rules,
 * which differ from the standard conversion in platform/utf16.h:
 *
 *   encoding: every unit by itself, surrogates included (a pair gives 6 bytes)
 *     below 0x80    0xxxxxxx
 *     below 0x800   110xxxxx 10xxxxxx
 *     otherwise     1110xxxx 10xxxxxx 10xxxxxx
 *
 *   decoding: the lead byte alone decides the length, tested in this order
 *     < 0x80                 1 byte
 *     lead & 0xE0 == 0xC0    2 bytes   (lead & 0x1F) + 6 bits of the next
 *     lead & 0xF0 == 0xE0    3 bytes   (lead & 0x0F) + 6 bits of each next
 *     lead & 0xF1 == 0xF0    4 bytes   also catches 0xF8 0xFA 0xFC 0xFE
 *     lead & 0xFD == 0xF8    5 bytes   (never reached after the test above)
 *     lead & 0xFE == 0xFC    6 bytes   (reached by 0xFD only)
 *     anything else          1 byte consumed, the output unit left untouched
 *   The value is kept to its low 16 bits. Continuation bytes are not checked.
 *   A sequence cut short by the terminator reads the missing bytes as zeros
 *   and ends the text: nothing past the terminator is ever read.
 *
 * Runs of ASCII go eight bytes (four units) at a time.
 */
#include <koshr/strings.h>

#include "platform/utf16.h"

#include <array>
#include <cstring>

namespace {

constexpr uint8_t kInvalidLead = 0xFF;

struct LeadRule {
  uint8_t continuation_bytes;
  uint8_t value_mask;
};

constexpr LeadRule lead_rule(unsigned lead) {
  if (lead < 0x80) return {0, 0x7F};
  if ((lead & 0xE0) == 0xC0) return {1, 0x1F};
  if ((lead & 0xF0) == 0xE0) return {2, 0x0F};
  if ((lead & 0xF1) == 0xF0) return {3, 0x0F};
  if ((lead & 0xFD) == 0xF8) return {4, 0x03};
  if ((lead & 0xFE) == 0xFC) return {5, 0x01};
  return {kInvalidLead, 0};
}

constexpr std::array<LeadRule, 256> make_lead_rules() {
  std::array<LeadRule, 256> rules{};
  for (unsigned lead = 0; lead < 256; ++lead) rules[lead] = lead_rule(lead);
  return rules;
}

constexpr std::array<LeadRule, 256> kLeadRules = make_lead_rules();

constexpr uint64_t kUnitHighBits = 0xFF80FF80FF80FF80ull;
constexpr uint64_t kByteHighBits = 0x8080808080808080ull;

size_t encoded_size(const KOCHAR* text, size_t units) {
  size_t bytes = units;
  for (size_t i = 0; i < units; ++i) bytes += size_t(text[i] >= 0x80) + size_t(text[i] >= 0x800);
  return bytes;
}

size_t encode(unsigned char* out, const KOCHAR* text, size_t units) {
  unsigned char* start = out;
  size_t i = 0;
  while (i < units) {
    for (uint64_t four; i + 4 <= units; i += 4, out += 4) {
      std::memcpy(&four, text + i, sizeof four);
      if (four & kUnitHighBits) break;
      uint32_t packed = uint32_t((four & 0xFF) | ((four >> 8) & 0xFF00) | ((four >> 16) & 0xFF0000) |
                                 ((four >> 24) & 0xFF000000));
      std::memcpy(out, &packed, sizeof packed);
    }
    if (i == units) break;
    unsigned c = text[i++];
    if (c < 0x80) {
      *out++ = static_cast<unsigned char>(c);
    } else if (c < 0x800) {
      *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
      *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    } else {
      *out++ = static_cast<unsigned char>(0xE0 | (c >> 12));
      *out++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
      *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    }
  }
  *out = 0;
  return size_t(out - start);
}

// One pass of the decoder over `bytes` bytes (the text's length); with
// kWrite false it only counts the units the decoding gives.
template <bool kWrite>
size_t decode(KOCHAR* dest, const unsigned char* utf8, size_t bytes) {
  size_t units = 0;
  size_t i = 0;
  while (i < bytes) {
    for (uint64_t eight; i + 8 <= bytes; i += 8, units += 8) {
      std::memcpy(&eight, utf8 + i, sizeof eight);
      if (eight & kByteHighBits) break;
      if constexpr (kWrite) {
        for (size_t k = 0; k < 8; ++k) dest[units + k] = utf8[i + k];
      }
    }
    if (i == bytes) break;
    LeadRule rule = kLeadRules[utf8[i]];
    if (rule.continuation_bytes == kInvalidLead) {
      ++i;
      ++units;
      continue;
    }
    if constexpr (kWrite) {
      uint32_t value = utf8[i] & rule.value_mask;
      for (size_t k = 1; k <= rule.continuation_bytes; ++k) {
        unsigned next = i + k < bytes ? utf8[i + k] : 0;
        value = (value << 6) | (next & 0x3F);
      }
      dest[units] = KOCHAR(value);
    }
    ++units;
    i += 1 + size_t(rule.continuation_bytes);
  }
  if constexpr (kWrite) dest[units] = 0;
  return units;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API int64_t kostg_UCS2toUTF8(char* dest, const KOCHAR* text, int64_t destSize) {
  if (!text) return 0;
  size_t units = ko::u16len(text);
  if (!dest) return int64_t(encoded_size(text, units));
  // A destSize equal to the count passes: the terminator lands one byte
  // beyond it. Callers size the destination count + 1.
  if (destSize != 0 && destSize < int64_t(encoded_size(text, units))) return 0;
  return int64_t(encode(reinterpret_cast<unsigned char*>(dest), text, units));
}

KOSHR_API int64_t kostg_UTF8toUCS2(KOCHAR* dest, const char* utf8) {
  if (!utf8) return 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(utf8);
  size_t length = std::strlen(utf8);
  if (!dest) return int64_t(decode<false>(nullptr, bytes, length));
  return int64_t(decode<true>(dest, bytes, length));
}

KOSHR_END_C
