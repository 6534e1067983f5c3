/*
 * koshr/datablob.h: the typed data blob (C++ only).
 *
 * A data blob is a reference-counted, growable byte buffer. Typed values are
 * written one after another, big-endian and without type tags, and an
 * iterator reads them back in the same order: writer and reader agree on the
 * sequence of types. Every blob begins with a 10-byte header:
 *
 *   offset 0  2 bytes  0x000A, the header length, big-endian
 *   offset 2  6 bytes  "MIBLOB"
 *   offset 8  1 byte   0
 *   offset 9  1 byte   1: character and string values present
 *
 * Value encodings (multi-byte integers most significant byte first):
 *
 *   byte, bool          1 byte (bool: 1 or 0)
 *   short, ushort       2 bytes
 *   long, ulong, float  4 bytes (float: the IEEE single's bits)
 *   double              8 bytes (the IEEE double's bits)
 *   char                2 bytes, one UTF-16 unit
 *   string              u32 count n of units with the terminator, then n
 *                       units; a null string is the count 0xFFFFFFFF alone
 *   decimal             16 bytes: the KODECIMAL's eight 16-bit words in
 *                       memory order, each big-endian
 *   nested blob         u32 length n, then n bytes
 *   bytes               the bytes, no length
 *   datetime            11 bytes: u32 sub-second, u16 year, then month, day,
 *                       hour, minute, second
 *
 * The objects are offered as two classes behind the interfaces SH_IMI_BLOB
 * and SH_IMI_BLOB_ITER (virtual operations in fixed slot order) and as the
 * flat shmi_ functions, which forward to them. Readers return a status: 0, or
 * one of the SHMI_E_* codes below.
 */
#ifndef KOSHR_DATABLOB_H
#define KOSHR_DATABLOB_H

#ifndef __cplusplus
#error "koshr/datablob.h is a C++ header"
#endif

#include <koshr/storage.h>

/* Status codes. */
#define SHMI_S_OK ((int32_t)0)
#define SHMI_E_NODATA ((int32_t)0x80042801)  /* not enough data left, or a position past the end */
#define SHMI_E_NOCHARS ((int32_t)0x80042802) /* character read from a blob without characters */
#define SHMI_E_NOINTERFACE ((int32_t)0x80004002) /* QueryInterface: not offered */
#define SHMI_E_POINTER ((int32_t)0x80004003)     /* a required pointer argument is null */
#define SHMI_E_OUTOFMEMORY ((int32_t)0x8007000E) /* the buffer or object could not be allocated */

/* An interface identifier, laid out as the platform's GUID. */
struct KOGUID {
  uint32_t data1;
  uint16_t data2;
  uint16_t data3;
  uint8_t data4[8];
};

inline bool operator==(const KOGUID& a, const KOGUID& b) {
  if (a.data1 != b.data1 || a.data2 != b.data2 || a.data3 != b.data3) return false;
  for (int i = 0; i < 8; ++i)
    if (a.data4[i] != b.data4[i]) return false;
  return true;
}

/* {00000000-0000-0000-C000-000000000046} */
constexpr KOGUID IID_IKO_Unknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/* {6B4F5348-0001-4D49-8000-424C4F420001} */
constexpr KOGUID IID_SH_IMI_BLOB = {
    0x6B4F5348, 0x0001, 0x4D49, {0x80, 0, 0x42, 0x4C, 0x4F, 0x42, 0, 0x01}};
/* {6B4F5348-0002-4D49-8000-424C4F420002} */
constexpr KOGUID IID_SH_IMI_BLOB_ITER = {
    0x6B4F5348, 0x0002, 0x4D49, {0x80, 0, 0x42, 0x4C, 0x4F, 0x42, 0, 0x02}};

/* The three first slots of every component interface. */
class IKO_Unknown {
 public:
  virtual int32_t QueryInterface(const KOGUID& iid, void** object) = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;

 protected:
  ~IKO_Unknown() = default;
};

class SH_IMI_BLOB_ITER;
namespace ko {
struct DataBlobAccess;
}

