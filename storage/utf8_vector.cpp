/*
 * utf8_vector.cpp: vector kernels for the exported UTF-8 conversions on
 * x86-64, giving byte-for-byte the results of the plain loops.
 *
 * Scanning a UTF-16 text (SSE2) reads aligned 16-byte blocks, so the block
 * that holds the terminator is read whole: an aligned block never crosses a
 * page, and the bytes after the terminator do not take part in the result.
 *
 * Encoding (SSSE3) takes eight units at a time: all ASCII, all below 0x800
 * (one or two bytes each, compacted by a shuffle chosen by the ASCII lanes),
 * all of three bytes, or any mix, four units at a time by a shuffle chosen by
 * their byte counts.
 *
 * Decoding (SSSE3) takes a 16-byte window: all ASCII, or a window whose
 * continuation bytes sit exactly where its two- and three-byte leads expect
 * them; then every non-continuation byte is a lead, and the characters that
 * start in its first 14 bytes decode in parallel and are compacted by a
 * shuffle chosen by the lead positions (the units behind them in each store
 * are written back as they were). Any other window (four-byte leads,
 * stray continuation bytes) goes sequence by sequence. Both kernels stop
 * with enough input left that their 16-byte stores stay inside the output.
 */
#include "storage/utf8_units.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define KO_UTF8_VECTOR 1
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace ko::utf8 {

#if KO_UTF8_VECTOR

namespace {

struct ShuffleTable {
  alignas(16) uint8_t mask[256][16];
  uint8_t count[256];
};

// Encoding: bit k of the index set means unit k is ASCII; a two-byte unit
// keeps both bytes of its lane, an ASCII unit only the low one.
constexpr ShuffleTable make_encode_table() {
  ShuffleTable table{};
  for (unsigned lanes = 0; lanes < 256; ++lanes) {
    unsigned n = 0;
    for (unsigned k = 0; k < 8; ++k) {
      table.mask[lanes][n++] = uint8_t(2 * k);
      if (!((lanes >> k) & 1)) table.mask[lanes][n++] = uint8_t(2 * k + 1);
    }
    table.count[lanes] = uint8_t(n);
    for (; n < 16; ++n) table.mask[lanes][n] = 0x80;
  }
  return table;
}

// Decoding: bit k of the index set means a character starts at byte k; its
// 16-bit lane is kept.
constexpr ShuffleTable make_decode_table() {
  ShuffleTable table{};
  for (unsigned leads = 0; leads < 256; ++leads) {
    unsigned n = 0;
    for (unsigned k = 0; k < 8; ++k) {
      if ((leads >> k) & 1) {
        table.mask[leads][n++] = uint8_t(2 * k);
        table.mask[leads][n++] = uint8_t(2 * k + 1);
      }
    }
    table.count[leads] = uint8_t(n / 2);
    for (; n < 16; ++n) table.mask[leads][n] = 0x80;
  }
  return table;
}

// Byte masks of the first n units of a register.
constexpr auto kFirstUnits = [] {
  std::array<std::array<uint8_t, 16>, 9> masks{};
  for (unsigned n = 0; n <= 8; ++n) {
    for (unsigned j = 0; j < 2 * n; ++j) masks[n][j] = 0xFF;
  }
  return masks;
}();

constexpr ShuffleTable kEncodeTable = make_encode_table();
constexpr ShuffleTable kDecodeTable = make_decode_table();

// Three-byte blocks: eight lead bytes and eight middle bytes in one register,
// eight last bytes in another, interleaved into 24 bytes.
struct Interleave {
  alignas(16) uint8_t first_from_pair[16], first_from_last[16];
  alignas(16) uint8_t rest_from_pair[16], rest_from_last[16];
};

constexpr Interleave make_interleave() {
  Interleave x{};
  for (unsigned j = 0; j < 16; ++j) {
    x.rest_from_pair[j] = x.rest_from_last[j] = 0x80;
  }
  for (unsigned j = 0; j < 24; ++j) {
    unsigned unit = j / 3, byte = j % 3;
    uint8_t from_pair = byte == 2 ? 0x80 : uint8_t(byte * 8 + unit);
    uint8_t from_last = byte == 2 ? uint8_t(unit) : 0x80;
    if (j < 16) {
      x.first_from_pair[j] = from_pair;
      x.first_from_last[j] = from_last;
    } else {
      x.rest_from_pair[j - 16] = from_pair;
      x.rest_from_last[j - 16] = from_last;
    }
  }
  return x;
}

constexpr Interleave kInterleave = make_interleave();

// Blocks that mix three-byte units with shorter ones go four units at a
// time: the index holds each unit's byte count less one in two bits; bytes
// come from the lead/middle register and the last-byte register as above.
struct MixedTable {
  alignas(16) uint8_t from_pair[256][16];
  alignas(16) uint8_t from_last[256][16];
  uint8_t count[256];
};

constexpr MixedTable make_mixed_table() {
  MixedTable table{};
  for (unsigned index = 0; index < 256; ++index) {
    for (unsigned j = 0; j < 16; ++j) table.from_pair[index][j] = table.from_last[index][j] = 0x80;
    unsigned n = 0;
    for (unsigned k = 0; k < 4; ++k) {
      unsigned length = ((index >> (2 * k)) & 3) + 1;
      if (length > 3) length = 3;
      table.from_pair[index][n++] = uint8_t(k);
      if (length >= 2) table.from_pair[index][n++] = uint8_t(8 + k);
      if (length == 3) table.from_last[index][n++] = uint8_t(k);
    }
    table.count[index] = uint8_t(n);
  }
  return table;
}

constexpr MixedTable kMixedTable = make_mixed_table();

// Bit k of a four-bit value moved to bit 2k.
constexpr uint8_t kSpreadBits[16] = {0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15,
                                     0x40, 0x41, 0x44, 0x45, 0x50, 0x51, 0x54, 0x55};

constexpr size_t kEncodeRoom = 32;         // the most one block writes
constexpr size_t kDecodeInputMargin = 64;  // see decode_ssse3

// Asked once, at the first conversion. One CPUID of our own rather than the
// compiler's CPU model, whose initialiser would run (with its dozen CPUIDs,
// each a trap to the hypervisor in a virtual machine) at every library load.
bool has_ssse3() {
  static const bool available = [] {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_SSSE3) != 0;
  }();
  return available;
}

__m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

__attribute__((target("ssse3"))) Progress encode_ssse3(const KOCHAR* text, size_t units,
                                                       unsigned char* out, size_t room) {
  const __m128i zero = _mm_setzero_si128();
  size_t i = 0, o = 0;
  while (i + 8 <= units && o + kEncodeRoom <= room) {
    __m128i v = load(text + i);
    __m128i ascii = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(short(0xFF80))), zero);
    __m128i below_800 = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(short(0xF800))), zero);
    int short_lanes = _mm_movemask_epi8(below_800);
    if (_mm_movemask_epi8(ascii) == 0xFFFF) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + o), _mm_packus_epi16(v, v));
      o += 8;
    } else if (short_lanes == 0xFFFF) {
      __m128i lead = _mm_or_si128(_mm_srli_epi16(v, 6), _mm_set1_epi16(0xC0));
      __m128i tail = _mm_or_si128(_mm_and_si128(v, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80));
      __m128i pairs = _mm_or_si128(lead, _mm_slli_epi16(tail, 8));
      __m128i lanes = _mm_or_si128(_mm_and_si128(ascii, v), _mm_andnot_si128(ascii, pairs));
      unsigned index = unsigned(_mm_movemask_epi8(_mm_packs_epi16(ascii, ascii))) & 0xFF;
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o),
                       _mm_shuffle_epi8(lanes, load(kEncodeTable.mask[index])));
      o += kEncodeTable.count[index];
    } else if (short_lanes == 0) {
      __m128i low6 = _mm_set1_epi16(0x3F), mark = _mm_set1_epi16(0x80);
      __m128i lead = _mm_or_si128(_mm_srli_epi16(v, 12), _mm_set1_epi16(0xE0));
      __m128i middle = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(v, 6), low6), mark);
      __m128i last = _mm_or_si128(_mm_and_si128(v, low6), mark);
      __m128i pair = _mm_packus_epi16(lead, middle);
      __m128i lasts = _mm_packus_epi16(last, last);
      __m128i first = _mm_or_si128(_mm_shuffle_epi8(pair, load(kInterleave.first_from_pair)),
                                   _mm_shuffle_epi8(lasts, load(kInterleave.first_from_last)));
      __m128i rest = _mm_or_si128(_mm_shuffle_epi8(pair, load(kInterleave.rest_from_pair)),
                                  _mm_shuffle_epi8(lasts, load(kInterleave.rest_from_last)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), first);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + o + 16), rest);
      o += 24;
    } else {
      __m128i low6 = _mm_set1_epi16(0x3F), mark = _mm_set1_epi16(0x80);
      __m128i three = _mm_cmpeq_epi16(below_800, zero);
      __m128i last = _mm_or_si128(_mm_and_si128(v, low6), mark);
      __m128i middle = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(v, 6), low6), mark);
      __m128i lead2 = _mm_or_si128(_mm_srli_epi16(v, 6), _mm_set1_epi16(0xC0));
      __m128i lead3 = _mm_or_si128(_mm_srli_epi16(v, 12), _mm_set1_epi16(0xE0));
      __m128i lead = _mm_or_si128(_mm_andnot_si128(three, lead2), _mm_and_si128(three, lead3));
      __m128i first = _mm_or_si128(_mm_and_si128(ascii, v), _mm_andnot_si128(ascii, lead));
      __m128i second = _mm_or_si128(_mm_andnot_si128(three, last), _mm_and_si128(three, middle));
      __m128i pair = _mm_packus_epi16(first, second);
      __m128i lasts = _mm_packus_epi16(last, last);
      unsigned longer = ~unsigned(_mm_movemask_epi8(_mm_packs_epi16(ascii, ascii))) & 0xFF;
      unsigned longest = unsigned(_mm_movemask_epi8(_mm_packs_epi16(three, three))) & 0xFF;
      for (int half = 0; half < 2; ++half) {
        unsigned index = unsigned(kSpreadBits[longer & 15]) + kSpreadBits[longest & 15];
        __m128i bytes = _mm_or_si128(_mm_shuffle_epi8(pair, load(kMixedTable.from_pair[index])),
                                     _mm_shuffle_epi8(lasts, load(kMixedTable.from_last[index])));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), bytes);
        o += kMixedTable.count[index];
        pair = _mm_srli_si128(pair, 4);
        lasts = _mm_srli_si128(lasts, 4);
        longer >>= 4;
        longest >>= 4;
      }
    }
    i += 8;
  }
  return {i, o};
}

