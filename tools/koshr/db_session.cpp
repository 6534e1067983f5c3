/*
 * db_session.cpp: log-in, statements and messages of the tool's database
 * connection (see db_session.h).
 */
#include "db_session.h"

#include "scratch_connection.h"
#include "utf.h"

namespace koshr_tool {
namespace {

// A DBParm value in single quotes, its own quotes doubled.
std::string dbparm_quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    quoted += c;
    if (c == '\'') quoted += '\'';
  }
  return quoted + "'";
}

// Whether DBParm text sets `keyword`, read by the parser the driver uses.
bool dbparm_names(const std::string& text, const char16_t* keyword) {
  if (text.empty()) return false;
  ScratchConnection scratch(utf8_to_utf16(text));
  shlistx* list = nullptr;
  DBI_ParseParms(scratch.get(), &list);
  DbiParm* record = nullptr;
  DBI_GetParm(scratch.get(), list, keyword, &record);
  DBI_FreeParmList(scratch.get(), &list);
  return record != nullptr;
}

}  // namespace

bool DbSession::open(const ConnectOptions& options, std::string& why) {
  pool_ = kostg_begin(0);
  if (!pool_) {
    why = "out of memory";
    return false;
  }
  std::string dbparm = "ConnectString=" + dbparm_quoted(options.connect);
  if (options.stream_results && !dbparm_names(options.dbparm, u"Streaming")) {
    dbparm += ", Streaming='Yes'";
  }
  if (!options.dbparm.empty()) dbparm += ", " + options.dbparm;
  std::u16string dbms = utf8_to_utf16(options.dbms);
  std::u16string parameters = utf8_to_utf16(dbparm);
  DBI_LogIn(pool_, dbms.c_str(), nullptr, nullptr, nullptr, parameters.c_str(), DBI_LOAD_OWN_FOLDER,
            &context_);
  if (!context_) {
    why = "cannot start a connection";
    return false;
  }
  if (failed()) {
    why = error();
    return false;
  }
  connected_ = true;
  return true;
}

std::string DbSession::error() const {
  std::string message = utf16_to_utf8(context_->message);
  return message.empty() ? "the database reported error " + std::to_string(context_->sql_code)
                         : message;
}

DbSession::~DbSession() {
  if (connected_) DBI_Disconnect(context_);
  if (pool_) kostg_end(pool_);
}

DbStatement::DbStatement(DbSession& session, const std::u16string& sql) : session_(session) {
  DBI_Prepare(session_.context(), sql.c_str(), &statement_);
  if (!statement_ || session_.failed()) prepare_error_ = session_.error();
}

DbStatement::~DbStatement() {
  if (statement_) DBI_CloseStatement(session_.context(), statement_);
}

bool DbStatement::check(std::string& why) const {
  if (!session_.failed()) return true;
  why = session_.error();
  return false;
}

bool DbStatement::prepared(std::string& why) const {
  if (statement_ && prepare_error_.empty()) return true;
  why = prepare_error_;
  return false;
}

bool DbStatement::bind(const std::vector<DbiValue>& values, std::string& why) {
  DBI_BindParameters(session_.context(), statement_, values.data(), uint32_t(values.size()));
  return check(why);
}

bool DbStatement::execute(std::string& why) {
  DBI_Execute(session_.context(), statement_);
  return check(why);
}

bool DbStatement::describe(const DbiColumnDescriptor*& columns, uint32_t& count, std::string& why) {
  DBI_DescribeColumns(session_.context(), statement_, &columns, &count);
  return check(why);
}

bool DbStatement::fetch(DbiRowBlock& block, std::string& why) {
  DBI_FetchBlock(session_.context(), statement_, 0, &block);
  return check(why);
}

int64_t DbStatement::rows_affected() {
  int64_t rows = -1;
  DBI_RowsAffected(session_.context(), statement_, &rows);
  return rows;
}

}  // namespace koshr_tool
