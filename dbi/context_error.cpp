/*
 * context_error.cpp: raising an interface error on a connection context.
 */
#include "dbi/context_error.h"

#include "dbi/runtime_services.h"
#include "storage/u16_format.h"

namespace ko::dbi {

void raise_error(DbiContext* context, const char* key, const KOCHAR* argument) {
  u16_format(context->message, DBI_MESSAGE_LENGTH, runtime_services().message_text(key),
             argument != nullptr ? argument : u"");
  context->return_code = DBI_RC_ERROR;
  context->sql_code = -1;
}

}  // namespace ko::dbi
