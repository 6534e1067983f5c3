/*
 * data_blob.cpp: SH_MI_DATA_BLOB, the reference-counted typed byte buffer.
 *
 * Layout of a blob's bytes (big-endian, values untagged):
 *
 *   +--------+----------+------+------+------------------------------+
 *   | 00 0A  | "MIBLOB" | 00   | 01   | values, one after another... |
 *   +--------+----------+------+------+------------------------------+
 *    0        2          8      9      10                 used size ^
 *
 * The buffer comes from the block heap, starts at 4096 bytes and grows in
 * 8192-byte steps. Bytes past the used size are always zero: the first
 * buffer and every grown part are zero-filled, and SetSize clears what it
 * cuts off. The used size only grows (by reservations and writes) except
 * through SetSize; Reset rewrites the header without lowering it.
 */
#include "containers/data_blob.h"

#include <atomic>
#include <cstring>
#include <new>

#include "platform/byte_order.h"
#include "platform/utf16.h"

namespace {

constexpr uint8_t kHeader[ko::kBlobHeaderSize] = {0x00, 0x0A, 'M', 'I',  'B',
                                                  'L',  'O',  'B', 0x00, 0x01};

}  // namespace

SH_MI_DATA_BLOB* ko::DataBlobAccess::create() {
  void* memory = KoHeap_alloc(sizeof(SH_MI_DATA_BLOB), &kSiteDataBlob);
  if (!memory) return nullptr;
  auto* blob = new (memory) SH_MI_DATA_BLOB;
  blob->buffer_ = static_cast<uint8_t*>(KoHeap_alloc(kBlobInitialCapacity, &kSiteDataBlob));
  if (!blob->buffer_) {
    blob->SH_MI_DATA_BLOB::~SH_MI_DATA_BLOB();
    KoHeap_free(memory);
    return nullptr;
  }
  std::memset(blob->buffer_, 0, kBlobInitialCapacity);
  blob->capacity_ = kBlobInitialCapacity;
  blob->Reset();
  return blob;
}

int32_t SH_MI_DATA_BLOB::QueryInterface(const KOGUID& iid, void** object) {
  if (!object) return SHMI_E_POINTER;
  if (iid == IID_IKO_Unknown || iid == IID_SH_IMI_BLOB) {
    *object = static_cast<SH_IMI_BLOB*>(this);
    AddRef();
    return SHMI_S_OK;
  }
  *object = nullptr;
  return SHMI_E_NOINTERFACE;
}

uint32_t SH_MI_DATA_BLOB::AddRef() {
  return std::atomic_ref<uint32_t>(ref_count_).fetch_add(1) + 1;
}

uint32_t SH_MI_DATA_BLOB::Release() {
  uint32_t left = std::atomic_ref<uint32_t>(ref_count_).fetch_sub(1) - 1;
  if (left == 0) {
    ko::KoHeap_free(buffer_);
    this->SH_MI_DATA_BLOB::~SH_MI_DATA_BLOB();
    ko::KoHeap_free(this);
  }
  return left;
}

uint8_t* SH_MI_DATA_BLOB::GetBuffer() { return buffer_; }

uint32_t SH_MI_DATA_BLOB::GetSize() { return used_size_; }

uint32_t SH_MI_DATA_BLOB::GetCapacity() { return capacity_; }

uint8_t* SH_MI_DATA_BLOB::GetBlockPointer() { return buffer_ + position_; }

uint32_t SH_MI_DATA_BLOB::HasCharacters() { return flags_[1]; }

SH_IMI_BLOB_ITER* SH_MI_DATA_BLOB::GetDataIterator() { return ko::make_blob_iterator(this); }

int32_t SH_MI_DATA_BLOB::GetBlobIterator(SH_IMI_BLOB_ITER** iterator) {
  if (!iterator) return SHMI_E_POINTER;
  *iterator = ko::make_blob_iterator(this);
  return *iterator ? SHMI_S_OK : SHMI_E_OUTOFMEMORY;
}

uint32_t SH_MI_DATA_BLOB::Reserve(uint32_t size) {
  uint64_t end = uint64_t(position_) + size;
  if (end >= capacity_) {
    uint64_t capacity = capacity_;
    do capacity += ko::kBlobGrowthStep;
    while (capacity < end);
    if (capacity > UINT32_MAX) return 0;
    auto* grown = static_cast<uint8_t*>(ko::KoHeap_realloc(buffer_, capacity));
    if (!grown) return 0;
    std::memset(grown + capacity_, 0, capacity - capacity_);
    buffer_ = grown;
    capacity_ = uint32_t(capacity);
  }
  if (end > used_size_) used_size_ = uint32_t(end);
  return used_size_;
}

void SH_MI_DATA_BLOB::write(const void* bytes, uint32_t count) {
  if (!SH_MI_DATA_BLOB::Reserve(count)) return;
  std::memcpy(buffer_ + position_, bytes, count);
  position_ += count;
}