// The values of the characters that would start at bytes 0-7 (or 8-15) of
// the window, one per 16-bit lane; lanes of continuation bytes are unused.
__attribute__((target("ssse3"))) __m128i window_values(__m128i b0, __m128i b1, __m128i b2,
                                                       __m128i two, __m128i three) {
  __m128i low6 = _mm_set1_epi16(0x3F);
  __m128i v2 = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x1F)), 6),
                            _mm_and_si128(b1, low6));
  __m128i v3 =
      _mm_or_si128(_mm_or_si128(_mm_slli_epi16(_mm_and_si128(b0, _mm_set1_epi16(0x0F)), 12),
                                _mm_slli_epi16(_mm_and_si128(b1, low6), 6)),
                   _mm_and_si128(b2, low6));
  __m128i v = _mm_or_si128(_mm_andnot_si128(two, b0), _mm_and_si128(two, v2));
  return _mm_or_si128(_mm_andnot_si128(three, v), _mm_and_si128(three, v3));
}

// A 16-byte window of UTF-8 and its byte classes, as signed bytes:
// continuation -128..-65, two-byte lead -64..-33, three-byte lead -32..-17,
// longer or invalid leads -16..-1.
struct Window {
  __m128i bytes, two, three;
  unsigned continuations;
  bool ascii, parallel;  // parallel: every continuation byte where its lead expects it
};

