/*
 * koshr/dbi.h: the database interface every driver shares.
 *
 * A connection is a DbiContext. The front end loads the driver library named
 * after the DBMS, fills the context and calls the driver's dispatch entry
 * ("KO_DB_Rout") with the operation code written into it; the driver answers
 * in the same context (return code, SQL code, message, result word). Every
 * DBI_ function returns 0; the outcome is read from the context.
 *
 * Beside the connection the family keeps the parsed connection parameters
 * (DbiParm records), the SQL keyword scanner, the per-connection statement
 * cache and the extended-attribute catalog tables. Drivers get the front
 * end's shared services (list walking, the catalog row reader) through the
 * table the context points at, so a driver needs no link to this library.
 */
#ifndef KOSHR_DBI_H
#define KOSHR_DBI_H

#include <koshr/hashtable.h>
#include <koshr/lists.h>
#include <koshr/storage.h>
#include <koshr/types.h>

/* ---------------------------------------------------------------- codes */

/* Operation codes written into the context before the driver is called. */
#define DBI_OP_CONNECT 3
#define DBI_OP_DISCONNECT 4
#define DBI_OP_LOGIN 35
#define DBI_OP_PARSE 76
#define DBI_OP_FORMAT_TABLE 89
#define DBI_OP_VALIDATION_TABLE 90
#define DBI_OP_NEW_PARAMETERS 170
#define DBI_OP_EDIT_STYLE_TABLE 215
#define DBI_OP_EDIT_UPDATE 217
#define DBI_OP_NATIVE_HANDLE 226
#define DBI_OP_ASSERTION 241
#define DBI_OP_CLOSE_STATEMENT 247
#define DBI_OP_TXN_SERVER_PROBE 296

/* The return code of errors raised by the interface itself (SQL code -1). */
#define DBI_RC_ERROR 999

/* Load flag: the driver comes from this library's own folder and is freed
 * when asked. */
#define DBI_LOAD_OWN_FOLDER 0x1000

#define DBI_MESSAGE_LENGTH 512
#define DBI_DBMS_LENGTH 256
#define DBI_NAME_LENGTH 200

typedef struct DbiContext DbiContext;
typedef struct DbiServices DbiServices;
typedef struct SqlCache SqlCache;

/* A driver's dispatch entry: does what context->operation says. */
typedef int32_t (*DbiDriverEntry)(DbiContext* context);

/* ---------------------------------------------------------------- connection */

struct DbiContext {
  KOCHAR message[DBI_MESSAGE_LENGTH]; /* text of the last error */
  int32_t operation;                  /* what the driver is asked to do */
  int32_t return_code;                /* 0, or DBI_RC_ERROR */
  intptr_t result;                    /* result word: a list, a handle, an entry */
  DbiDriverEntry driver;              /* the loaded library's dispatch entry */
  void* module;                       /* the driver library */
  KOCHAR dbms[DBI_DBMS_LENGTH];       /* DBMS name as the caller gave it */
  KOCHAR* login[3];                   /* two identification strings, then the password */
  KOCHAR* connect[4];                 /* strings stored by DBI_Connect */
  KOCHAR* dbparm;                     /* the raw DBParm text */
  shlistx* parms;                     /* parsed-parameter list handed to the driver */
  int32_t sql_code;                   /* -1 with DBI_RC_ERROR */
  uint32_t flags;                     /* load flags (DBI_LOAD_OWN_FOLDER) */
  int16_t commit_on_disconnect;
  int16_t use_context_object;
  int16_t context_object_transaction;
  int16_t commit_disabled; /* commit disabled by the log-in, to re-enable */
  KostgContext* storage;   /* every string and record of the connection */
  KostgSubpool* subpool;

  /* keyword scanning */
  const KOCHAR* scan_text;   /* text of the last scan */
  uint32_t keyword_position; /* characters from scan_text, 0 when none */
  uint32_t keyword_length;
  const KOCHAR* tail;      /* tail of the last SELECT located */
  const KOCHAR* statement; /* statement handed to DBI_Parse */

  /* statement cache */
  SqlCache* sql_cache;
  const KOCHAR* cache_statistics;
  int32_t sub_operation;

  /* catalog tables */
  int16_t catalog_access_off; /* 1: the catalog tables are not read */
  ShHashTable* format_table;
  ShHashTable* validation_table;
  ShHashTable* edit_style_table;
  void* edit_record; /* DBI_EditUpdate's record */

  /* runtime */
  void* connection_object;     /* shared driver-side connection object */
  KOCHAR* security_connect;    /* security connection string, when opened from one */
  KOCHAR* trace_file;          /* pending trace file, closed at disconnect */
  const DbiServices* services; /* shared services offered to the driver */
  void* driver_connection;     /* addition of ours: the driver's own state, its to free */
};

