// Fuzz target: the DBParm parser and the look-ups on its result.
#include <koshr/lists.h>

#include "dbi_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto text = dbi_fuzz::text_of(data, size);
  DbiContext* context = dbi_fuzz::bare_context(text.get());
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  DbiParm* record = nullptr;
  DBI_GetParm(context, list, u"SQLCache", &record);
  DBI_YesTrue1(record);
  for (void* item = shlist_get_first(list); item != nullptr; item = shlist_get_next(list)) {
    DBI_YesTrue1(static_cast<DbiParm*>(item));
  }
  DBI_FreeParmList(context, &list);
  return 0;
}
