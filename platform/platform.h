/*
 * platform.h: every operating-system service KOSHR uses, behind one interface.
 *
 * Two backends implement it: platform/win32 (the Windows API) and
 * platform/posix (Linux). No other folder includes an operating-system
 * header. Where POSIX has no counterpart of a Windows service, the posix
 * backend gives the same behaviour with a small stand-in of its own
 * (INI-file profile and registry, a process-wide clipboard, a prompt
 * handler that answers Cancel when the host installed none).
 *
 * The layer also carries the test seams: the prompt handler and write-fault
 * injection for files.
 */
#ifndef KOSHR_PLATFORM_H
#define KOSHR_PLATFORM_H

#include <koshr/host.h>
#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko::os {

// ---------------------------------------------------------------- files

using FileHandle = intptr_t;
constexpr FileHandle kInvalidFile = -1;

enum FileOpen : unsigned {
  kFileRead = 1,       // open for reading
  kFileWrite = 2,      // open for writing (with kFileRead: both)
  kFileCreate = 4,     // create when missing
  kFileTruncate = 8,   // empty an existing file
  kFileExclusive = 16  // fail when the file exists (with kFileCreate)
};

// Opens a file; kInvalidFile on failure (last_error() tells why).
FileHandle file_open(const KOCHAR* path, unsigned flags);
bool file_close(FileHandle file);
// Positional read; the byte count read (short at end of file), -1 on error.
int64_t file_read_at(FileHandle file, void* buffer, size_t size, uint64_t offset);
// Positional write; the byte count written, -1 on error. Subject to write faults.
int64_t file_write_at(FileHandle file, const void* data, size_t size, uint64_t offset);
// Sequential read and write at the file's own position.
int64_t file_read(FileHandle file, void* buffer, size_t size);
int64_t file_write(FileHandle file, const void* data, size_t size);
int64_t file_seek(FileHandle file, int64_t offset, int whence);  // whence: 0 set, 1 current, 2 end
int64_t file_size(FileHandle file);
bool file_truncate(FileHandle file, uint64_t size);
bool file_flush(FileHandle file);
bool file_delete(const KOCHAR* path);
// Replaces an existing target; the new name is on disk when it returns (the
// folder is synced), so a file written, flushed and renamed survives a crash.
bool file_rename(const KOCHAR* from, const KOCHAR* to);
bool file_exists(const KOCHAR* path);

// ---------------------------------------------------------------- write faults (test seam)

// Once armed, file writes proceed normally until the fault point, which is
// reached either after `after_calls` write calls or after `after_bytes` bytes,
// whichever comes first. At that point and ever after (until cleared) a write
// fails outright (kFail: -1, nothing written) or stores only the bytes up to
// the fault point (kShort: a short count, then -1 for every later write), as
// a full disk would.
enum class WriteFaultKind { kNone, kFail, kShort };
struct WriteFault {
  WriteFaultKind kind = WriteFaultKind::kNone;
  uint64_t after_calls = UINT64_MAX;
  uint64_t after_bytes = UINT64_MAX;
};
void set_write_fault(const WriteFault& fault);
void clear_write_fault();
// A write that fails gives last_error() == kErrorDiskFull. Both file_write and
// file_write_at count as write calls.
// Write calls seen since the last set_write_fault or clear_write_fault.
uint64_t write_calls_seen();

// ---------------------------------------------------------------- errors

// Error codes are the Windows ones on both targets (the posix backend maps
// errno onto them; an errno without a counterpart becomes kErrorPosixBase +
// errno), so callers compare against the same numbers everywhere.
enum : uint32_t {
  kErrorSuccess = 0,
  kErrorFileNotFound = 2,
  kErrorPathNotFound = 3,
  kErrorTooManyOpenFiles = 4,
  kErrorAccessDenied = 5,
  kErrorInvalidHandle = 6,
  kErrorNotEnoughMemory = 8,
  kErrorWriteProtect = 19,
  kErrorSharingViolation = 32,
  kErrorHandleEof = 38,
  kErrorFileExists = 80,
  kErrorInvalidParameter = 87,
  kErrorDiskFull = 112,
  kErrorInsufficientBuffer = 122,
  kErrorMoreData = 234,
  kErrorNoMoreItems = 259,
  kErrorModNotFound = 126,
  kErrorProcNotFound = 127,
  kErrorNoUnicodeTranslation = 1113,
  kErrorIoDevice = 1117,
  kErrorPosixBase = 0x20000000
};
uint32_t last_error();
// The system's text for an error code, without a trailing line break.
size_t error_text(uint32_t code, KOCHAR* out, size_t capacity);

