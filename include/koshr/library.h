/*
 * koshr/library.h: library files, the containers of named entries.
 *
 * A caller opens a library with LMI_OpenLibrary and gets a handle; through it
 * at most one entry at a time is open, for reading (mode 1) or for writing
 * (mode 3). Every function returns a signed 32-bit result: 0 or a positive
 * count for success, one of the LMI_E_* codes below for failure.
 *
 * The `pool` argument of every function is the caller's storage context
 * (koshr/storage.h). A handle keeps its memory in a sub-pool of that context,
 * released by LMI_CloseLibrary; strings and lists handed back to the caller
 * come from the context and are released with kostg_fee (one block each).
 *
 * Entry names and created library paths are lower-cased in place (ASCII A-Z
 * only) before use: the caller's buffer changes, hence `KOCHAR*`.
 */
#ifndef KOSHR_LIBRARY_H
#define KOSHR_LIBRARY_H

#include <koshr/storage.h>
#include <koshr/types.h>

typedef struct LmiLibrary LmiLibrary;
typedef LmiLibrary* LMI_HANDLE;

/* Result codes. */
#define LMI_OK 0
#define LMI_E_CREATE_FAILED (-1) /* the new library could not be written (deleted again) */
#define LMI_E_EXISTS (-2)        /* the library to create exists already */
#define LMI_E_IO (-3)            /* read or write failed (Cancel), or LMI_FindEntry missed */
#define LMI_E_FORMAT (-4)        /* no binary section in the text */
#define LMI_E_NO_HANDLE (-6)     /* no library handle, or the library cannot be opened */
#define LMI_E_NO_RESULT (-7)     /* a required result structure is missing */
#define LMI_E_MODE (-9)          /* an entry open mode other than 1 or 3 */
#define LMI_E_NAME (-10)         /* a required name is missing or invalid */
#define LMI_E_NOT_FOUND (-12)    /* the entry does not exist */
#define LMI_E_NOT_OPEN (-13)     /* no entry is open for this operation */
#define LMI_E_READ_IN_MODE3 \
  (-14)                       /* reading in a library of mode 3; LMI_CloseEntry with none open */
#define LMI_E_FORBIDDEN (-15) /* the library's mode forbids the operation */
#define LMI_E_BUSY (-16)      /* an entry is open already, or the named entry is not the open one */
#define LMI_E_DISK_FULL (-17) /* out of disk space (Cancel) */
#define LMI_E_NO_POOL (-19)   /* no storage pool given */

/* Library open modes. */
#define LMI_MODE_READ 1      /* read only */
#define LMI_MODE_READWRITE 2 /* read and write entries */
#define LMI_MODE_HEADER 3    /* write entries and the library's own header; no entry reading */

/* Entry open modes. */
#define LMI_ENTRY_READ 1
#define LMI_ENTRY_WRITE 3

/* Library types. */
#define LMI_TYPE_NONE 0
#define LMI_TYPE_SOURCE 1   /* .kol */
#define LMI_TYPE_COMPILED 2 /* .kod */
#define LMI_TYPE_TEMP 3     /* .tmp */

#define LMI_MAX_COMMENT 256     /* characters of an entry comment */
#define LMI_MAX_LIB_COMMENT 255 /* characters of a library comment */
#define LMI_MAX_NAME 255        /* characters of an entry name */
/* Characters LMI_Build_Export_Header may write, terminator included. */
#define LMI_EXPORT_HEADER_MAX 1100

typedef struct LMI_LIBRARY_INFO {
  uint32_t sccDataLength; /* bytes of source-control data, 0 when none */
  uint32_t timeStamp;     /* seconds since 1970-01-01 UTC */
  KOCHAR*
      comment; /* out: inside the handle (valid while open); in: LMI_ModifyLibrary's new comment */
  KOCHAR version[5]; /* format version, "0600" */
  uint16_t type;     /* header type, low two bits */
} LMI_LIBRARY_INFO;

typedef struct LMI_ENTRY_INFO {
  uint32_t timeStamp;  /* seconds since 1970-01-01 UTC */
  uint32_t objectSize; /* bytes of the object, the comment not counted */
  const KOCHAR* name;  /* inside the handle, valid until the next call on it */
} LMI_ENTRY_INFO;

typedef struct LMI_ENTRY_INFO_EX {
  KOCHAR name[LMI_MAX_NAME + 1];
  KOCHAR comment[LMI_MAX_COMMENT + 1];
  KOCHAR version[5];
  uint32_t timeStamp;
  uint32_t objectSize;    /* the object alone */
  uint32_t dataSize;      /* the stored stream: comment and object */
  uint16_t commentLength; /* characters */
} LMI_ENTRY_INFO_EX;

