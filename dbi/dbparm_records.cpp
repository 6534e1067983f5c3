/*
 * dbparm_records.cpp: DbiParm records and the look-ups on a parameter list
 * (DBI_GetParm, DBI_YesTrue1, DBI_FreeParmList).
 */
#include "dbi/dbparm_records.h"

#include <koshr/lists.h>

#include "dbi/context_memory.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::dbi {

DbiParm* new_parm(DbiContext* context, const KOCHAR* name, size_t length) {
  auto* record = alloc_record<DbiParm>(context);
  if (record != nullptr) record->name = duplicate(context, name, length);
  return record;
}

void free_parm(DbiContext* context, DbiParm* record) {
  if (record == nullptr) return;
  release(context, record->name);
  release_secret(context, record->text);
  wipe(record, sizeof *record);
  release(context, record);
}

}  // namespace ko::dbi

int32_t DBI_GetParm(DbiContext* context, shlistx* list, const KOCHAR* keyword, DbiParm** record) {
  if (record == nullptr) return 0;
  *record = nullptr;
  if (list == nullptr || keyword == nullptr) return 0;
  for (void* item = shlist_get_first(list); item != nullptr; item = shlist_get_next(list)) {
    auto* parm = static_cast<DbiParm*>(item);
    if (parm->name != nullptr && ko::os::collate_nocase(parm->name, keyword) == 0) {
      *record = parm;
      return 0;
    }
  }
  return 0;
}

int32_t DBI_YesTrue1(const DbiParm* record) {
  if (record == nullptr) return 0;
  if (record->number != 0) return 1;
  if (record->text == nullptr) return 0;
  return ko::os::collate_nocase(record->text, u"YES") == 0 ||
                 ko::os::collate_nocase(record->text, u"TRUE") == 0
             ? 1
             : 0;
}

int32_t DBI_FreeParmList(DbiContext* context, shlistx** list) {
  if (list == nullptr || *list == nullptr) return 0;
  for (void* item = shlist_get_first(*list); item != nullptr; item = shlist_get_next(*list)) {
    ko::dbi::free_parm(context, static_cast<DbiParm*>(item));
  }
  shlist_delete(*list);
  if (context != nullptr && context->parms == *list) context->parms = nullptr;
  *list = nullptr;
  return 0;
}
