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

uint32_t shmi_DataBlob_AddRef(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->AddRef() : 0;
}

uint32_t shmi_DataBlob_Release(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->Release() : 0;
}

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

uint32_t shmi_DataBlob_GetSize(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->GetSize() : 0;
}

int32_t shmi_DataBlob_Reset(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->Reset() : SHMI_E_POINTER;
}

int32_t shmi_DataBlob_SetSize(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->SetSize(size) : SHMI_E_POINTER;
}

uint8_t* shmi_DataBlob_GetBlockPointer(SH_MI_DATA_BLOB* blob) {
  return blob ? blob->GetBlockPointer() : nullptr;
}

int32_t shmi_DataBlob_Advance(SH_MI_DATA_BLOB* blob, uint32_t size) {
  return blob ? blob->Advance(size) : SHMI_E_POINTER;
}

void shmi_DataBlob_addByte(SH_MI_DATA_BLOB* blob, uint8_t value) {
  if (blob) blob->addByte(value);
}

void shmi_DataBlob_addBool(SH_MI_DATA_BLOB* blob, int value) {
  if (blob) blob->addBool(value);
}

void shmi_DataBlob_addUShort(SH_MI_DATA_BLOB* blob, uint16_t value) {
  if (blob) blob->addUShort(value);
}

void shmi_DataBlob_addShort(SH_MI_DATA_BLOB* blob, int16_t value) {
  if (blob) blob->addShort(value);
}

void shmi_DataBlob_addULong(SH_MI_DATA_BLOB* blob, uint32_t value) {
  if (blob) blob->addULong(value);
}

void shmi_DataBlob_addLong(SH_MI_DATA_BLOB* blob, int32_t value) {
  if (blob) blob->addLong(value);
}

void shmi_DataBlob_addFloat(SH_MI_DATA_BLOB* blob, float value) {
  if (blob) blob->addFloat(value);
}

void shmi_DataBlob_addDouble(SH_MI_DATA_BLOB* blob, double value) {
  if (blob) blob->addDouble(value);
}

void shmi_DataBlob_addChar(SH_MI_DATA_BLOB* blob, KOCHAR value) {
  if (blob) blob->addChar(value);
}

void shmi_DataBlob_addString(SH_MI_DATA_BLOB* blob, const KOCHAR* value) {
  if (blob) blob->addString(value);
}

void shmi_DataBlob_addDecimal(SH_MI_DATA_BLOB* blob, const KODECIMAL* value) {
  if (blob) blob->addDecimal(value);
}

void shmi_DataBlob_addShBlob(SH_MI_DATA_BLOB* blob, const void* block) {
  if (blob) blob->addShBlob(block);
}

void shmi_DataBlob_addBytes(SH_MI_DATA_BLOB* blob, const void* bytes, uint32_t count) {
  if (blob) blob->addBytes(bytes, count);
}

void shmi_DataBlob_addDateTime(SH_MI_DATA_BLOB* blob, const KODATETIME* value) {
  if (blob) blob->addDateTime(value);
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

int32_t shmi_DataIter_GetChar(SH_IMI_BLOB_ITER* iterator, KOCHAR* value) {
  return iterator ? iterator->GetChar(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetString(SH_IMI_BLOB_ITER* iterator, KostgContext* context, KostgSubpool* pool, KOCHAR** value) {
  return iterator ? iterator->GetString(context, pool, value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetByte(SH_IMI_BLOB_ITER* iterator, uint8_t* value) {
  return iterator ? iterator->GetByte(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetBool(SH_IMI_BLOB_ITER* iterator, int* value) {
  return iterator ? iterator->GetBool(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetShort(SH_IMI_BLOB_ITER* iterator, int16_t* value) {
  return iterator ? iterator->GetShort(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetUShort(SH_IMI_BLOB_ITER* iterator, uint16_t* value) {
  return iterator ? iterator->GetUShort(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetLong(SH_IMI_BLOB_ITER* iterator, int32_t* value) {
  return iterator ? iterator->GetLong(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetULong(SH_IMI_BLOB_ITER* iterator, uint32_t* value) {
  return iterator ? iterator->GetULong(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetFloat(SH_IMI_BLOB_ITER* iterator, float* value) {
  return iterator ? iterator->GetFloat(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetDouble(SH_IMI_BLOB_ITER* iterator, double* value) {
  return iterator ? iterator->GetDouble(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetDecimal(SH_IMI_BLOB_ITER* iterator, KODECIMAL* value) {
  return iterator ? iterator->GetDecimal(value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetShBlob(SH_IMI_BLOB_ITER* iterator, KostgContext* context, KostgSubpool* pool, void** value) {
  return iterator ? iterator->GetShBlob(context, pool, value) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetBytes(SH_IMI_BLOB_ITER* iterator, void* value, uint32_t count) {
  return iterator ? iterator->GetBytes(value, count) : SHMI_E_POINTER;
}

int32_t shmi_DataIter_GetDateTime(SH_IMI_BLOB_ITER* iterator, KODATETIME* value) {
  return iterator ? iterator->GetDateTime(value) : SHMI_E_POINTER;
}

}  // extern "C"
