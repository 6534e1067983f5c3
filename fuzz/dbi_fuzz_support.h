/*
 * dbi_fuzz_support.h: what the database-interface fuzz targets share: the
 * input as UTF-16 text in a block of exactly its size (so a read past the
 * terminator is caught), kept below the 1024 characters past which a DBParm
 * item stops the process, and a bare connection context.
 */
#ifndef KOSHR_FUZZ_DBI_FUZZ_SUPPORT_H
#define KOSHR_FUZZ_DBI_FUZZ_SUPPORT_H

#include <koshr/dbi.h>
#include <koshr/storage.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/byte_order.h"

namespace dbi_fuzz {

constexpr size_t kMaxUnits = 1023;

// The bytes as UTF-16 units (pairs, little-endian), terminated.
inline std::unique_ptr<KOCHAR[]> text_of(const uint8_t* data, size_t size,
                                         size_t* units = nullptr) {
  size_t count = size / 2 < kMaxUnits ? size / 2 : kMaxUnits;
  std::unique_ptr<KOCHAR[]> text(new KOCHAR[count + 1]);
  for (size_t i = 0; i < count; ++i) text[i] = ko::load_le16(data + 2 * i);
  text[count] = 0;
  if (units != nullptr) *units = count;
  return text;
}

// A connection context without a driver, on one storage context for the run.
inline DbiContext* bare_context(KOCHAR* dbparm) {
  static KostgContext* storage = kostg_begin(0);
  static DbiContext context;
  std::memset(&context, 0, sizeof context);
  context.storage = storage;
  context.dbparm = dbparm;
  return &context;
}

}  // namespace dbi_fuzz

#endif
