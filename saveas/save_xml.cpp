/*
 * save_xml.cpp: CKO_SaveXml, a plain XML document, always UTF-16LE after the
 * byte-order mark FF FE whatever encoding the caller asks for:
 *
 *   <?xml version="1.0" encoding="UTF-16LE"?>
 *   <doc>                                    the file's name, cut at its first
 *   <TAB><doc_row>                           ".", spaces turned into "_"
 *   <TAB><TAB><column>value</column>         one element per column
 *   <TAB></doc_row>
 *   </doc>
 *
 * Column names are used as element names as they stand ("(None)" becomes
 * "column"). In text, '"' '<' '>' and '&' are escaped, except an "&" that
 * already starts "&amp;", which is kept so an escaped ampersand is not
 * escaped twice (only that entity is looked for, deliberately).
 */
#include "platform/utf16.h"
#include "saveas/save_context.h"

namespace {

constexpr size_t kDocumentElementMax = 100;
constexpr size_t kRowElementStem = 96;

bool write_escaped(KoSaveContext* context, const KOCHAR* text) {
  const KOCHAR* run = text;
  for (const KOCHAR* p = text; *p; ++p) {
    const char* entity = nullptr;
    switch (*p) {
      case u'"':
        entity = "&quot;";
        break;
      case u'<':
        entity = "&lt;";
        break;
      case u'>':
        entity = "&gt;";
        break;
      case u'&':
        if (ko::u16ncmp(p, u"&amp;", 5) != 0) entity = "&amp;";
        break;
      default:
        break;
    }
    if (!entity) continue;
    if (!ko::save_write(context, run, size_t(p - run)) || !ko::save_write_ascii(context, entity)) {
      return false;
    }
    run = p + 1;
  }
  return ko::save_write(context, run);
}

bool write_value(KoSaveContext* context, uint8_t type, const void* value) {
  if (!value) return true;
  if (type == KOSAVE_STRING) return write_escaped(context, static_cast<const KOCHAR*>(value));
  KOCHAR rendered[ko::kRenderCapacity];
  size_t length =
      ko::save_render(context, type, value, ko::FractionSuffix::kTimeSeparator7, rendered);
  return ko::save_write(context, rendered, length);
}

bool write_tag(KoSaveContext* context, const char* open, const KOCHAR* name, const char* close) {
  return ko::save_write_ascii(context, open) && ko::save_write(context, name) &&
         ko::save_write_ascii(context, close);
}

}  // namespace

KoSaveContext* CKO_SaveXml::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                  uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                  int32_t encoding) {
  m_encoding = encoding;
  KoSaveContext* context = ko::save_begin(pool, owner, fileName, rowCount, columnCount, flags,
                                          ko::kEncodingUtf16LeBom, nullptr);
  if (!context) return nullptr;
  ko::osFileGetFileName(fileName, m_documentElement, kDocumentElementMax + 1);
  for (KOCHAR* p = m_documentElement; *p; ++p) {
    if (*p == u'.') {
      *p = 0;
      break;
    }
    if (*p == u' ') *p = u'_';
  }
  ko::u16lcpy(m_rowElement, m_documentElement, kRowElementStem + 1);
  ko::u16lcat(m_rowElement, u"_row", sizeof m_rowElement / sizeof m_rowElement[0]);
  bool ok = ko::save_write_ascii(context, "<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>\r\n") &&
            write_tag(context, "<", m_documentElement, ">\r\n");
  return ok ? context : ko::save_abandon(context);
}

int CKO_SaveXml::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                           uint8_t type) {
  bool none = name && ko::u16cmp(name, u"(None)") == 0;
  if (!ko::save_store_column(context, none ? u"column" : name, width, type)) return 0;
  ko::save_next_column(context);
  return 1;
}

int CKO_SaveXml::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  const ko::SaveColumn& column = context->columns[context->current_column];
  if (context->current_column == 0 && !write_tag(context, "\t<", m_rowElement, ">\r\n")) return 0;
  if (!write_tag(context, "\t\t<", column.name, ">") || !write_value(context, column.type, value) ||
      !write_tag(context, "</", column.name, ">\r\n")) {
    return 0;
  }
  if (ko::save_next_column(context)) {
    if (!write_tag(context, "\t</", m_rowElement, ">\r\n")) return 0;
    ++context->rows_written;
  }
  return 1;
}

int CKO_SaveXml::End(KoSaveContext* context) {
  if (!context) return 0;
  return ko::save_end(context, write_tag(context, "</", m_documentElement, ">\r\n"));
}
