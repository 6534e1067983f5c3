/*
 * save_file.h: the output file of an export, a buffered writer with two modes.
 *
 *   text mode  (osFileOpenNew32 with an encoding): the exporter writes UTF-16
 *              with osFileWrite32; the text gathers in a buffer of UTF-16
 *              units and every full buffer (and the rest at close) is encoded
 *              and written to the disk;
 *   byte mode  (osFileOpenNew32 with kEncodingBytes): the exporter writes
 *              bytes with osFileWrite, gathered the same way.
 *
 * Encodings of the text mode (the exporters pass the caller's number through):
 *
 *   0  the 8-bit code page               2  UTF-8 after EF BB BF
 *   1  UTF-8 without a byte-order mark   3  UTF-16LE after FF FE
 *   4  UTF-16BE after FE FF             -2  the 8-bit code page, one byte per
 *                                            unit ('?' for what needs more)
 *
 * Every write to the disk is checked. The first short write marks the file
 * failed: that write and every later one accept nothing, and closing with a
 * flush reports 0.
 */
#ifndef KOSHR_SAVEAS_SAVE_FILE_H
#define KOSHR_SAVEAS_SAVE_FILE_H

#include <koshr/storage.h>
#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

#include "platform/platform.h"

namespace ko {

enum : int32_t {
  kEncodingAnsi = 0,
  kEncodingUtf8 = 1,
  kEncodingUtf8Bom = 2,
  kEncodingUtf16LeBom = 3,
  kEncodingUtf16BeBom = 4,
  kEncodingBytes = -1,          // byte mode: no text, no encoding
  kEncodingAnsiSingleByte = -2  // the code page, each unit narrowed by itself to one byte
};

struct SaveFile {
  os::FileHandle handle;
  int32_t encoding;
  bool failed;
  bool bom_pending;
  uint8_t* bytes;  // byte mode: the gather buffer; text mode: the encoded output
  size_t byte_capacity;
  size_t byte_used;
  KOCHAR* text;  // text mode: the gather buffer
  size_t text_capacity;
  size_t text_used;
};

// True for the encodings above (kEncodingBytes included).
bool save_encoding_known(int32_t encoding);

// Creates (or empties) the file and its buffers, allocated from the pool.
// False when the encoding is unknown, memory runs out or the file cannot be
// created; nothing is left open then.
bool osFileOpenNew32(SaveFile* file, KostgContext* pool, KostgSubpool* owner, const KOCHAR* path,
                     int32_t encoding);
// Appends UTF-16 text (text mode); the count accepted: `length`, or 0 once a
// write to the disk has failed.
size_t osFileWrite32(SaveFile* file, const KOCHAR* text, size_t length);
// Appends bytes (byte mode); the count accepted, as above.
size_t osFileWrite(SaveFile* file, const void* data, size_t size);
// Writes what is buffered (when `flush`), closes the file and frees the
// buffers. 1 when everything reached the disk, 0 otherwise; without a flush
// the buffered rest is dropped and the result is 0.
int osFileClose(SaveFile* file, KostgContext* pool, bool flush);

// Test seam: the buffer size, in units or bytes, of files opened afterwards
// (0 restores the default of 32,768).
void save_set_buffer_size(size_t units);

// Narrows UTF-16 to the 8-bit code page; '?' for what it cannot represent.
// Writes at most `capacity` bytes (no terminator); returns the count written.
size_t narrow_to_ansi(const KOCHAR* text, size_t length, char* out, size_t capacity);

}  // namespace ko

#endif