/* One entry of a listing. Strings live in the same block as the array. */
typedef struct LMI_LIST_ITEM {
  const KOCHAR* name;
  const KOCHAR* comment; /* LMI_ListEntriesExtended only; null otherwise */
  uint32_t timeStamp;
  uint32_t objectSize;
  uint32_t dataSize;
  uint16_t commentLength;
  KOCHAR version[5];
} LMI_LIST_ITEM;

typedef struct LMI_SPACE_INFO {
  uint32_t blocksTotal; /* blocks covered by the bitmap chain up to the library's end */
  uint32_t blocksUsed;
  uint32_t blocksFree;
  uint32_t bitmapBlocks;
} LMI_SPACE_INFO;

/* One 516-byte source-control record. */
typedef struct LMI_SCC_RECORD {
  KOCHAR name[128]; /* entry name, zero-padded */
  KOCHAR data[128]; /* the source-control system's text for it, zero-padded */
  uint32_t flags;   /* the source-control system's status bits */
} LMI_SCC_RECORD;

/* What LMI_CheckLibrary reports. */
#define LMI_CHECK_LEAKED 1 /* blocks marked used that nothing references */
#define LMI_CHECK_DAMAGE 2 /* anything worse */
typedef void (*LMI_CHECK_REPORT)(void* context, int severity, const char* finding);

KOSHR_BEGIN_C

/* Libraries. */
KOSHR_API int32_t LMI_CreateLibrary(KostgContext* pool, KOCHAR* path, const KOCHAR* comment);
KOSHR_API LMI_HANDLE LMI_OpenLibrary(KostgContext* pool, const KOCHAR* path, int mode,
                                     uint32_t bufferSize);
KOSHR_API int32_t LMI_CloseLibrary(LMI_HANDLE library);
KOSHR_API int32_t LMI_DeleteLibrary(KostgContext* pool, const KOCHAR* path);
KOSHR_API int32_t LMI_LibraryInformation(LMI_HANDLE library, LMI_LIBRARY_INFO* info);
KOSHR_API int32_t LMI_ModifyLibrary(LMI_HANDLE library, LMI_LIBRARY_INFO* info);
KOSHR_API int32_t LMI_GetLibraryType(KostgContext* pool, const KOCHAR* path);
KOSHR_API int32_t LMI_ChangeLibraryType(KostgContext* pool, const KOCHAR* path, int type);
KOSHR_API int32_t LMI_GetKOLBinaryType(KostgContext* pool, const KOCHAR* path);
KOSHR_API int32_t LMI_LibrarySpace(LMI_HANDLE library, LMI_SPACE_INFO* info);
/* Verifies a library file; returns the number of findings (0 when sound),
 * each also passed to `report` when given, or a negative code. */
KOSHR_API int32_t LMI_CheckLibrary(KostgContext* pool, const KOCHAR* path, LMI_CHECK_REPORT report,
                                   void* context);

/* An addition of our own, beyond the operations every library offers:
 * rewrites the library at `path` into a new file (a balanced tree of full
 * nodes, each entry's data in one run of blocks, no leaked blocks; the same
 * entries, comments, versions and time stamps, and the same host file when
 * the library is carried in one) that replaces the old file only once it is
 * complete and synced. The library must not be open elsewhere meanwhile.
 * 0, LMI_E_NAME (path missing or too long), LMI_E_NO_HANDLE (not a library),
 * LMI_E_IO (damaged, see LMI_CheckLibrary, or a read or write failed),
 * LMI_E_CREATE_FAILED (the new file cannot be made), LMI_E_DISK_FULL. */
KOSHR_API int32_t LMI_OptimizeLibrary(KostgContext* pool, const KOCHAR* path);

/* Entries. */
KOSHR_API int32_t LMI_OpenEntry(LMI_HANDLE library, KOCHAR* name, int mode, const KOCHAR* comment);
KOSHR_API int32_t LMI_ReadEntry(LMI_HANDLE library, void* buffer, uint32_t count);
KOSHR_API int32_t LMI_WriteEntry(LMI_HANDLE library, const void* buffer, uint32_t count);
KOSHR_API int32_t LMI_CloseEntry(LMI_HANDLE library);
KOSHR_API int32_t LMI_FindEntry(KostgContext* pool, KOCHAR* name, const KOCHAR* path);
KOSHR_API int32_t LMI_EntryExists(LMI_HANDLE library, KOCHAR* name);
KOSHR_API int32_t LMI_EntryInformation(LMI_HANDLE library, KOCHAR* name, LMI_ENTRY_INFO* info);
KOSHR_API int32_t LMI_EntryInfoExtended(LMI_HANDLE library, KOCHAR* name, LMI_ENTRY_INFO_EX* info);
KOSHR_API int32_t LMI_DeleteEntry(LMI_HANDLE library, KOCHAR* name);
/* Copies an entry (comment and object) to `to` as `newName` (null: the same
 * name), replacing an entry of that name. `to` may be `from`. */
KOSHR_API int32_t LMI_CopyEntry(LMI_HANDLE from, KOCHAR* name, LMI_HANDLE to, KOCHAR* newName);
/* Copies the named entries (all of them when names is null) in directory order;
 * returns the count copied. */
