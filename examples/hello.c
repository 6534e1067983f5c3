/*
 * hello.c: the smallest KOSHR program in C: a storage context, a sub-pool,
 * one block, and the version of the library it runs with beside the version
 * of the headers it was compiled against. Built with CMake (CMakeLists.txt)
 * and, for Windows, with mingw-w64 against koshr.lib (README.md).
 */
#include <koshr/host.h>
#include <koshr/storage.h>
#include <koshr/version.h>

#include <stdio.h>
#include <string.h>

int main(void) {
  KostgContext* context = kostg_begin(0);
  if (context == NULL) return 1;
  KostgSubpool* pool = kostg_new_pool(context);
  char* text = (char*)kostg_alc(context, 64, pool);
  if (text == NULL) return 1;
  strcpy(text, "hello from a pool");
  printf("%s: headers %s, library %s\n", text, KOSHR_VERSION_STRING, koshr_version());
  kostg_end(context); /* releases every pool and block at once */
  return 0;
}
