/*
 * blob_flat.cpp: the flat shmi_ functions, each forwarding to the operation
 * of the same name on the blob or iterator given first. A null object gives
 * 0 (or null) from the functions that return a size, count or pointer, and
 * SHMI_E_POINTER from those that return a status; the add functions then do
 * nothing.
 */
#include "containers/data_blob.h"

extern "C" {

SH_MI_DATA_BLOB* shmi_CreateDataBlob(void) { return ko::DataBlobAccess::create(); }

uint32_t shmi_DataBlob_AddRef(SH_MI_DATA_BLOB* blob) { return blob ? blob->AddRef() : 0; }

uint32_t shmi_DataBlob_Release(SH_MI_DATA_BLOB* blob) { return blob ? blob->Release() : 0; }

SH_IMI_BLOB_ITER* shmi_DataBlob_GetDataIterator(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->GetDataIterator() : nullptr;
}

uint32_t shmi_DataBlob_Reserve(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->Reserve(size) : 0;
}

uint8_t* shmi_DataBlob_DoingBlockWrite(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->DoingBlockWrite(size) : nullptr;
}

int32_t shmi_DataBlob_GetBlobIterator(SH_MI_DATA_BLOB* blob, SH_IMI_BLOB_ITER** iterator) {
  return blob ? blob->GetBlobIterator(iterator) : SHMI_E_POINTER;
}

uint32_t shmi_DataBlob_GetSize(SH_MI_DATA_BLOB* blob) { return blob ? blob->GetSize() : 0; }

int32_t shmi_DataBlob_Reset(SH_MI_DATA_BLOB* blob) { return blob ? blob->Reset() : SHMI_E_POINTER; }

int32_t shmi_DataBlob_SetSize(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->SetSize(size) : SHMI_E_POINTER;
}

uint8_t* shmi_DataBlob_GetBlockPointer(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->GetBlockPointer() : nullptr;
}

int32_t shmi_DataBlob_Advance(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->Advance(size) : SHMI_E_POINTER;
}

// The add functions of one value: nothing happens on a null blob.
#define KO_BLOB_ADD(name, Type)                                  \
  void shmi_DataBlob_##name(SH_MI_DATA_BLOB* blob, Type value) { \
    if (blob) blob->name(value);                                 \
  }

KO_BLOB_ADD(addByte, uint8_t)
KO_BLOB_ADD(addBool, int)
KO_BLOB_ADD(addUShort, uint16_t)
KO_BLOB_ADD(addShort, int16_t)
KO_BLOB_ADD(addULong, uint32_t)
KO_BLOB_ADD(addLong, int32_t)
KO_BLOB_ADD(addFloat, float)
KO_BLOB_ADD(addDouble, double)
KO_BLOB_ADD(addChar, KOCHAR)
KO_BLOB_ADD(addString, const KOCHAR*)
KO_BLOB_ADD(addDecimal, const KODECIMAL*)
KO_BLOB_ADD(addShBlob, const void*)
KO_BLOB_ADD(addDateTime, const KODATETIME*)
#undef KO_BLOB_ADD

void shmi_DataBlob_addBytes(SH_MI_DATA_BLOB* blob, const void* bytes, uint32_t count) {
  if (blob) blob->addBytes(bytes, count);
}

uint32_t shmi_DataIter_AddRef(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->AddRef() : 0;
}

uint32_t shmi_DataIter_Release(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->Release() : 0;
}

int32_t shmi_DataIter_Reset(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->Reset() : SHMI_E_POINTER;
}

uint32_t shmi_DataIter_GetSize(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->GetSize() : 0;
}

int32_t shmi_DataIter_MoveTo(SH_IMI_BLOB_ITER* iterator, uint32_t position) {
  return iterator ? iterator->MoveTo(position) : SHMI_E_POINTER;
}

uint32_t shmi_DataIter_GetCurrentPosition(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->GetCurrentPosition() : 0;
}

const uint8_t* shmi_DataIter_GetBlockPointer(SH_IMI_BLOB_ITER* iterator) {
  return iterator ? iterator->GetBlockPointer() : nullptr;
}

int32_t shmi_DataIter_Advance(SH_IMI_BLOB_ITER* iterator, uint32_t size) {
  return iterator ? iterator->Advance(size) : SHMI_E_POINTER;
}

// The getters of one value: SHMI_E_POINTER on a null iterator.
#define KO_ITER_GET(name, Type)                                           \
  int32_t shmi_DataIter_##name(SH_IMI_BLOB_ITER* iterator, Type* value) { \
    return iterator ? iterator->name(value) : SHMI_E_POINTER;             \
  }

KO_ITER_GET(GetChar, KOCHAR)
KO_ITER_GET(GetByte, uint8_t)
KO_ITER_GET(GetBool, int)
KO_ITER_GET(GetShort, int16_t)
KO_ITER_GET(GetUShort, uint16_t)
KO_ITER_GET(GetLong, int32_t)
KO_ITER_GET(GetULong, uint32_t)
KO_ITER_GET(GetFloat, float)
KO_ITER_GET(GetDouble, double)
KO_ITER_GET(GetDecimal, KODECIMAL)
KO_ITER_GET(GetDateTime, KODATETIME)
#undef KO_ITER_GET

int32_t shmi_DataIter_GetString(SH_IMI_BLOB_ITER* iterator, KostgContext* context,
                                KostgSubpool* pool, KOCHAR** value) {
  return iterator ? iterator->GetString(context, pool, value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetShBlob(SH_IMI_BLOB_ITER* iterator, KostgContext* context,
                                KostgSubpool* pool, void** value) {
  return iterator ? iterator->GetShBlob(context, pool, value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetBytes(SH_IMI_BLOB_ITER* iterator, void* value, uint32_t count) {
  return iterator ? iterator->GetBytes(value, count) : SHMI_E_POINTER;
}

}  // extern "C"
