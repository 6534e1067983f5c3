/*
 * block_io.cpp: retrying reads and writes of library files, and the messages
 * they ask the user with.
 */
#include "library/block_io.h"

#include <koshr/library.h>

#include "platform/resources.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

constexpr uint32_t kFatalDiskError = 21301;
constexpr uint32_t kOutOfSpace = 21302;

const StringResource kLibraryStrings[] = {
    {21300, "IDS_LM_CAPTION", u"Library Manager"},
    {kFatalDiskError, "IDS_LM_FATAL_DISK_ERROR", u"Fatal disk error. Retry?"},
    {kOutOfSpace, "IDS_LM_OUT_OF_SPACE", u"Out of space on disk. Retry?"},
};
KO_STRING_TABLE(library, kLibraryStrings);

bool user_says_retry(const KOCHAR* text) {
  const KOCHAR* caption = resource_string("IDS_LM_CAPTION");
  os::beep(os::kBoxIconStop);
  return os::ask_user(text, caption, os::kBoxRetryCancel | os::kBoxIconStop) == os::kAnswerRetry;
}

// The 21301 question: the system's error number and its own text (the
// resource's "Fatal disk error. Retry?" is deliberately not shown).
bool retry_after_system_error() {
  uint32_t code = os::last_error();
  KOCHAR reason[256];
  os::error_text(code, reason, 256);
  KOCHAR text[300];
  u16_format(text, 300, "0x%08x:%s", code, reason);
  return user_says_retry(text);
}

}  // namespace

int64_t library_read(os::FileHandle file, void* buffer, size_t size, uint64_t offset) {
  for (;;) {
    int64_t got = os::file_read_at(file, buffer, size, offset);
    if (got >= 0) return got;
    if (!retry_after_system_error()) return LMI_E_IO;
  }
}

int32_t library_read_exact(os::FileHandle file, void* buffer, size_t size, uint64_t offset) {
  return library_read(file, buffer, size, offset) == int64_t(size) ? 0 : LMI_E_IO;
}

int32_t library_write(os::FileHandle file, const void* data, size_t size, uint64_t offset) {
  for (;;) {
    int64_t put = os::file_write_at(file, data, size, offset);
    if (put == int64_t(size)) return 0;
    if (put < 0) {
      if (!retry_after_system_error()) return LMI_E_IO;
      continue;
    }
    if (!user_says_retry(resource_string(kOutOfSpace))) return LMI_E_DISK_FULL;
    // Retry: give back what the short write stored, then write it all again.
    int64_t end = os::file_size(file);
    if (end >= put) os::file_truncate(file, uint64_t(end - put));
  }
}

}  // namespace ko
