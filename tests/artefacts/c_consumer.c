/* A C program using the library through its public headers: proof that the
 * headers are C and that the exported names link from C. */
#include <stdio.h>
#include <string.h>

#include <koshr/version.h>
#include "c_headers.h"

int main(void) {
  KostgContext* context = kostg_begin(0);
  if (context == NULL) return 1;
  KostgSubpool* pool = kostg_new_pool(context);
  char* block = (char*)kostg_alc(context, 32, pool);
  if (block == NULL) return 2;
  memcpy(block, "from C", 7);
  /* The headers' version macros are the library's own version. */
  char macros[32];
  snprintf(macros, sizeof macros, "%d.%d.%d", KOSHR_VERSION_MAJOR, KOSHR_VERSION_MINOR,
           KOSHR_VERSION_PATCH);
  const int ok = strcmp(block, "from C") == 0 &&
                 strcmp(koshr_version(), KOSHR_VERSION_STRING) == 0 &&
                 strcmp(macros, KOSHR_VERSION_STRING) == 0;
  kostg_fee(context, block);
  kostg_free_pool(context, pool);
  kostg_end(context);
  if (!ok) return 3;
  /* Automation strings come back with their byte length before the text, and
   * go back through the library's own free. */
  KOCHAR* automation[3] = {kostg_ansitobstr("ab"), kostg_strtobstr(u"ab"),
                           kostg_unicodetobstr(u"ab")};
  for (int i = 0; i < 3; ++i) {
    uint32_t bytes = 0;
    if (automation[i] == NULL) return 4;
    memcpy(&bytes, (const char*)automation[i] - sizeof bytes, sizeof bytes);
    if (bytes != 4 || automation[i][0] != u'a' || automation[i][2] != 0) return 5;
    kostg_freebstr(automation[i]);
  }
  kostg_freebstr(NULL);
  printf("C consumer linked against koshr %s\n", koshr_version());
  return 0;
}
