/*
 * db_session.h: a database connection through the library's database
 * interface, for `koshr query` and `koshr catalog`.
 *
 * The connection string reaches the driver as the DBParm keyword
 * ConnectString, ahead of whatever DBParm text the user adds; an export asks
 * for Streaming='Yes' too, unless the user's text names Streaming. A failure
 * reads as the database's own message ("42S02: no such table: t").
 */
#ifndef KOSHR_TOOL_DB_SESSION_H
#define KOSHR_TOOL_DB_SESSION_H

#include <koshr/dbi_sql.h>
#include <koshr/storage.h>

#include <string>
#include <vector>

namespace koshr_tool {

struct ConnectOptions {
  std::string connect;  // the connection string
  std::string dbms = "ODBC";
  std::string dbparm;  // more DBParm text, or empty
  // Ask the driver for every streaming setting it knows, even those that may
  // type expression columns as text: an export must not hold the result.
  bool stream_results = false;
};

class DbSession {
 public:
  DbSession() = default;
  DbSession(const DbSession&) = delete;
  DbSession& operator=(const DbSession&) = delete;
  ~DbSession();

  // Logs in; false with `why` (the database's message) when it cannot.
  bool open(const ConnectOptions& options, std::string& why);
  DbiContext* context() const { return context_; }
  // True when the last call failed; error() is then its message.
  bool failed() const { return context_->return_code != 0; }
  std::string error() const;

 private:
  KostgContext* pool_ = nullptr;
  DbiContext* context_ = nullptr;
  bool connected_ = false;
};

// A statement prepared on a session, closed (given back to the statement
// cache) when it goes.
class DbStatement {
 public:
  DbStatement(DbSession& session, const std::u16string& sql);
  DbStatement(const DbStatement&) = delete;
  DbStatement& operator=(const DbStatement&) = delete;
  ~DbStatement();

  // Each false with `why` on a failure.
  bool prepared(std::string& why) const;
  bool bind(const std::vector<DbiValue>& values, std::string& why);
  bool execute(std::string& why);
  // The result columns; none for a statement without a result set.
  bool describe(const DbiColumnDescriptor*& columns, uint32_t& count, std::string& why);
  // The next block of rows; a block of no rows at the end.
  bool fetch(DbiRowBlock& block, std::string& why);
  // Rows the statement changed, or -1 when the database does not say.
  int64_t rows_affected();

 private:
  bool check(std::string& why) const;

  DbSession& session_;
  DbiStatement* statement_ = nullptr;
  std::string prepare_error_;
};

}  // namespace koshr_tool

#endif
