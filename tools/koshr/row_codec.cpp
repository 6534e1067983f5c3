/*
 * row_codec.cpp: the binary form of cells and its buffers (see row_codec.h).
 */
#include "row_codec.h"

#include <algorithm>

namespace koshr_tool {
namespace {

// No string a column holds comes near this; a longer length is damage, and
// must not make the reader allocate it.
constexpr uint32_t kMaxText = 1u << 30;

void put_text(ByteOutput& out, const std::u16string& text) {
  auto length = uint32_t(text.size());
  out.put(&length, sizeof length);
  out.put(text.data(), length * sizeof(char16_t));
}

bool get_text(ByteInput& in, std::u16string& text) {
  uint32_t length = 0;
  if (!in.get(&length, sizeof length) || length > kMaxText) return false;
  text.resize(length);
  return in.get(text.data(), length * sizeof(char16_t));
}

}  // namespace

bool ByteOutput::flush() {
  if (!failed_ && !buffer_.empty()) failed_ = !sink_(buffer_.data(), buffer_.size());
  buffer_.clear();
  return !failed_;
}

bool ByteInput::get_slowly(uint8_t* data, size_t size) {
  while (size > 0) {
    if (at_ == end_) {
      at_ = 0;
      end_ = source_(buffer_.data(), buffer_.size());
      if (end_ == 0) return false;
    }
    size_t part = std::min(size, end_ - at_);
    std::memcpy(data, buffer_.data() + at_, part);
    at_ += part;
    data += part;
    size -= part;
  }
  return true;
}

void put_cell(ByteOutput& out, const CellValue& cell, uint8_t type) {
  uint8_t present = cell.missing ? 0 : 1;
  out.put(&present, 1);
  if (cell.missing) return;
  switch (type) {
    case KOSAVE_DOUBLE:
      out.put(&cell.number, sizeof cell.number);
      return;
    case KOSAVE_DECIMAL:
      out.put(&cell.decimal, sizeof cell.decimal);
      return;
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      out.put(&cell.when, sizeof cell.when);
      put_text(out, cell.text);
      return;
    default:
      put_text(out, cell.text);
  }
}

bool get_cell(ByteInput& in, CellValue& cell, uint8_t type) {
  uint8_t present = 0;
  if (!in.get(&present, 1) || present > 1) return false;
  cell.missing = present == 0;
  if (cell.missing) return true;
  switch (type) {
    case KOSAVE_DOUBLE:
      return in.get(&cell.number, sizeof cell.number);
    case KOSAVE_DECIMAL:
      return in.get(&cell.decimal, sizeof cell.decimal);
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      return in.get(&cell.when, sizeof cell.when) && get_text(in, cell.text);
    default:
      return get_text(in, cell.text);
  }
}

}  // namespace koshr_tool
