// settings.h: what the driver reads from the DBParm text.
//
//   ConnectString  the ODBC connection string; without it the log-in strings
//                  are the data source, the user and the password
//   AutoCommit     statements outside DBI_Begin commit by themselves
//                  (default yes)
//   Isolation      'ReadUncommitted', 'ReadCommitted', 'RepeatableRead' or
//                  'Serializable' (default: the database's own)
//   FetchBlockSize rows fetched per call (1 to 4096, default 256)
//   TextBufferSize UTF-16 units bound for a text value before a longer one is
//                  read on its own (16 to 1048576, default 1024)
//   Streaming      absent: add to the connection string the streaming settings
//                  that change nothing but memory (PostgreSQL's cursor reads);
//                  yes: every streaming setting known, SQLite's too, though
//                  that one types expression columns as text; no: none
#ifndef KOSHR_DRIVERS_ODBC_SETTINGS_H
#define KOSHR_DRIVERS_ODBC_SETTINGS_H

#include <koshr/dbi.h>

#include <cstdint>
#include <string>

namespace ko::odbc {

// Which streaming settings the driver adds to the connection string.
enum class Streaming {
  kSafe,  // those that change nothing but memory (DBParm without Streaming)
  kAll,   // also those that may change the type of a result column
  kNone,
};

struct Settings {
  std::u16string connect_string;  // empty: build one from the log-in strings
  bool auto_commit = true;
  int32_t isolation = 0;  // SQL_TXN_* mask, 0 for the database's default
  uint32_t fetch_block = 256;
  uint32_t text_buffer = 1024;
  Streaming streaming = Streaming::kSafe;
};

// Reads the context's DBParm text through the front end's parser. False,
// with `error` set, for a keyword whose value is not one of its choices.
bool read_settings(DbiContext* context, Settings& settings, std::u16string& error);

// `connect` with the settings `mode` allows that make the ODBC driver it
// names stream its results (PostgreSQL's "UseDeclareFetch=1" and a "Fetch" of
// `fetch_block` rows, at least 1000; with kAll SQLite's "StepAPI=1"), each
// added only when the string does not set it already.
// The text with A-Z turned to a-z and nothing else changed.
std::u16string lower_ascii(const std::u16string& text);

std::u16string streaming_connect_string(const std::u16string& connect, uint32_t fetch_block,
                                        Streaming mode);

// The connection string for the log-in strings: DSN, UID and PWD, each value
// braced when it holds a character that would end it.
std::u16string login_connect_string(const KOCHAR* source, const KOCHAR* user,
                                    const KOCHAR* password);

}  // namespace ko::odbc

#endif