class SH_IMI_BLOB : public IKO_Unknown {
 public:
  /* slot 3: the first byte of the buffer (the header). */
  virtual uint8_t* GetBuffer() = 0;
  /* slot 4: the used size: the highest byte position reserved or written. */
  virtual uint32_t GetSize() = 0;
  /* slot 5: a new iterator (reference count 1) in *iterator; SHMI_E_POINTER
   * for a null out argument, SHMI_E_OUTOFMEMORY when it cannot be made. */
  virtual int32_t GetBlobIterator(SH_IMI_BLOB_ITER** iterator) = 0;
  /* slot 6: makes the used size and the write position `size`; growing
   * reserves and zero-fills. */
  virtual int32_t SetSize(uint32_t size) = 0;
  /* slot 7: empties the blob back to its header (position 10). */
  virtual int32_t Reset() = 0;
  /* slot 8: reserves `size` bytes at the write position and returns where
   * they start (null when the buffer cannot grow); Advance(size) after
   * filling them moves the position past them. */
  virtual uint8_t* DoingBlockWrite(uint32_t size) = 0;
  /* slot 9: the buffer's size in bytes. */
  virtual uint32_t GetCapacity() = 0;
  /* slot 10: the byte at the write position. */
  virtual uint8_t* GetBlockPointer() = 0;
  /* slot 11: moves the write position forward, reserving the bytes passed. */
  virtual int32_t Advance(uint32_t size) = 0;
  /* slot 12: a new iterator (reference count 1), null when it cannot be made. */
  virtual SH_IMI_BLOB_ITER* GetDataIterator() = 0;
  /* slot 13: the character flag (header byte 9). */
  virtual uint32_t HasCharacters() = 0;
  /* slot 14: makes room for `size` bytes at the write position; returns the
   * used size, 0 when the buffer cannot grow. */
  virtual uint32_t Reserve(uint32_t size) = 0;

 protected:
  ~SH_IMI_BLOB() = default;
};

class SH_IMI_BLOB_ITER : public IKO_Unknown {
 public:
  /* slot 3: the blob read (the iterator holds a reference on it). */
  virtual SH_IMI_BLOB* GetBlob() = 0;
  /* The used size the blob had when the iterator was made. */
  virtual uint32_t GetSize() = 0;
  /* Back to the first value (position 10, or 0 for a header-only blob). */
  virtual int32_t Reset() = 0;
  /* The byte at the read position. */
  virtual const uint8_t* GetBlockPointer() = 0;
  /* Skips `size` bytes; SHMI_E_NODATA when fewer remain. */
  virtual int32_t Advance(uint32_t size) = 0;
  /* SHMI_E_NODATA unless position < size. */
  virtual int32_t MoveTo(uint32_t position) = 0;
  virtual uint32_t GetCurrentPosition() = 0;
  virtual int32_t GetChar(KOCHAR* value) = 0;
  /* Allocates the string (terminator included) from the context and
   * sub-pool, or from the block heap when the context is null (then free it
   * with kostg_fee). A null string gives *value null and success. */
  virtual int32_t GetString(KostgContext* context, KostgSubpool* pool, KOCHAR** value) = 0;
  virtual int32_t GetByte(uint8_t* value) = 0;
  /* *value is 1 only for the byte 1, else 0. */
  virtual int32_t GetBool(int* value) = 0;
  virtual int32_t GetShort(int16_t* value) = 0;
  virtual int32_t GetUShort(uint16_t* value) = 0;
  virtual int32_t GetLong(int32_t* value) = 0;
  /* Checks for 2 remaining bytes only, though it reads 4: kept as it stands. */
  virtual int32_t GetULong(uint32_t* value) = 0;
  virtual int32_t GetFloat(float* value) = 0;
  virtual int32_t GetDouble(double* value) = 0;
  virtual int32_t GetDecimal(KODECIMAL* value) = 0;
  /* A nested blob as a length-prefixed block (native u32 length, then the
   * bytes), allocated as GetString allocates. */
  virtual int32_t GetShBlob(KostgContext* context, KostgSubpool* pool, void** value) = 0;
  /* Copies `count` bytes. */
  virtual int32_t GetBytes(void* value, uint32_t count) = 0;
  virtual int32_t GetDateTime(KODATETIME* value) = 0;

 protected:
  ~SH_IMI_BLOB_ITER() = default;
};

