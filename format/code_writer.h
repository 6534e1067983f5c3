/*
 * code_writer.h: appends codes to a caller's compiled-format buffer without
 * ever writing past its capacity, and keeps the section headers.
 *
 * Every compiler writes through one CodeWriter; running out of room sets a
 * flag that close() turns into error 1 at the end (the buffer then holds no
 * usable program).
 */
#ifndef KOSHR_FORMAT_CODE_WRITER_H
#define KOSHR_FORMAT_CODE_WRITER_H

#include "format/format_codes.h"

namespace ko {

class CodeWriter {
 public:
  CodeWriter(KOFMTCODE* buffer, int capacity)
      : buffer_(buffer), capacity_(buffer && capacity > 0 ? capacity : 0) {}

  void put(KOFMTCODE code) {
    if (size_ < capacity_) {
      buffer_[size_++] = code;
    } else {
      overflow_ = true;
    }
  }
  void put_text(const KOCHAR* text, size_t length) {
    for (size_t i = 0; i < length; ++i) put(text[i]);
  }
  // Reads or changes a code already written (no-op past the end).
  KOFMTCODE at(int index) const { return index >= 0 && index < size_ ? buffer_[index] : 0; }
  void set(int index, KOFMTCODE code) {
    if (index >= 0 && index < size_) buffer_[index] = code;
  }
  void add(int index, int delta) { set(index, KOFMTCODE(at(index) + delta)); }

  // Opens a section: writes its header and returns where it starts.
  int begin_section(KOFMTCODE section_code) {
    int start = size_;
    put(section_code);
    for (int i = 1; i < kSectionHeaderSize; ++i) put(0);
    return start;
  }
  // Closes the section opened at `start`, recording its length, flags and digits.
  void end_section(int start, KOFMTCODE flags, int digits) {
    set(start + kHeaderLength, KOFMTCODE(size_ - start));
    set(start + kHeaderFlags, flags);
    set(start + kHeaderDigits, KOFMTCODE(digits));
  }
  // The section opened at `start` when all of it fits in the buffer.
  KOFMTCODE* section_at(int start) {
    return overflow_ || start + kSectionHeaderSize > size_ ? nullptr : buffer_ + start;
  }
  // Ends the program of a compilation that returned `error`: a buffer too
  // small turns success into SHFORMAT_ERR_SIZE, and a failed compilation
  // leaves an empty program behind. Returns the final error.
  int close(int error) {
    if (error == 0) {
      put(kCodeEnd);
      put(0);
      if (overflow()) error = SHFORMAT_ERR_SIZE;
    }
    if (error && capacity_ > 0) buffer_[0] = 0;
    return error;
  }

  int size() const { return size_; }
  bool overflow() const { return overflow_ || capacity_ == 0; }

 private:
  KOFMTCODE* buffer_;
  int capacity_;
  int size_ = 0;
  bool overflow_ = false;
};

// The checks every compiler makes before it starts: 0 when the arguments
// are usable, else the error (a null format leaves an empty program).
inline int check_compile_arguments(const KOCHAR* format, KOFMTCODE* compiled, int capacity) {
  if (!compiled || capacity <= 0) return SHFORMAT_ERR_SIZE;
  if (!format) {
    compiled[0] = 0;
    return SHFORMAT_ERR_INTERNAL;
  }
  return 0;
}

}  // namespace ko

#endif