KOSHR_API int32_t LMI_CopyEntrySequential(LMI_HANDLE from, LMI_HANDLE to, KOCHAR** names,
                                          uint32_t count);
/* Copies, then deletes the source; within one library this renames. */
KOSHR_API int32_t LMI_MoveEntry(LMI_HANDLE from, KOCHAR* name, LMI_HANDLE to, KOCHAR* newName);
/* Replaces an entry's comment, keeping its object. */
KOSHR_API int32_t LMI_ModifyEntry(LMI_HANDLE library, KOCHAR* name, const KOCHAR* comment);
/* Lists every entry in name order into one block from the pool; returns the count. */
KOSHR_API int32_t LMI_ListEntries(LMI_HANDLE library, KostgContext* pool, LMI_LIST_ITEM** items);
KOSHR_API int32_t LMI_ListEntriesExtended(LMI_HANDLE library, KostgContext* pool,
                                          LMI_LIST_ITEM** items);

/* Entry versions: the four-digit format version kept in each entry record. */
KOSHR_API int32_t LMI_SetEntryVersion(LMI_HANDLE library, KOCHAR* name, const KOCHAR* version);
KOSHR_API int32_t LMI_SetEntryVersionList(LMI_HANDLE library, KOCHAR** names, uint32_t count,
                                          const KOCHAR* version);
KOSHR_API int32_t LMI_GetEntryVersion(LMI_HANDLE library, KOCHAR* name, KOCHAR* version /* 5 */);
/* Puts the entry's version back to the library's own ("0600"). */
KOSHR_API int32_t LMI_DeleteEntryVersion(LMI_HANDLE library, KOCHAR* name);

/* Source-control data. */
KOSHR_API int32_t LMI_GetSCCDataBuffer(LMI_HANDLE library, KostgContext* pool, void** buffer,
                                       uint32_t* length);
KOSHR_API int32_t LMI_SetSCCDataBuffer(LMI_HANDLE library, const void* buffer, uint32_t length);
KOSHR_API int32_t LMI_ListSccMetadata(LMI_HANDLE library, KostgContext* pool,
                                      LMI_SCC_RECORD** records);
KOSHR_API int32_t LMI_DeleteSccMetadata(LMI_HANDLE library);

/* The process-wide library list through which entries are located by name. */
KOSHR_API int32_t LMI_SynchronizeLibraryList(KostgContext* pool, const KOCHAR* const* paths,
                                             uint32_t count);
/* The index in the list of the first library holding `name`, or LMI_E_NOT_FOUND. */
KOSHR_API int32_t LMI_LocateEntry(KOCHAR* name);
KOSHR_API int32_t LMI_RemoveLibraryHashEntry(KOCHAR* name);

/* Executables carrying a library. */
KOSHR_API int32_t LMI_CreateExecutable(KostgContext* pool, const KOCHAR* exePath,
                                       const KOCHAR* stubPath);
KOSHR_API LMI_HANDLE LMI_AppendExecutable(KostgContext* pool, const KOCHAR* exePath,
                                          const KOCHAR* comment);
KOSHR_API int32_t LMI_CloseExecutable(LMI_HANDLE library);
/* Stores each file as an entry named after its file name; returns the count. */
KOSHR_API int32_t LMI_CopyResourceFiles(LMI_HANDLE library, const KOCHAR* const* files,
                                        uint32_t count);

/* Export header and hex-ASCII section. */
KOSHR_API int32_t LMI_Build_Export_Header(KostgContext* pool, LMI_ENTRY_INFO_EX* info,
                                          KOCHAR* buffer, uint32_t* length);
KOSHR_API KOCHAR* LMI_EncryptSpecialChars(KostgContext* pool, const KOCHAR* text);
KOSHR_API KOCHAR* LMI_DecryptSpecialChars(KostgContext* pool, const KOCHAR* text);
KOSHR_API int32_t LMI_GetHexAsciiForEntry(LMI_HANDLE library, KOCHAR* name, KostgContext* pool,
                                          KOCHAR** text, uint32_t* length);
/* An addition of our own: the same section as LMI_GetHexAsciiForEntry, handed
 * to `sink` one line at a time (CR LF included, not terminated) instead of
 * joined in memory, so an entry of any size streams. A non-zero answer from
 * the sink stops and is returned. */
typedef int32_t (*LMI_TEXT_SINK)(void* context, const KOCHAR* text, uint32_t units);
KOSHR_API int32_t LMI_StreamHexAsciiForEntry(LMI_HANDLE library, KOCHAR* name, LMI_TEXT_SINK sink,
                                             void* context);
KOSHR_API int32_t LMI_EntryFromHexAscii(LMI_HANDLE library, KOCHAR* name, const KOCHAR* text,
                                        uint32_t length);

KOSHR_END_C

#endif
