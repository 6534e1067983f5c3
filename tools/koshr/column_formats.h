/*
 * column_formats.h: the display formats the catalog gives a query's columns,
 * for `koshr query --formats`.
 *
 * A column's format is the "koc_mask" of its "kocatcol" row, for the table
 * named first after FROM; a mask that names a display format of "kocatfmt"
 * stands for that format's text. Numbers, dates and texts render through the
 * format engine; a column without a mask, or whose mask does not compile for
 * its values, shows its plain text.
 */
#ifndef KOSHR_TOOL_COLUMN_FORMATS_H
#define KOSHR_TOOL_COLUMN_FORMATS_H

#include <koshr/dbi_sql.h>
#include <koshr/format.h>

#include <string>
#include <vector>

#include "db_session.h"

namespace koshr_tool {

class ColumnFormats {
 public:
  // Reads the masks of `columns`; false with `why` when the catalog cannot be read.
  bool load(DbSession& session, const std::u16string& sql, const DbiColumnDescriptor* columns,
            uint32_t count, std::string& why);
  // True when column `c` has a format.
  bool has(size_t c) const { return c < formats_.size() && !formats_[c].empty(); }
  // The value through column `c`'s format; its plain text when it has none.
  std::string render(size_t c, const DbiValue& value) const;

 private:
  std::vector<std::vector<KOFMTCODE>> formats_;  // compiled, empty when none
};

// The table named first after FROM in `sql`, without owner or quotes; empty
// when there is none.
std::u16string first_table(DbiContext* context, const std::u16string& sql);

}  // namespace koshr_tool

#endif