/* One DBParm keyword. */
typedef struct DbiParm {
  KOCHAR* name;   /* as written, case kept */
  KOCHAR* text;   /* quoted value, or null */
  int32_t number; /* unquoted all-digit value, else 0 */
  int32_t reserved_flags;
  void* reserved[2];
} DbiParm;

/* ---------------------------------------------------------------- statement cache */

struct SqlCache {
  shlistx* entries; /* waiting entries, most recently returned first */
  uint32_t capacity;
  uint32_t hits;
  uint32_t misses;
};

typedef struct SqlCacheEntry {
  KOCHAR* text;         /* key: SQL text without its leading blanks */
  shlistx* description; /* compact column records, or null */
  void* statement;      /* the driver's prepared statement */
  uint32_t uses;
  uint32_t key_hash; /* hash of the text: look-ups compare it before the text */
} SqlCacheEntry;

/* A result column as the driver's describe step gives it. The two texts and
 * the twelve attributes from sql_type to key_column are what a cached
 * description keeps; the rest is the driver's working state. */
typedef struct DbiColumnDescriptor {
  KOCHAR* name;
  KOCHAR* type_name;
  int32_t sql_type;
  int32_t data_type;
  int32_t length;
  int32_t precision;
  int32_t scale;
  int32_t nullable;
  int32_t display_width;
  int32_t alignment;
  int32_t updatable;
  int32_t identity;
  int32_t case_sensitive;
  int32_t key_column;
  int32_t bind_type;
  int32_t bind_length;
  void* bind_buffer;
  void* driver_data;
} DbiColumnDescriptor;

/* ---------------------------------------------------------------- catalog tables */

/* Which catalog table a row comes from. */
#define DBI_CATALOG_TABLES 1      /* kocattbl */
#define DBI_CATALOG_COLUMNS 2     /* kocatcol */
#define DBI_CATALOG_FORMATS 3     /* kocatfmt */
#define DBI_CATALOG_VALIDATION 4  /* kocatvld */
#define DBI_CATALOG_EDIT_STYLES 5 /* kocatedt */

#define DBI_FACE_LENGTH 32 /* face and style names: 31 characters and a terminator */

/* One column value of a catalog row, as the driver's result set delivers it. */
#define DBI_VALUE_NULL 0
#define DBI_VALUE_TEXT 1
#define DBI_VALUE_INTEGER 2
typedef struct DbiCatalogValue {
  const KOCHAR* column; /* column name, any case */
  int32_t kind;         /* DBI_VALUE_* */
  const KOCHAR* text;
  int64_t integer;
} DbiCatalogValue;

typedef struct DbiFontAttributes {
  int16_t height;
  int16_t weight;
  int16_t italic;
  int16_t underline;
  int16_t charset;
  int16_t pitch_family;
  KOCHAR face[DBI_FACE_LENGTH];
} DbiFontAttributes;

typedef struct DbiTableAttributes { /* kocattbl */
  DbiFontAttributes data;           /* kod_ */
  DbiFontAttributes heading;        /* koh_ */
  DbiFontAttributes label;          /* kol_ */
  KOCHAR* comment;
} DbiTableAttributes;

typedef struct DbiColumnAttributes { /* kocatcol */
  const KOCHAR* name;                /* the column's name (the driver's), matched by koc_cnam */
  KOCHAR* label;
  int16_t label_position;
  int16_t heading_position;
  KOCHAR* heading;
  int16_t justify;
  int16_t case_setting;
  int16_t height;
  int16_t width;
  KOCHAR* mask;
  KOCHAR* pattern;
  int16_t bitmap;
  KOCHAR* initial;
  KOCHAR* comment;
  KOCHAR* edit_style;
} DbiColumnAttributes;

typedef struct DbiFormatRecord { /* kocatfmt */
  KOCHAR* name;
  int32_t catalog; /* DBI_CATALOG_* of the table the record belongs to */
  KOCHAR* format;
  int16_t type;
  int32_t counter;
} DbiFormatRecord;

typedef struct DbiValidationRecord { /* kocatvld */
  KOCHAR* name;
  int32_t catalog; /* DBI_CATALOG_* of the table the record belongs to */
  KOCHAR* rule;
  int16_t type;
  int32_t counter;
  KOCHAR* message;
} DbiValidationRecord;

typedef struct DbiEditStyleRow { /* kocatedt */
  KOCHAR* name;
  int32_t catalog; /* DBI_CATALOG_* of the table the record belongs to */
  KOCHAR* edit;
  int16_t type;
  int16_t sequence;
  int32_t counter;
  KOCHAR* work;
  int32_t flags;
} DbiEditStyleRow;

