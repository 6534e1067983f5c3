/*
 * text_output.h: the bounded output of every renderer. Writes at most
 * capacity-1 characters and terminates; never allocates.
 *
 * finish() returns the count stored, which is what the renderers' callers
 * get back for their int-sized buffers. The formatter in storage/u16_format.cpp
 * has its own bounded output because its result is the other one: the length
 * the whole text needs, counted past the end of a size_t buffer (snprintf's
 * contract). One class serving both would carry two counts and two capacity
 * types for a loop of three lines.
 */
#ifndef KOSHR_FORMAT_TEXT_OUTPUT_H
#define KOSHR_FORMAT_TEXT_OUTPUT_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko {

class TextOutput {
 public:
  TextOutput(KOCHAR* out, int capacity) : out_(out), limit_(capacity > 0 ? capacity - 1 : 0) {}

  void put(KOCHAR c) {
    if (length_ < limit_) out_[length_++] = c;
  }
  void put_ascii(const char* text) {
    while (*text) put(KOCHAR(static_cast<unsigned char>(*text++)));
  }
  void put_text(const KOCHAR* text) {
    while (*text) put(*text++);
  }
  void repeat(KOCHAR c, int count) {
    for (; count > 0; --count) put(c);
  }
  // A non-negative number, zero-padded to at least `width` digits.
  void put_number(uint64_t value, int width) {
    char reversed[24];
    int count = 0;
    do {
      reversed[count++] = char('0' + value % 10);
      value /= 10;
    } while (value);
    repeat(u'0', width - count);
    while (count) put(KOCHAR(reversed[--count]));
  }
  int finish() {
    out_[length_] = 0;
    return length_;
  }

 private:
  KOCHAR* out_;
  int limit_;
  int length_ = 0;
};

}  // namespace ko

#endif
