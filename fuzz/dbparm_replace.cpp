// Fuzz target: rewriting a keyword in stored DBParm text. The first two
// bytes give the keyword's and the value's lengths in units.
#include <koshr/strings.h>

#include "dbi_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  size_t units = 0;
  auto text = dbi_fuzz::text_of(data + 2, size - 2, &units);
  const size_t keyword_length = data[0] % 16 < units ? data[0] % 16 : units;
  const size_t value_length =
      data[1] % 16 < units - keyword_length ? data[1] % 16 : units - keyword_length;
  std::unique_ptr<KOCHAR[]> keyword(new KOCHAR[keyword_length + 1]);
  std::unique_ptr<KOCHAR[]> value(new KOCHAR[value_length + 1]);
  std::memcpy(keyword.get(), text.get(), keyword_length * sizeof(KOCHAR));
  keyword[keyword_length] = 0;
  std::memcpy(value.get(), text.get() + keyword_length, value_length * sizeof(KOCHAR));
  value[value_length] = 0;
  DbiContext* context = dbi_fuzz::bare_context(nullptr);
  context->dbparm =
      kostg_strdup(context->storage, text.get() + keyword_length + value_length, nullptr);
  DBI_ReplaceDbParm(context, keyword.get(), value.get());
  kostg_fee(context->storage, context->dbparm);
  return 0;
}