/* Edit-style types. */
#define DBI_EDIT_CHECK_BOX 85
#define DBI_EDIT_DROP_DOWN_LIST 86
#define DBI_EDIT_RADIO_BUTTONS 87
#define DBI_EDIT_MASK 88
#define DBI_EDIT_DATA_LIST 89
#define DBI_EDIT_FIELD 90
#define DBI_EDIT_FORMATTED 91

/* The description of one edit style, built from its rows. */
typedef struct DbiEditStyle {
  int32_t type;
  int32_t flags;                /* first row's koe_flag */
  KOCHAR name[DBI_FACE_LENGTH]; /* style name, at most 31 characters */
  int16_t setting;              /* number in the first row's text (86, 87, 90) */
  KOCHAR option;                /* first character of the first row's koe_work (87, 91) */
  KOCHAR* text;                 /* first row's text (85 label, 88 mask, 89 source, 91 format) */
  KOCHAR* extra;                /* first row's koe_work (85, 88, 89, 90) */
  KOCHAR* code_table;           /* the following rows' items, see DBI_EditStyleInfo */
} DbiEditStyle;

/* Where DBI_EditStyleInfo builds a description: the pool it allocates from. */
typedef struct DbiEditStyleHolder {
  KostgContext* storage;
  KostgSubpool* subpool;
  DbiEditStyle* style;
} DbiEditStyleHolder;

/* An assertion reported through DBI_OP_ASSERTION (in the result word). */
typedef struct DbiAssertion {
  const KOCHAR* text;
  const KOCHAR* source;
} DbiAssertion;

/* ---------------------------------------------------------------- driver services */

/* The front end's services a driver may call back through context->services. */
struct DbiServices {
  uint32_t size; /* sizeof(DbiServices) */
  void* (*list_first)(shlistx* list);
  void* (*list_next)(shlistx* list);
  uint32_t (*list_count)(shlistx* list);
  /* 1 for the five catalog tables' names (any case), else 0. */
  int32_t (*is_catalog_table)(const KOCHAR* table);
  /* A new empty table for DBI_CATALOG_FORMATS, _VALIDATION or _EDIT_STYLES. */
  ShHashTable* (*catalog_new_table)(DbiContext* context, int32_t catalog);
  /* Reads one row into a new record of the table; 1 when stored. */
  int32_t (*catalog_add_row)(DbiContext* context, ShHashTable* table, int32_t catalog,
                             const DbiCatalogValue* values, uint32_t count);
  /* Reads one kocattbl row into `table`. */
  void (*read_table_attributes)(DbiContext* context, DbiTableAttributes* table,
                                const DbiCatalogValue* values, uint32_t count);
  /* Reads one kocatcol row into the column record whose name is its koc_cnam. */
  void (*read_column_attributes)(DbiContext* context, DbiColumnAttributes* columns,
                                 uint32_t column_count, const DbiCatalogValue* values,
                                 uint32_t count);
  /* Additions of ours: the context's DBParm text parsed (DBI_ParseParms; null
   * when empty), a keyword looked up (DBI_GetParm), a switch read
   * (DBI_YesTrue1) and the list released (DBI_FreeParmList). */
  shlistx* (*parse_parameters)(DbiContext* context);
  DbiParm* (*find_parameter)(DbiContext* context, shlistx* list, const KOCHAR* keyword);
  int32_t (*parameter_is_true)(const DbiParm* record);
  void (*free_parameters)(DbiContext* context, shlistx** list);
};

KOSHR_BEGIN_C

/* ---------------------------------------------------------------- driver loading and parameters */

KOSHR_API int32_t DBI_LibraryName(void* reserved1, void* reserved2, KOCHAR* name,
                                  const KOCHAR* dbms, KOCHAR* parameters);
KOSHR_API void* DBI_LoadDBInterface(const KOCHAR* file, uint32_t* flags);
KOSHR_API int32_t DBI_FreeDBInterface(void* module, uint32_t flags);

KOSHR_API int32_t DBI_LogIn(KostgContext* pool, const KOCHAR* dbms, const KOCHAR* login1,
                            const KOCHAR* login2, const KOCHAR* password, const KOCHAR* parameters,
                            uint32_t flags, DbiContext** context);
KOSHR_API int32_t DBI_Connect(DbiContext* context, const KOCHAR* s1, const KOCHAR* s2,
                              const KOCHAR* s3, const KOCHAR* s4);
