/*
 * scratch_connection.h: a bare database connection context for the commands
 * and demo stop that only parse and edit DBParm text (dbparm, sql), and for
 * reading the DBParm text a user gives `koshr query`.
 */
#ifndef KOSHR_TOOL_SCRATCH_CONNECTION_H
#define KOSHR_TOOL_SCRATCH_CONNECTION_H

#include <koshr/dbi.h>
#include <koshr/storage.h>
#include <koshr/strings.h>

#include <cstring>
#include <string>

namespace koshr_tool {

// A bare connection context (no driver) on its own storage, for the
// commands that only parse and edit DBParm text.
class ScratchConnection {
 public:
  explicit ScratchConnection(const std::u16string& dbparm) : storage_(kostg_begin(0)) {
    context_ = static_cast<DbiContext*>(kostg_alc(storage_, sizeof(DbiContext), nullptr));
    std::memset(context_, 0, sizeof *context_);
    context_->storage = storage_;
    context_->dbparm = kostg_strdup(storage_, dbparm.c_str(), nullptr);
  }
  ~ScratchConnection() { kostg_end(storage_); }
  ScratchConnection(const ScratchConnection&) = delete;
  ScratchConnection& operator=(const ScratchConnection&) = delete;
  DbiContext* operator->() const { return context_; }
  DbiContext* get() const { return context_; }

 private:
  KostgContext* storage_;
  DbiContext* context_;
};

}  // namespace koshr_tool

#endif