/* The blob. Made by shmi_CreateDataBlob, destroyed by its last Release. */
class SH_MI_DATA_BLOB : public SH_IMI_BLOB {
 public:
  int32_t QueryInterface(const KOGUID& iid, void** object) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  uint8_t* GetBuffer() override;
  uint32_t GetSize() override;
  int32_t GetBlobIterator(SH_IMI_BLOB_ITER** iterator) override;
  int32_t SetSize(uint32_t size) override;
  int32_t Reset() override;
  uint8_t* DoingBlockWrite(uint32_t size) override;
  uint32_t GetCapacity() override;
  uint8_t* GetBlockPointer() override;
  int32_t Advance(uint32_t size) override;
  SH_IMI_BLOB_ITER* GetDataIterator() override;
  uint32_t HasCharacters() override;
  uint32_t Reserve(uint32_t size) override;

  /* Typed writes at the write position, which they advance. */
  KOSHR_API void addByte(uint8_t value);
  KOSHR_API void addBool(int value);
  KOSHR_API void addUShort(uint16_t value);
  KOSHR_API void addShort(int16_t value);
  KOSHR_API void addULong(uint32_t value);
  KOSHR_API void addLong(int32_t value);
  KOSHR_API void addFloat(float value);
  KOSHR_API void addDouble(double value);
  KOSHR_API void addChar(KOCHAR value);
  KOSHR_API void addString(const KOCHAR* value);
  KOSHR_API void addDecimal(const KODECIMAL* value);
  /* `block` is a native u32 length followed by that many bytes; null writes
   * an empty nested blob. */
  KOSHR_API void addShBlob(const void* block);
  KOSHR_API void addBytes(const void* bytes, uint32_t count);
  KOSHR_API void addDateTime(const KODATETIME* value);

 private:
  SH_MI_DATA_BLOB() = default;
  ~SH_MI_DATA_BLOB() = default;
  friend struct ko::DataBlobAccess;
  void write(const void* bytes, uint32_t count);

  uint32_t ref_count_ = 1;
  uint8_t* buffer_ = nullptr;
  uint32_t used_size_ = 0;
  uint32_t capacity_ = 0;
  uint32_t position_ = 0;
  uint8_t flags_[2] = {0, 0};
};

KOSHR_BEGIN_C

KOSHR_API SH_MI_DATA_BLOB* shmi_CreateDataBlob(void);

KOSHR_API uint32_t shmi_DataBlob_AddRef(SH_MI_DATA_BLOB* blob);
KOSHR_API uint32_t shmi_DataBlob_Release(SH_MI_DATA_BLOB* blob);
KOSHR_API SH_IMI_BLOB_ITER* shmi_DataBlob_GetDataIterator(SH_MI_DATA_BLOB* blob);
KOSHR_API uint32_t shmi_DataBlob_Reserve(SH_MI_DATA_BLOB* blob, uint32_t size);
KOSHR_API uint8_t* shmi_DataBlob_DoingBlockWrite(SH_MI_DATA_BLOB* blob, uint32_t size);
KOSHR_API int32_t shmi_DataBlob_GetBlobIterator(SH_MI_DATA_BLOB* blob, SH_IMI_BLOB_ITER** iterator);
KOSHR_API uint32_t shmi_DataBlob_GetSize(SH_MI_DATA_BLOB* blob);
KOSHR_API int32_t shmi_DataBlob_Reset(SH_MI_DATA_BLOB* blob);
KOSHR_API int32_t shmi_DataBlob_SetSize(SH_MI_DATA_BLOB* blob, uint32_t size);
KOSHR_API uint8_t* shmi_DataBlob_GetBlockPointer(SH_MI_DATA_BLOB* blob);
KOSHR_API int32_t shmi_DataBlob_Advance(SH_MI_DATA_BLOB* blob, uint32_t size);