__attribute__((target("ssse3"), always_inline)) inline Window classify(const unsigned char* at) {
  Window w;
  w.bytes = load(at);
  w.ascii = _mm_movemask_epi8(w.bytes) == 0;
  if (w.ascii) {
    w.parallel = true;
    return w;
  }
  __m128i b = w.bytes;
  __m128i continuation = _mm_cmplt_epi8(b, _mm_set1_epi8(-64));
  w.two =
      _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(-65)), _mm_cmplt_epi8(b, _mm_set1_epi8(-32)));
  w.three =
      _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(-33)), _mm_cmplt_epi8(b, _mm_set1_epi8(-16)));
  __m128i longer =
      _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(-17)), _mm_cmplt_epi8(b, _mm_setzero_si128()));
  w.continuations = unsigned(_mm_movemask_epi8(continuation));
  unsigned two = unsigned(_mm_movemask_epi8(w.two)), three = unsigned(_mm_movemask_epi8(w.three));
  unsigned expected = (((two | three) << 1) | (three << 2)) & 0xFFFF;
  w.parallel = _mm_movemask_epi8(longer) == 0 && expected == w.continuations;
  return w;
}

// The characters a parallel window decodes: those starting in its first 14 bytes.
unsigned characters(const Window& w) {
  unsigned leads = ~w.continuations & 0x3FFF;
  return unsigned(kDecodeTable.count[leads & 0xFF]) + kDecodeTable.count[leads >> 8];
}

