// Fuzz target: the keyword lexer through DBI_LookForKeyWord (the first byte
// gives the keyword's length), DBI_ParseKeyWords and the prefix comparisons.
// The scans read the character before the text, so the unit after the keyword
// stands before the scanned body, as a statement's text does before a clause.
#include "dbi_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  size_t units = 0;
  auto text = dbi_fuzz::text_of(data + 1, size - 1, &units);
  if (units == 0) return 0;
  const size_t keyword_length = data[0] % 12 < units ? data[0] % 12 : units - 1;
  std::unique_ptr<KOCHAR[]> keyword(new KOCHAR[keyword_length + 1]);
  std::memcpy(keyword.get(), text.get(), keyword_length * sizeof(KOCHAR));
  keyword[keyword_length] = 0;
  KOCHAR* body = text.get() + keyword_length + 1;
  DbiContext* context = dbi_fuzz::bare_context(nullptr);
  int32_t found = 0;
  uint32_t position = 0, length = 0;
  DBI_LookForKeyWord(context, keyword.get(), body, &found, &position, &length);
  int32_t flag = 0;
  DBI_ParseKeyWords(context, body, &flag);
  DBI_DoCompareFirst(body, keyword.get());
  DBI_DoCompareFirstWithSkip(body, keyword.get());
  return 0;
}