KOSHR_API void shmi_DataBlob_addByte(SH_MI_DATA_BLOB* blob, uint8_t value);
KOSHR_API void shmi_DataBlob_addBool(SH_MI_DATA_BLOB* blob, int value);
KOSHR_API void shmi_DataBlob_addUShort(SH_MI_DATA_BLOB* blob, uint16_t value);
KOSHR_API void shmi_DataBlob_addShort(SH_MI_DATA_BLOB* blob, int16_t value);
KOSHR_API void shmi_DataBlob_addULong(SH_MI_DATA_BLOB* blob, uint32_t value);
KOSHR_API void shmi_DataBlob_addLong(SH_MI_DATA_BLOB* blob, int32_t value);
KOSHR_API void shmi_DataBlob_addFloat(SH_MI_DATA_BLOB* blob, float value);
KOSHR_API void shmi_DataBlob_addDouble(SH_MI_DATA_BLOB* blob, double value);
KOSHR_API void shmi_DataBlob_addChar(SH_MI_DATA_BLOB* blob, KOCHAR value);
KOSHR_API void shmi_DataBlob_addString(SH_MI_DATA_BLOB* blob, const KOCHAR* value);
KOSHR_API void shmi_DataBlob_addDecimal(SH_MI_DATA_BLOB* blob, const KODECIMAL* value);
KOSHR_API void shmi_DataBlob_addShBlob(SH_MI_DATA_BLOB* blob, const void* block);
KOSHR_API void shmi_DataBlob_addBytes(SH_MI_DATA_BLOB* blob, const void* bytes, uint32_t count);
KOSHR_API void shmi_DataBlob_addDateTime(SH_MI_DATA_BLOB* blob, const KODATETIME* value);

KOSHR_API uint32_t shmi_DataIter_AddRef(SH_IMI_BLOB_ITER* iterator);
KOSHR_API uint32_t shmi_DataIter_Release(SH_IMI_BLOB_ITER* iterator);
KOSHR_API int32_t shmi_DataIter_Reset(SH_IMI_BLOB_ITER* iterator);
KOSHR_API uint32_t shmi_DataIter_GetSize(SH_IMI_BLOB_ITER* iterator);
KOSHR_API int32_t shmi_DataIter_MoveTo(SH_IMI_BLOB_ITER* iterator, uint32_t position);
KOSHR_API uint32_t shmi_DataIter_GetCurrentPosition(SH_IMI_BLOB_ITER* iterator);
KOSHR_API const uint8_t* shmi_DataIter_GetBlockPointer(SH_IMI_BLOB_ITER* iterator);
KOSHR_API int32_t shmi_DataIter_Advance(SH_IMI_BLOB_ITER* iterator, uint32_t size);
KOSHR_API int32_t shmi_DataIter_GetChar(SH_IMI_BLOB_ITER* iterator, KOCHAR* value);
KOSHR_API int32_t shmi_DataIter_GetString(SH_IMI_BLOB_ITER* iterator, KostgContext* context,
                                          KostgSubpool* pool, KOCHAR** value);
KOSHR_API int32_t shmi_DataIter_GetByte(SH_IMI_BLOB_ITER* iterator, uint8_t* value);
KOSHR_API int32_t shmi_DataIter_GetBool(SH_IMI_BLOB_ITER* iterator, int* value);
KOSHR_API int32_t shmi_DataIter_GetShort(SH_IMI_BLOB_ITER* iterator, int16_t* value);
KOSHR_API int32_t shmi_DataIter_GetUShort(SH_IMI_BLOB_ITER* iterator, uint16_t* value);
KOSHR_API int32_t shmi_DataIter_GetLong(SH_IMI_BLOB_ITER* iterator, int32_t* value);
KOSHR_API int32_t shmi_DataIter_GetULong(SH_IMI_BLOB_ITER* iterator, uint32_t* value);
KOSHR_API int32_t shmi_DataIter_GetFloat(SH_IMI_BLOB_ITER* iterator, float* value);
KOSHR_API int32_t shmi_DataIter_GetDouble(SH_IMI_BLOB_ITER* iterator, double* value);
KOSHR_API int32_t shmi_DataIter_GetDecimal(SH_IMI_BLOB_ITER* iterator, KODECIMAL* value);
KOSHR_API int32_t shmi_DataIter_GetShBlob(SH_IMI_BLOB_ITER* iterator, KostgContext* context,
                                          KostgSubpool* pool, void** value);
KOSHR_API int32_t shmi_DataIter_GetBytes(SH_IMI_BLOB_ITER* iterator, void* value, uint32_t count);
KOSHR_API int32_t shmi_DataIter_GetDateTime(SH_IMI_BLOB_ITER* iterator, KODATETIME* value);

KOSHR_END_C

#endif
