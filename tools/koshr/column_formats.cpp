/*
 * column_formats.cpp: catalog display formats of a query's columns (see
 * column_formats.h).
 */
#include "column_formats.h"

#include <koshr/hashtable.h>

#include "db_values.h"
#include "utf.h"

namespace koshr_tool {
namespace {

constexpr int kCompiledCodes = 256;
constexpr int kRenderedUnits = 1024;

bool same_name(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool identifier_unit(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'_' || c == u'.' || c == u'"' || c >= 0x80;
}

// The format text a mask stands for: a named format's text, or the mask.
std::u16string format_text(DbiContext* context, const std::u16string& mask) {
  if (context->format_table) {
    auto* named = static_cast<DbiFormatRecord*>(shhash_search(context->format_table, mask.c_str()));
    if (named && named->format) return named->format;
  }
  return mask;
}

int compile_for(const std::u16string& format, int32_t data_type, KOFMTCODE* compiled) {
  if (numeric_type(data_type)) {
    return shformatCmplNumericMask(format.c_str(), compiled, kCompiledCodes, nullptr);
  }
  if (data_type >= DBI_TYPE_DATE && data_type <= DBI_TYPE_TIMESTAMP) {
    return shformatCmplDateTimeMask(format.c_str(), compiled, kCompiledCodes, nullptr);
  }
  return shformatCmplStringMask(format.c_str(), compiled, kCompiledCodes);
}

}  // namespace

std::u16string first_table(DbiContext* context, const std::u16string& sql) {
  int32_t found = 0;
  uint32_t position = 0, length = 0;
  // The scanner reads the unit before the text it is given: a blank there
  // lets a statement that starts with its keyword be found.
  const std::u16string padded = u" " + sql;
  DBI_LookForKeyWord(context, u"from", padded.c_str() + 1, &found, &position, &length);
  if (!found) return {};
  size_t at = position + 4;
  while (at < sql.size() &&
         (sql[at] == u' ' || sql[at] == u'\t' || sql[at] == u'\r' || sql[at] == u'\n')) {
    ++at;
  }
  size_t end = at;
  while (end < sql.size() && identifier_unit(sql[end])) ++end;
  std::u16string name = sql.substr(at, end - at);
  size_t dot = name.rfind(u'.');
  if (dot != std::u16string::npos) name.erase(0, dot + 1);
  std::u16string bare;
  for (char16_t c : name) {
    if (c != u'"') bare += c;
  }
  return bare;
}

bool ColumnFormats::load(DbSession& session, const std::u16string& sql,
                         const DbiColumnDescriptor* columns, uint32_t count, std::string& why) {
  formats_.assign(count, {});
  std::u16string table = first_table(session.context(), sql);
  if (table.empty()) return true;
  DBI_FormatHash(session.context());
  DbStatement read(session,
                   u"SELECT koc_cnam, koc_mask FROM kocatcol WHERE lower(koc_tnam) = lower(?) "
                   u"AND koc_mask IS NOT NULL");
  DbiValue name{};
  name.type = DBI_TYPE_TEXT;
  name.length = uint32_t(table.size());
  name.as.text = table.c_str();
  if (!read.prepared(why) || !read.bind({name}, why) || !read.execute(why)) return false;
  DbiRowBlock block{};
  while (read.fetch(block, why) && block.rows > 0) {
    for (uint32_t r = 0; r < block.rows; ++r) {
      const DbiValue* row = block.values + size_t(r) * block.columns;
      if (row[0].type != DBI_TYPE_TEXT || row[1].type != DBI_TYPE_TEXT) continue;
      std::u16string_view column(row[0].as.text, row[0].length);
      std::u16string mask(row[1].as.text, row[1].length);
      for (uint32_t c = 0; c < count; ++c) {
        if (!same_name(column, columns[c].name ? columns[c].name : u"")) continue;
        std::vector<KOFMTCODE> compiled(kCompiledCodes);
        std::u16string format = format_text(session.context(), mask);
        if (compile_for(format, columns[c].data_type, compiled.data()) == 0) {
          formats_[c] = std::move(compiled);
        }
      }
    }
  }
  return why.empty();
}

std::string ColumnFormats::render(size_t c, const DbiValue& value) const {
  if (!has(c) || value.type == DBI_TYPE_NULL) return value_text(value);
  const KOFMTCODE* format = formats_[c].data();
  KOCHAR out[kRenderedUnits];
  int length = -1;
  switch (value.type) {
    case DBI_TYPE_INTEGER:
      length = shformatLonglong(format, value.as.integer, out, kRenderedUnits);
      break;
    case DBI_TYPE_BIGINT:
      length = shformatLonglong(format, value.as.bigint, out, kRenderedUnits);
      break;
    case DBI_TYPE_DECIMAL:
      length = shformatDecimal(format, &value.as.decimal, out, kRenderedUnits);
      break;
    case DBI_TYPE_REAL:
      length = shformatReal(format, value.as.real, out, kRenderedUnits);
      break;
    case DBI_TYPE_DOUBLE:
      length = shformatDouble(format, value.as.dbl, out, kRenderedUnits);
      break;
    case DBI_TYPE_DATE:
    case DBI_TYPE_TIME:
    case DBI_TYPE_TIMESTAMP:
      length = shformatDateTime(format, &value.as.datetime, out, kRenderedUnits);
      break;
    case DBI_TYPE_TEXT: {
      std::u16string text(value.as.text ? value.as.text : u"", value.length);
      length = shformatString(format, text.c_str(), out, kRenderedUnits);
      break;
    }
    default:
      break;
  }
  if (length < 0) return value_text(value);
  return utf16_to_utf8(std::u16string_view(out, size_t(length)));
}

}  // namespace koshr_tool