KOSHR_API int32_t DBI_Disconnect(DbiContext* context);
KOSHR_API int32_t DBI_NewDBParm(DbiContext* context, const KOCHAR* parameters);
KOSHR_API int32_t DBI_DBHandle(DbiContext* context, void** handle);
KOSHR_API int32_t DBI_ThreadSafeEnabled(int32_t* flag);

KOSHR_API int32_t DBI_ParseParms(DbiContext* context, shlistx** list);
KOSHR_API int32_t DBI_GetParm(DbiContext* context, shlistx* list, const KOCHAR* keyword,
                              DbiParm** record);
KOSHR_API int32_t DBI_YesTrue1(const DbiParm* record);
KOSHR_API int32_t DBI_FreeParmList(DbiContext* context, shlistx** list);
KOSHR_API int32_t DBI_ReplaceDbParm(DbiContext* context, const KOCHAR* keyword,
                                    const KOCHAR* value);

/* HRESULTs: 0, 0x80070057 for a null or empty name, 0x80004005 on failure. */
KOSHR_API int32_t DBI_RegisterVendor(const KOCHAR* name, const KOCHAR* value);
KOSHR_API int32_t DBI_UnRegisterVendor(const KOCHAR* name);

/* ---------------------------------------------------------------- keyword scanning */

/* The word scans read the character just before every candidate position, the
 * first character of `text`/`select` included: pass a pointer into a statement
 * (the text after "select ", say) or a text with a character before it, never
 * the first character of a buffer. */
KOSHR_API int32_t DBI_DoCompare(const KOCHAR* position, const KOCHAR* keyword);
/* `text` is cut in place for the comparison and restored: it must be writable. */
KOSHR_API int32_t DBI_DoCompareFirst(KOCHAR* text, const KOCHAR* keyword);
KOSHR_API int32_t DBI_DoCompareFirstWithSkip(KOCHAR* text, const KOCHAR* keyword);
KOSHR_API int32_t DBI_LookForKeyWord(DbiContext* context, const KOCHAR* keyword, const KOCHAR* text,
                                     int32_t* found, uint32_t* position, uint32_t* length);
KOSHR_API int32_t DBI_ParseBasicSelect(DbiContext* context, const KOCHAR* select,
                                       const KOCHAR** tail);
KOSHR_API int32_t DBI_ParseKeyWords(DbiContext* context, const KOCHAR* text, int32_t* flag);
KOSHR_API int32_t DBI_Parse(DbiContext* context, const KOCHAR* statement);

/* ---------------------------------------------------------------- statement cache */

KOSHR_API int32_t DBI_SQLCacheBegin(DbiContext* context, uint32_t capacity, SqlCache** cache);
KOSHR_API int32_t DBI_SQLCacheEnd(DbiContext* context, SqlCache* cache);
KOSHR_API int32_t DBI_SQLCacheFlushEntries(DbiContext* context, SqlCache* cache);
KOSHR_API int32_t DBI_SQLCacheRegisterSQLStatement(DbiContext* context, const KOCHAR* sql,
                                                   void* statement, SqlCacheEntry** entry);
KOSHR_API int32_t DBI_SQLCacheRegisterDescribe(DbiContext* context, SqlCacheEntry* entry,
                                               shlistx* descriptors);
KOSHR_API int32_t DBI_SQLCacheRequestSqlStatement(DbiContext* context, SqlCache* cache,
                                                  const KOCHAR* sql, SqlCacheEntry** entry);
KOSHR_API shlistx* DBI_SQLCacheRequestDescribe(DbiContext* context, SqlCacheEntry* entry);
KOSHR_API int32_t DBI_SQLCacheMakeSQLStatementAvailable(DbiContext* context, SqlCacheEntry* entry,
                                                        SqlCache* cache);
KOSHR_API int32_t DBI_SQLCacheDiscardEntry(DbiContext* context, SqlCacheEntry* entry,
                                           int64_t free_entry);
KOSHR_API int32_t DBI_SQLCacheSetSelectCacheSize(DbiContext* context);
KOSHR_API const KOCHAR* DBI_SQLCacheStatistics(DbiContext* context, int32_t store);

/* ---------------------------------------------------------------- catalog tables */

KOSHR_API int32_t DBI_FormatHash(DbiContext* context);
KOSHR_API int32_t DBI_ValidHash(DbiContext* context);
KOSHR_API int32_t DBI_EditStyleHash(DbiContext* context);
KOSHR_API int32_t DBI_FreeValidHash(DbiContext* context, ShHashTable** slot);
KOSHR_API int32_t DBI_EditStyleInfo(DbiContext* context, DbiEditStyleHolder* holder,
                                    const KOCHAR* style);
KOSHR_API int32_t DBI_EditUpdate(DbiContext* context, void* record, int32_t sub_operation);

KOSHR_END_C

#endif
