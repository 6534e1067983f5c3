// A data-blob iterator reading arbitrary bytes with every getter.
//
// Input: one byte n, then n operation bytes, then the blob's bytes (header
// included, as a saved blob would be loaded). Each operation byte picks a
// getter or a move; the harness checks that a failed read moves nothing and
// that no read carries the position further than its bound allows.
#include <koshr/datablob.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  size_t ops = data[0];
  if (size < 1 + ops) return 0;
  const uint8_t* program = data + 1;
  const uint8_t* bytes = program + ops;
  uint32_t length = uint32_t(size - 1 - ops);

  static KostgContext* context = kostg_begin(0);
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  shmi_DataBlob_SetSize(blob, 0);
  uint8_t* at = shmi_DataBlob_DoingBlockWrite(blob, length);
  if (length) std::memcpy(at, bytes, length);
  shmi_DataBlob_Advance(blob, length);
  SH_IMI_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
  shmi_DataBlob_Release(blob);  // the iterator keeps it
  check(shmi_DataIter_GetSize(it) == length);

  for (size_t i = 0; i < ops; ++i) {
    uint32_t before = shmi_DataIter_GetCurrentPosition(it);
    uint8_t op = program[i];
    int32_t status = SHMI_S_OK;
    uint32_t bound = 0;  // the bytes a successful read may move past
    union {
      uint8_t byte;
      int flag;
      int16_t s;
      uint16_t us;
      int32_t l;
      uint32_t ul;
      float f;
      double d;
      KOCHAR c;
      KODECIMAL dec;
      KODATETIME dt;
      uint8_t raw[64];
    } value;
    KOCHAR* text = nullptr;
    void* nested = nullptr;
    switch (op % 20) {
      case 0:
        status = shmi_DataIter_GetByte(it, &value.byte), bound = 1;
        break;
      case 1:
        status = shmi_DataIter_GetBool(it, &value.flag), bound = 1;
        break;
      case 2:
        status = shmi_DataIter_GetShort(it, &value.s), bound = 2;
        break;
      case 3:
        status = shmi_DataIter_GetUShort(it, &value.us), bound = 2;
        break;
      case 4:
        status = shmi_DataIter_GetLong(it, &value.l), bound = 4;
        break;
      case 5:
        status = shmi_DataIter_GetULong(it, &value.ul), bound = 4;
        break;
      case 6:
        status = shmi_DataIter_GetFloat(it, &value.f), bound = 4;
        break;
      case 7:
        status = shmi_DataIter_GetDouble(it, &value.d), bound = 8;
        break;
      case 8:
        status = shmi_DataIter_GetChar(it, &value.c), bound = 2;
        break;
      case 9:
        status = shmi_DataIter_GetDecimal(it, &value.dec), bound = 16;
        break;
      case 10:
        status = shmi_DataIter_GetDateTime(it, &value.dt), bound = 11;
        break;
      case 11:
        status = shmi_DataIter_GetBytes(it, value.raw, op % 64), bound = op % 64;
        break;
      case 12:
        status = shmi_DataIter_GetString(it, (op & 0x80) ? context : nullptr, nullptr, &text);
        bound = length;
        if (text) {
          size_t units = 0;
          while (text[units]) ++units;  // always terminated
          check(4 + 2 * units <= length);
          kostg_fee(context, text);
        }
        break;
      case 13:
        status = shmi_DataIter_GetShBlob(it, (op & 0x80) ? context : nullptr, nullptr, &nested);
        bound = length;
        if (nested) {
          uint32_t inner;
          std::memcpy(&inner, nested, 4);
          check(4 + uint64_t(inner) <= length);
          kostg_fee(context, nested);
        }
        break;
      case 14:
        status = shmi_DataIter_MoveTo(it, op * 3u), bound = UINT32_MAX;
        break;
      case 15:
        status = shmi_DataIter_Advance(it, op % 32), bound = op % 32;
        break;
      case 16:
        status = shmi_DataIter_Reset(it), bound = UINT32_MAX;
        break;
      default: {
        const uint8_t* p = shmi_DataIter_GetBlockPointer(it);
        uint32_t position = shmi_DataIter_GetCurrentPosition(it);
        if (p && position < length) check(*p == bytes[position]);
        break;
      }
    }
    uint32_t after = shmi_DataIter_GetCurrentPosition(it);
    if (status != SHMI_S_OK) {
      check(after == before);
    } else if (bound != UINT32_MAX) {
      check(after >= before && after - before <= bound);
      // Only GetULong may end past the used size, by its two short bytes.
      check(after == before || after <= length + ((op % 20) == 5 ? 2u : 0u));
    }
  }
  shmi_DataIter_Release(it);
  return 0;
}