// Stores the first 4 or 8 units of a register.
__attribute__((target("ssse3"))) void store_units(KOCHAR* dest, __m128i units, unsigned width) {
  if (width == 4) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dest), units);
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dest), units);
  }
}

// Stores the first `count` units of a register and keeps the destination's
// units behind them: a later invalid lead leaves its unit as it was.
__attribute__((target("ssse3"))) void store_exactly(KOCHAR* dest, __m128i units, unsigned count) {
  __m128i kept = _mm_andnot_si128(load(kFirstUnits[count].data()), load(dest));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dest), _mm_or_si128(units, kept));
}

// Runs while 64 input bytes remain: a window then produces at most 16 units,
// and the input after it at least 8 more (a sequence spans at most 6 bytes),
// so a store of 8 units at any unit of the window ends before the terminator
// slot of a destination sized by the counting pass.
//
// A parallel window stores 4 or 8 units from each of two points and so
// writes a few units of filler past its characters. When the next window is
// parallel too and has at least as many characters as there is filler, it
// overwrites the filler whichever way it stores; otherwise the stores are made
// exact, so that filler never reaches a unit that an invalid lead leaves as
// it was.
__attribute__((target("ssse3"))) Progress decode_ssse3(KOCHAR* dest, const unsigned char* utf8,
                                                       size_t bytes) {
  const __m128i zero = _mm_setzero_si128();
  size_t i = 0, o = 0;
  if (bytes < kDecodeInputMargin) return {0, 0};
  Window w = classify(utf8);
  while (i + kDecodeInputMargin <= bytes) {
    if (w.ascii) {
      if (dest) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + o), _mm_unpacklo_epi8(w.bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dest + o + 8),
                         _mm_unpackhi_epi8(w.bytes, zero));
      }
      i += 16;
      o += 16;
    } else if (!w.parallel) {
      for (size_t stop = i + 16; i < stop; ++o) {
        i += dest ? decode_step<true>(dest + o, utf8, i, bytes)
                  : decode_step<false>(nullptr, utf8, i, bytes);
      }
    } else {
      unsigned leads = ~w.continuations & 0xFFFF;
      unsigned low = leads & 0xFF, high = (leads >> 8) & 0x3F;
      unsigned later = leads & 0xC000;
      size_t next_i = i + (later ? size_t(__builtin_ctz(later)) : 16);
      Window next = classify(utf8 + next_i);
      if (dest) {
        __m128i b = w.bytes, b1 = _mm_srli_si128(b, 1), b2 = _mm_srli_si128(b, 2);
        __m128i lo = window_values(_mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(b1, zero),
                                   _mm_unpacklo_epi8(b2, zero), _mm_unpacklo_epi8(w.two, w.two),
                                   _mm_unpacklo_epi8(w.three, w.three));
        __m128i hi = window_values(_mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(b1, zero),
                                   _mm_unpackhi_epi8(b2, zero), _mm_unpackhi_epi8(w.two, w.two),
                                   _mm_unpackhi_epi8(w.three, w.three));
        lo = _mm_shuffle_epi8(lo, load(kDecodeTable.mask[low]));
        hi = _mm_shuffle_epi8(hi, load(kDecodeTable.mask[high]));
        unsigned count_low = kDecodeTable.count[low], count_high = kDecodeTable.count[high];
        KOCHAR* second = dest + o + count_low;
        // Four-unit stores where they suffice keep the filler short.
        unsigned width_low = count_low <= 4 ? 4 : 8, width_high = count_high <= 4 ? 4 : 8;
        unsigned reach = width_low > count_low + width_high ? width_low : count_low + width_high;
        unsigned filler = reach - count_low - count_high;
        if (next_i + kDecodeInputMargin <= bytes && next.parallel &&
            (next.ascii || characters(next) >= filler)) {
          store_units(dest + o, lo, width_low);
          store_units(second, hi, width_high);
        } else {
          store_exactly(dest + o, lo, count_low);
          store_exactly(second, hi, count_high);
        }
      }
      o += characters(w);
      i = next_i;
      w = next;
      continue;
    }
    if (i + kDecodeInputMargin <= bytes) w = classify(utf8 + i);
  }
  return {i, o};
}

}  // namespace

