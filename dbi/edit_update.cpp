/*
 * edit_update.cpp: changing an edit style in the catalog (DBI_EditUpdate).
 *
 * The driver writes the change (operation 217, record and sub-operation in
 * the context) inside its own transaction; when it succeeds the connection's
 * edit-style table is read again, so later look-ups see the change.
 */
#include <koshr/dbi.h>

#include "dbi/driver_call.h"

int32_t DBI_EditUpdate(DbiContext* context, void* record, int32_t sub_operation) {
  if (context == nullptr) return 0;
  context->edit_record = record;
  context->sub_operation = sub_operation;
  ko::dbi::call_driver(context, DBI_OP_EDIT_UPDATE);
  if (context->return_code == 0 && context->edit_style_table != nullptr) DBI_EditStyleHash(context);
  return 0;
}