// ---------------------------------------------------------------- modules

using ModuleHandle = void*;
enum ModuleLoad : unsigned { kModuleAlteredSearchPath = 8 };
// Loads a module by file name or path. A name ending in ".dll" loads the
// platform's module (".so" on POSIX).
ModuleHandle module_load(const KOCHAR* name, unsigned flags);
void* module_symbol(ModuleHandle module, const char* name);
void module_free(ModuleHandle module);
// The module of that file name already loaded in the process (matched by file
// name, ".dll" read as the platform's suffix), or null; loads nothing and, as
// GetModuleHandleW, takes no reference.
ModuleHandle module_loaded(const KOCHAR* name);
// SetErrorMode: 1 suppresses the system's critical-error boxes; returns the
// previous mode. POSIX has no such boxes and only keeps the value.
unsigned set_error_mode(unsigned mode);
// The platform's module suffix: ".dll" or ".so".
const KOCHAR* module_suffix();
// Full path of the KOSHR module itself, of the running executable.
size_t own_module_path(KOCHAR* out, size_t capacity);
size_t executable_path(KOCHAR* out, size_t capacity);

// ---------------------------------------------------------------- profile and registry

// The user's profile (win.ini): GetProfileStringW / GetProfileIntW semantics.
// The copied length (without terminator) is returned; a missing key gives
// `fallback` (which may be null for an empty text).
size_t profile_string(const KOCHAR* section, const KOCHAR* key, const KOCHAR* fallback, KOCHAR* out,
                      size_t capacity);
int profile_int(const KOCHAR* section, const KOCHAR* key, int fallback);
// While one lives on a thread, that thread's profile reads share one reading
// of the profile, taken at the first of them: a consistent set of settings
// for one caller reading many keys. Otherwise every read sees the profile as
// it is now.
class ProfileSnapshot {
 public:
  ProfileSnapshot();
  ~ProfileSnapshot();
  ProfileSnapshot(const ProfileSnapshot&) = delete;
  ProfileSnapshot& operator=(const ProfileSnapshot&) = delete;
};
// The private profile ko.ini beside the executable (or `file` when not null).
int private_profile_int(const KOCHAR* section, const KOCHAR* key, int fallback,
                        const KOCHAR* file = nullptr);

enum class Hive { kLocalMachine, kCurrentUser };
// Key paths use backslashes, as "Software\\Vendor\\Product".
bool registry_get_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name, KOCHAR* out,
                         size_t capacity);
bool registry_set_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name,
                         const KOCHAR* value);
bool registry_delete_value(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name);
bool registry_delete_key(Hive hive, const KOCHAR* key_path);
// The index-th direct subkey name of a key; false past the last.
bool registry_enum_subkey(Hive hive, const KOCHAR* key_path, uint32_t index, KOCHAR* out,
                          size_t capacity);

// ---------------------------------------------------------------- asking the user

// Message-box style bits and answers, with the Windows values.
enum : unsigned {
  kBoxOk = 0x0,
  kBoxRetryCancel = 0x5,
  kBoxYesNo = 0x4,
  kBoxIconStop = 0x10,
  kBoxIconExclamation = 0x30,
  kBoxTaskModal = 0x2000
};
enum : int { kAnswerOk = 1, kAnswerCancel = 2, kAnswerRetry = 4, kAnswerYes = 6, kAnswerNo = 7 };
// Asks the user; with a host prompt handler installed, the handler answers.
// Without one: a message box on Windows, kAnswerCancel on POSIX.
int ask_user(const KOCHAR* text, const KOCHAR* caption, unsigned style);
// The handler the host installed with koshr_set_prompt_handler; null when none.
KOSHR_PROMPT_HANDLER prompt_handler();
void beep(unsigned type);
// Unregisters a window class of the library's own module (UnregisterClassW).
// POSIX has no window classes, so nothing happens there.
void unregister_window_class(const KOCHAR* name);
[[noreturn]] void fatal_exit(const KOCHAR* message);

// ---------------------------------------------------------------- clipboard

bool clipboard_set_text(const KOCHAR* text);
// Copies the clipboard text; returns its length, 0 when empty.
size_t clipboard_get_text(KOCHAR* out, size_t capacity);

// ---------------------------------------------------------------- process

