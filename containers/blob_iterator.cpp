/*
 * blob_iterator.cpp: SH_MI_DATA_BLOB_ITER, the reader of a data blob.
 *
 * An iterator holds a reference on its blob and reads the values back in
 * the order they were written. It sees the used size the blob had when the
 * iterator was made; every reader first checks that its bytes lie between
 * the read position and that size (else SHMI_E_NODATA, reading nothing).
 * GetULong alone checks for 2 bytes and reads 4, kept as it stands: bytes it
 * takes past the size come from the blob's buffer, where they are zero unless
 * written since; it never reads past the buffer.
 */
#include <atomic>
#include <cstring>
#include <new>

#include "containers/data_blob.h"
#include "platform/byte_order.h"

class SH_MI_DATA_BLOB_ITER final : public SH_IMI_BLOB_ITER {
 public:
  explicit SH_MI_DATA_BLOB_ITER(SH_MI_DATA_BLOB* blob)
      : blob_(blob), size_(blob->GetSize()), char_flag_(blob->HasCharacters()) {
    blob_->AddRef();
    position_ = start();
  }

  int32_t QueryInterface(const KOGUID& iid, void** object) override {
    if (!object) return SHMI_E_POINTER;
    if (iid == IID_IKO_Unknown || iid == IID_SH_IMI_BLOB_ITER) {
      *object = static_cast<SH_IMI_BLOB_ITER*>(this);
      AddRef();
      return SHMI_S_OK;
    }
    *object = nullptr;
    return SHMI_E_NOINTERFACE;
  }

  uint32_t AddRef() override { return std::atomic_ref<uint32_t>(ref_count_).fetch_add(1) + 1; }

  uint32_t Release() override {
    uint32_t left = std::atomic_ref<uint32_t>(ref_count_).fetch_sub(1) - 1;
    if (left == 0) {
      SH_MI_DATA_BLOB* blob = blob_;
      this->~SH_MI_DATA_BLOB_ITER();
      ko::KoHeap_free(this);
      blob->Release();
    }
    return left;
  }

  SH_IMI_BLOB* GetBlob() override { return blob_; }
  uint32_t GetSize() override { return size_; }
  uint32_t GetCurrentPosition() override { return position_; }

  int32_t Reset() override {
    position_ = start();
    return SHMI_S_OK;
  }

  // Null when GetULong has carried the position past the buffer's end.
  const uint8_t* GetBlockPointer() override {
    return position_ <= capacity() ? buffer() + position_ : nullptr;
  }

  int32_t Advance(uint32_t size) override {
    if (!has(size)) return SHMI_E_NODATA;
    position_ += size;
    return SHMI_S_OK;
  }

  int32_t MoveTo(uint32_t position) override {
    if (position >= size_) return SHMI_E_NODATA;
    position_ = position;
    return SHMI_S_OK;
  }

