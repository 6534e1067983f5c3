/*
 * koshr/saveas.h: exporting a table to a file or to the clipboard (C++ only).
 *
 * A caller picks one exporter class by file type and drives it through the
 * four operations of IKO_SaveFileType:
 *
 *   CKO_SaveCsv csv;
 *   KoSaveContext* save = csv.Begin(pool, subpool, u"out.csv", rows, 2, KOSAVE_COLUMN_NAMES,
 *                                   KOSAVE_ENCODING_UTF8);
 *   csv.AddColumn(save, u"Name", 20, KOSAVE_STRING);          // once per column, in order
 *   csv.AddColumn(save, u"Price", 0, KOSAVE_DOUBLE);
 *   csv.WriteValue(save, u"Widget");                          // once per cell, row by row
 *   csv.WriteValue(save, &price);
 *   csv.End(save);                                            // closes and frees
 *
 * Begin returns null when the output cannot be created; AddColumn and
 * WriteValue return 0 at the first failed write, after which the caller calls
 * End to release everything. A value is handed over as a pointer to its type:
 * const KOCHAR* (string), const double*, const KODATETIME* (datetime, date,
 * time) or const KODECIMAL*; a null pointer is a missing value. The SQL
 * exporter takes datetime, date and time values as ready-made text.
 */
#ifndef KOSHR_SAVEAS_H
#define KOSHR_SAVEAS_H

#ifndef __cplusplus
#error "koshr/saveas.h is a C++ header"
#endif

#include <koshr/storage.h>
#include <koshr/types.h>

/* The save context shared by every exporter: opaque to callers. */
typedef struct KoSaveContext KoSaveContext;

/* Column types. */
enum {
  KOSAVE_STRING = 1,
  KOSAVE_DOUBLE = 2,
  KOSAVE_DATETIME = 3,
  KOSAVE_DATE = 4,
  KOSAVE_TIME = 5,
  KOSAVE_DECIMAL = 6
};

/* Begin flags. */
enum {
  KOSAVE_COLUMN_NAMES = 1, /* write the column names first */
  KOSAVE_NO_FILE = 4       /* do not open a file */
};

/* Encodings of the text exporters (CSV, text, DIF, SQL). */
enum {
  KOSAVE_ENCODING_ANSI = 0,        /* the 8-bit code page */
  KOSAVE_ENCODING_UTF8 = 1,        /* UTF-8 without a byte-order mark */
  KOSAVE_ENCODING_UTF8_BOM = 2,    /* UTF-8 after EF BB BF */
  KOSAVE_ENCODING_UTF16LE_BOM = 3, /* UTF-16 little-endian after FF FE */
  KOSAVE_ENCODING_UTF16BE_BOM = 4  /* UTF-16 big-endian after FE FF */
};

KOSHR_BEGIN_C

/* Creates the save context (and the file, unless fileName is null or flag
 * KOSAVE_NO_FILE is set); null when the file cannot be created. */
KOSHR_API KoSaveContext* osSaveBegin32(KostgContext* pool, KostgSubpool* owner,
                                       const KOCHAR* fileName, uint32_t rowCount,
                                       int32_t columnCount, uint32_t flags, int32_t encoding);
/* The same with the default formats compiled under a culture string. */
KOSHR_API KoSaveContext* osSaveBegin32Web(KostgContext* pool, KostgSubpool* owner,
                                          const KOCHAR* fileName, uint32_t rowCount,
                                          int32_t columnCount, uint32_t flags, int32_t encoding,
                                          const KOCHAR* culture);
/* Frees the column names and the context (the file is the exporter's to close). */
KOSHR_API void osSaveEnd(KoSaveContext* context);
/* An addition of ours. How many values of this export so far a writer could
 * not store as they are and wrote as their field's overflow marker instead
 * (today only the dBase III writer: a number too wide for its field becomes
 * all asterisks, never a different number). When there is one, firstRow and
 * firstColumn (either may be null) receive the first such value's record and
 * column, both counted from 0 (the first record written, the first column
 * added); otherwise they are left as they are. Ask before the writer's End,
 * which frees the context; a caller that must not lose data treats a
 * non-zero count as a failed export. A null context gives 0. */
KOSHR_API uint32_t osSaveOverflow(const KoSaveContext* context, uint32_t* firstRow,
                                  int32_t* firstColumn);

KOSHR_END_C

/* The interface every exporter implements; the operations keep this slot order.
 * It has no code of its own, so nothing of it is exported: each side of the
 * library boundary has its own copy of its (empty) vtable. */
class IKO_SaveFileType {
 public:
  virtual KoSaveContext* Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                               uint32_t rowCount, int32_t columnCount, uint32_t flags,
                               int32_t encoding) = 0;
  virtual int AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                        uint8_t type) = 0;
  virtual int WriteValue(KoSaveContext* context, const void* value) = 0;
  virtual int End(KoSaveContext* context) = 0;

 protected:
  ~IKO_SaveFileType() = default;
};

/* The exporters. Each holds the encoding handed to Begin. */
#define KOSHR_SAVE_EXPORTER(name)                                                         \
  class KOSHR_API name final : public IKO_SaveFileType {                                  \
   public:                                                                                \
    KoSaveContext* Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName, \
                         uint32_t rowCount, int32_t columnCount, uint32_t flags,          \
                         int32_t encoding) override;                                      \
    int AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,              \
                  uint8_t type) override;                                                 \
    int WriteValue(KoSaveContext* context, const void* value) override;                   \
    int End(KoSaveContext* context) override;                                             \
                                                                                          \
   private:                                                                               \
    int32_t m_encoding = 0;                                                               \
  }

KOSHR_SAVE_EXPORTER(CKO_SaveCsv);    /* comma-separated values */
KOSHR_SAVE_EXPORTER(CKO_SaveText);   /* tab-separated values */
KOSHR_SAVE_EXPORTER(CKO_SaveClip);   /* tab-separated text on the clipboard */
KOSHR_SAVE_EXPORTER(CKO_SaveSylk);   /* SYLK spreadsheet interchange */
KOSHR_SAVE_EXPORTER(CKO_SaveDif);    /* DIF spreadsheet interchange */
KOSHR_SAVE_EXPORTER(CKO_SaveSql);    /* SQL script: CREATE TABLE and INSERTs */
KOSHR_SAVE_EXPORTER(CKO_SaveDbase3); /* dBase III table */
KOSHR_SAVE_EXPORTER(CKO_SaveWk);     /* worksheet (WK1 records) */

#undef KOSHR_SAVE_EXPORTER

/* The XML exporter also keeps the element names it derives from the file name. */
class KOSHR_API CKO_SaveXml final : public IKO_SaveFileType {
 public:
  KoSaveContext* Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                       uint32_t rowCount, int32_t columnCount, uint32_t flags,
                       int32_t encoding) override;
  int AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width, uint8_t type) override;
  int WriteValue(KoSaveContext* context, const void* value) override;
  int End(KoSaveContext* context) override;

 private:
  int32_t m_encoding = 0;
  KOCHAR m_documentElement[101] = {};
  KOCHAR m_rowElement[101] = {};
};

#endif