int32_t SH_MI_DATA_BLOB::Reset() {
  position_ = 0;
  write(kHeader, sizeof kHeader);
  flags_[0] = kHeader[8];
  flags_[1] = kHeader[9];
  return SHMI_S_OK;
}

int32_t SH_MI_DATA_BLOB::SetSize(uint32_t size) {
  if (size > used_size_) {
    uint32_t old_size = used_size_;
    position_ = old_size;
    if (!SH_MI_DATA_BLOB::Reserve(size - old_size)) return SHMI_E_OUTOFMEMORY;
    std::memset(buffer_ + old_size, 0, size - old_size);
  } else {
    std::memset(buffer_ + size, 0, used_size_ - size);
  }
  used_size_ = size;
  position_ = size;
  return SHMI_S_OK;
}

uint8_t* SH_MI_DATA_BLOB::DoingBlockWrite(uint32_t size) {
  if (size && !SH_MI_DATA_BLOB::Reserve(size)) return nullptr;
  return buffer_ + position_;
}

int32_t SH_MI_DATA_BLOB::Advance(uint32_t size) {
  uint32_t from = position_;
  if (size && !SH_MI_DATA_BLOB::Reserve(size)) return SHMI_E_OUTOFMEMORY;
  position_ += size;
  // A block written over the header brings its flag bytes with it.
  if (from < ko::kBlobHeaderSize && used_size_ >= ko::kBlobHeaderSize) {
    flags_[0] = buffer_[8];
    flags_[1] = buffer_[9];
  }
  return SHMI_S_OK;
}

void SH_MI_DATA_BLOB::addByte(uint8_t value) { write(&value, 1); }

void SH_MI_DATA_BLOB::addBool(int value) { addByte(value ? 1 : 0); }

void SH_MI_DATA_BLOB::addUShort(uint16_t value) {
  uint8_t bytes[2];
  ko::store_be16(bytes, value);
  write(bytes, sizeof bytes);
}

void SH_MI_DATA_BLOB::addShort(int16_t value) { addUShort(uint16_t(value)); }

void SH_MI_DATA_BLOB::addULong(uint32_t value) {
  uint8_t bytes[4];
  ko::store_be32(bytes, value);
  write(bytes, sizeof bytes);
}

void SH_MI_DATA_BLOB::addLong(int32_t value) { addULong(uint32_t(value)); }

void SH_MI_DATA_BLOB::addFloat(float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  addULong(bits);
}

void SH_MI_DATA_BLOB::addDouble(double value) {
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  uint8_t bytes[8];
  ko::store_be64(bytes, bits);
  write(bytes, sizeof bytes);
}

void SH_MI_DATA_BLOB::addChar(KOCHAR value) { addUShort(value); }

void SH_MI_DATA_BLOB::addString(const KOCHAR* value) {
  if (!value) {
    addULong(0xFFFFFFFFu);
    return;
  }
  uint64_t units = uint64_t(ko::u16len(value)) + 1;
  uint64_t bytes = 4 + 2 * units;
  if (bytes > UINT32_MAX || !SH_MI_DATA_BLOB::Reserve(uint32_t(bytes))) return;
  uint8_t* out = buffer_ + position_;
  ko::store_be32(out, uint32_t(units));
  for (uint64_t i = 0; i < units; ++i) ko::store_be16(out + 4 + 2 * i, value[i]);
  position_ += uint32_t(bytes);
}

void SH_MI_DATA_BLOB::addDecimal(const KODECIMAL* value) {
  if (!value) return;
  uint16_t words[8];
  std::memcpy(words, value, sizeof words);
  uint8_t bytes[16];
  for (int i = 0; i < 8; ++i) ko::store_be16(bytes + 2 * i, words[i]);
  write(bytes, sizeof bytes);
}

void SH_MI_DATA_BLOB::addShBlob(const void* block) {
  uint32_t length = 0;
  if (block) std::memcpy(&length, block, sizeof length);
  if (uint64_t(length) + 4 > UINT32_MAX || !SH_MI_DATA_BLOB::Reserve(4 + length)) return;
  addULong(length);
  if (length) write(static_cast<const uint8_t*>(block) + 4, length);
}

void SH_MI_DATA_BLOB::addBytes(const void* bytes, uint32_t count) {
  if (bytes && count) write(bytes, count);
}

void SH_MI_DATA_BLOB::addDateTime(const KODATETIME* value) {
  if (!value) return;
  uint8_t bytes[11];
  ko::store_be32(bytes, value->subsecond);
  ko::store_be16(bytes + 4, value->year);
  bytes[6] = value->month;
  bytes[7] = value->day;
  bytes[8] = value->hour;
  bytes[9] = value->minute;
  bytes[10] = value->second;
  write(bytes, sizeof bytes);
}