  int32_t GetByte(uint8_t* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(1)) return SHMI_E_NODATA;
    *value = buffer()[position_++];
    return SHMI_S_OK;
  }

  int32_t GetBool(int* value) override {
    uint8_t byte;
    if (!value) return SHMI_E_POINTER;
    int32_t status = GetByte(&byte);
    if (status == SHMI_S_OK) *value = byte == 1;
    return status;
  }

  int32_t GetUShort(uint16_t* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(2)) return SHMI_E_NODATA;
    *value = ko::load_be16(take(2));
    return SHMI_S_OK;
  }

  int32_t GetShort(int16_t* value) override {
    return value ? GetUShort(reinterpret_cast<uint16_t*>(value)) : SHMI_E_POINTER;
  }

  int32_t GetLong(int32_t* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(4)) return SHMI_E_NODATA;
    *value = int32_t(ko::load_be32(take(4)));
    return SHMI_S_OK;
  }

  int32_t GetULong(uint32_t* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(2)) return SHMI_E_NODATA;
    uint8_t bytes[4] = {0, 0, 0, 0};
    uint32_t in_buffer = capacity() - position_;
    std::memcpy(bytes, buffer() + position_, in_buffer < 4 ? in_buffer : 4);
    position_ += 4;
    *value = ko::load_be32(bytes);
    return SHMI_S_OK;
  }

  int32_t GetFloat(float* value) override {
    uint32_t bits;
    if (!value) return SHMI_E_POINTER;
    if (!has(4)) return SHMI_E_NODATA;
    bits = ko::load_be32(take(4));
    std::memcpy(value, &bits, sizeof bits);
    return SHMI_S_OK;
  }

  int32_t GetDouble(double* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(8)) return SHMI_E_NODATA;
    uint64_t bits = ko::load_be64(take(8));
    std::memcpy(value, &bits, sizeof bits);
    return SHMI_S_OK;
  }

  int32_t GetChar(KOCHAR* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!char_flag_) return SHMI_E_NOCHARS;
    if (!has(2)) return SHMI_E_NODATA;
    *value = ko::load_be16(take(2));
    return SHMI_S_OK;
  }

  // The string is handed over with a terminator after its stored units, so a
  // stored string that lacks its own still ends.
  int32_t GetString(KostgContext* context, KostgSubpool* pool, KOCHAR** value) override {
    if (!value) return SHMI_E_POINTER;
    *value = nullptr;
    if (!char_flag_) return SHMI_E_NOCHARS;
    if (!has(4)) return SHMI_E_NODATA;
    uint32_t count = ko::load_be32(buffer() + position_);
    if (count == 0xFFFFFFFFu) {
      position_ += 4;
      return SHMI_S_OK;
    }
    if (!has(4 + 2 * uint64_t(count))) return SHMI_E_NODATA;
    auto* text = static_cast<KOCHAR*>(allocate(context, pool, (uint64_t(count) + 1) * 2));
    if (!text) return SHMI_E_OUTOFMEMORY;
    const uint8_t* in = take(4 + 2 * count) + 4;
    for (uint32_t i = 0; i < count; ++i) text[i] = ko::load_be16(in + 2 * i);
    text[count] = 0;
    *value = text;
    return SHMI_S_OK;
  }

  int32_t GetDecimal(KODECIMAL* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(16)) return SHMI_E_NODATA;
    const uint8_t* in = take(16);
    uint16_t words[8];
    for (int i = 0; i < 8; ++i) words[i] = ko::load_be16(in + 2 * i);
    std::memcpy(value, words, sizeof words);
    return SHMI_S_OK;
  }

  int32_t GetShBlob(KostgContext* context, KostgSubpool* pool, void** value) override {
    if (!value) return SHMI_E_POINTER;
    *value = nullptr;
    if (!has(4)) return SHMI_E_NODATA;
    uint32_t length = ko::load_be32(buffer() + position_);
    if (!has(4 + uint64_t(length))) return SHMI_E_NODATA;
    auto* block = static_cast<uint8_t*>(allocate(context, pool, 4 + uint64_t(length)));
    if (!block) return SHMI_E_OUTOFMEMORY;
    std::memcpy(block, &length, 4);
    std::memcpy(block + 4, take(4 + length) + 4, length);
    *value = block;
    return SHMI_S_OK;
  }

  int32_t GetBytes(void* value, uint32_t count) override {
    if (count == 0) return SHMI_S_OK;
    if (!value) return SHMI_E_POINTER;
    if (!has(count)) return SHMI_E_NODATA;
    std::memcpy(value, take(count), count);
    return SHMI_S_OK;
  }

  int32_t GetDateTime(KODATETIME* value) override {
    if (!value) return SHMI_E_POINTER;
    if (!has(11)) return SHMI_E_NODATA;
    const uint8_t* in = take(11);
    value->subsecond = ko::load_be32(in);
    value->year = ko::load_be16(in + 4);
    value->month = in[6];
    value->day = in[7];
    value->hour = in[8];
    value->minute = in[9];
    value->second = in[10];
    value->spare = 0;
    return SHMI_S_OK;
  }

 private:
  ~SH_MI_DATA_BLOB_ITER() = default;

  // Behind the header when the blob holds values, else at its first byte.
  uint32_t start() const { return size_ > ko::kBlobHeaderSize ? ko::kBlobHeaderSize : 0; }
  const uint8_t* buffer() const { return ko::DataBlobAccess::buffer(blob_); }
  uint32_t capacity() const { return ko::DataBlobAccess::capacity(blob_); }

  bool has(uint64_t count) const { return position_ <= size_ && size_ - position_ >= count; }

  // The next `count` bytes, which has() has vouched for; advances past them.
  const uint8_t* take(uint32_t count) {
    const uint8_t* at = buffer() + position_;
    position_ += count;
    return at;
  }

  static void* allocate(KostgContext* context, KostgSubpool* pool, uint64_t size) {
    return context ? kostg_alc(context, size, pool) : ko::KoHeap_alloc(size, &ko::kSiteBlobValue);
  }

  uint32_t ref_count_ = 1;
  SH_MI_DATA_BLOB* blob_;
  uint32_t size_;
  uint32_t position_ = 0;
  uint32_t char_flag_;
};

SH_IMI_BLOB_ITER* ko::make_blob_iterator(SH_MI_DATA_BLOB* blob) {
  void* memory = KoHeap_alloc(sizeof(SH_MI_DATA_BLOB_ITER), &kSiteBlobIterator);
  return memory ? new (memory) SH_MI_DATA_BLOB_ITER(blob) : nullptr;
}