bool named_event_exists(const KOCHAR* name);
uint32_t process_id();
uint32_t thread_id();
// A thread-exit hook: when a thread that gave the hook a non-null value ends,
// `on_exit` gets that value. The value travels with the call, so `on_exit`
// needs no thread-local state (on Windows that is gone by then). Returns 0
// when the system has no hook left; hooks last for the process.
uintptr_t thread_exit_hook_create(void (*on_exit)(void* value));
void thread_exit_hook_set(uintptr_t hook, void* value);
// Retires a hook before the library goes: on POSIX the values are dropped, on
// Windows `on_exit` gets every thread's value at once.
void thread_exit_hook_delete(uintptr_t hook);
void yield_thread();
void debug_output(const char* text);
// The OS version as major, minor, build.
void os_version(uint32_t* major, uint32_t* minor, uint32_t* build);
// Reads an environment variable; false when unset or longer than capacity-1.
bool env_get(const char* name, char* out, size_t capacity);

struct LocalTime {
  int year;   // full year, e.g. 2024
  int month;  // 1-12
  int day, hour, minute, second;
  int microsecond;
  int weekday;  // 0 = Sunday
};
LocalTime local_now();
LocalTime utc_now();

// The process-wide critical section: created at load, deleted at unload
// (lifecycle.cpp calls the first and last pair). Recursive.
void process_lock_create();
void process_lock_destroy();
void process_lock();
void process_unlock();

// ---------------------------------------------------------------- 8-bit code page

// MultiByteToWideChar / WideCharToMultiByte on the ANSI code page. A length of
// -1 means zero-terminated (the terminator is then converted and counted).
// With a zero capacity the needed size is returned; 0 means failure.
int ansi_to_utf16(const char* text, int length, KOCHAR* out, int capacity);
int utf16_to_ansi(const KOCHAR* text, int length, char* out, int capacity);
// The C runtime's forms (mbstowcs / wcstombs): the same, except that text the
// code page cannot read or write (a malformed sequence, a missing character)
// fails the whole conversion with 0 instead of being replaced.
int ansi_to_utf16_strict(const char* text, int length, KOCHAR* out, int capacity);
int utf16_to_ansi_strict(const KOCHAR* text, int length, char* out, int capacity);

// ---------------------------------------------------------------- locale-aware characters

KOCHAR char_upper(KOCHAR c);
KOCHAR char_lower(KOCHAR c);
bool char_is_space(KOCHAR c);
bool char_is_alpha(KOCHAR c);
bool char_is_alnum(KOCHAR c);
// lstrcmpW and lstrcmpiW: negative, zero or positive.
int collate(const KOCHAR* a, const KOCHAR* b);
int collate_nocase(const KOCHAR* a, const KOCHAR* b);

// ---------------------------------------------------------------- automation strings, global
// memory

// The SysAllocString family: a 32-bit byte length stands before the text,
// which is zero-terminated.
KOCHAR* sys_alloc_string(const KOCHAR* text);
KOCHAR* sys_alloc_string_len(const KOCHAR* text, uint32_t length);
KOCHAR* sys_alloc_string_byte_len(const char* bytes, uint32_t byte_length);
void sys_free_string(KOCHAR* text);
uint32_t sys_string_len(const KOCHAR* text);
uint32_t sys_string_byte_len(const KOCHAR* text);

// GlobalAlloc family (movable memory is handed out fixed).
enum : unsigned { kGlobalMoveable = 0x2, kGlobalZeroInit = 0x40, kGlobalDdeShare = 0x2000 };
void* global_alloc(unsigned flags, size_t size);
void* global_lock(void* handle);
bool global_unlock(void* handle);
void* global_free(void* handle);  // null on success
size_t global_size(void* handle);

// ---------------------------------------------------------------- page memory (block heap)

// Maps `size` bytes of zero-filled read-write memory at an address that is a
// multiple of `alignment` (a power of two, at least 16 KB); null on failure.
void* pages_map(size_t size, size_t alignment);
// Returns a mapping made by pages_map, whole (same base, same size).
void pages_unmap(void* base, size_t size);
// Maps a region of at least `size` bytes of zero-filled read-write memory, in
// one system call, and returns an address in it that is a multiple of
// `alignment` with `size` bytes from there; null on failure. The region is
// never returned whole: its parts go back with pages_discard.
void* pages_reserve(size_t size, size_t alignment);
// Returns whole pages of a region made by pages_reserve; they are not used again.
void pages_discard(void* base, size_t size);
// The usable size of a block of the C runtime heap (_msize, malloc_usable_size).
size_t runtime_block_size(void* block);

}  // namespace ko::os

#endif