// The aligned 16-byte loads may read past the terminator, never past its
// page; the sanitizers would take those bytes for someone else's.
__attribute__((no_sanitize("address", "thread"))) bool vector_scan(const KOCHAR* text,
                                                                   size_t* units,
                                                                   size_t* encoded_bytes) {
  if (reinterpret_cast<uintptr_t>(text) & 1) return false;
  const KOCHAR* p = text;
  size_t extra = 0;  // bytes beyond one per unit
  while (reinterpret_cast<uintptr_t>(p) & 15) {
    if (*p == 0) break;
    extra += size_t(*p >= 0x80) + size_t(*p >= 0x800);
    ++p;
  }
  if (*p != 0 && !(reinterpret_cast<uintptr_t>(p) & 15)) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i ascii_top = _mm_set1_epi16(0x7F), two_byte_top = _mm_set1_epi16(0x7FF);
    // Rounds of at most 8192 blocks keep the 16-bit lane counters (down by at
    // most 2 a block) from wrapping.
    constexpr size_t kBlocksPerRound = 8192;
    for (bool terminator_seen = false; !terminator_seen;) {
      __m128i short_units = zero;  // minus the count of units below 0x80 and below 0x800
      size_t blocks = 0;
      for (; blocks < kBlocksPerRound; ++blocks, p += 8) {
        __m128i v = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(v, zero))) {
          terminator_seen = true;
          break;
        }
        __m128i one_byte = _mm_cmpeq_epi16(_mm_subs_epu16(v, ascii_top), zero);
        __m128i two_bytes = _mm_cmpeq_epi16(_mm_subs_epu16(v, two_byte_top), zero);
        short_units = _mm_add_epi16(short_units, _mm_add_epi16(one_byte, two_bytes));
      }
      __m128i sums = _mm_madd_epi16(short_units, _mm_set1_epi16(1));
      sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0x4E));
      sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, 0xB1));
      extra += size_t(int64_t(blocks) * 16 + _mm_cvtsi128_si32(sums));
    }
  }
  for (; *p; ++p) extra += size_t(*p >= 0x80) + size_t(*p >= 0x800);
  *units = size_t(p - text);
  *encoded_bytes = *units + extra;
  return true;
}

Progress vector_encode(const KOCHAR* text, size_t units, unsigned char* out, size_t room) {
  return has_ssse3() ? encode_ssse3(text, units, out, room) : Progress{0, 0};
}

Progress vector_decode(KOCHAR* dest, const unsigned char* utf8, size_t bytes) {
  return has_ssse3() ? decode_ssse3(dest, utf8, bytes) : Progress{0, 0};
}

#else

bool vector_scan(const KOCHAR*, size_t*, size_t*) { return false; }
Progress vector_encode(const KOCHAR*, size_t, unsigned char*, size_t) { return {0, 0}; }
Progress vector_decode(KOCHAR*, const unsigned char*, size_t) { return {0, 0}; }

#endif

}  // namespace ko::utf8
