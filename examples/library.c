/*
 * library.c: a library file: created, one text entry written, the entries
 * listed and the entry read back. Usage: library [FILE] (default demo.kol in
 * the current folder, replaced if it exists).
 */
#include <koshr/library.h>
#include <koshr/storage.h>
#include <koshr/strings.h>

#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  const char* file = argc > 1 ? argv[1] : "demo.kol";
  KOCHAR path[512];
  if (kostg_UTF8toUCS2(NULL, file) >= 512) return 2;
  kostg_UTF8toUCS2(path, file);
  remove(file);
  KostgContext* pool = kostg_begin(0);
  if (LMI_CreateLibrary(pool, path, u"an example library") != 0) return 1;
  LMI_HANDLE library = LMI_OpenLibrary(pool, path, LMI_MODE_READWRITE, 0);
  if (library == NULL) return 1;

  /* Entry names are lowered in place by the calls that take them: never a literal. */
  KOCHAR entry[] = u"main_window.kos";
  const KOCHAR text[] = u"forward\r\nglobal type main_window\r\nend type\r\n";
  if (LMI_OpenEntry(library, entry, LMI_ENTRY_WRITE, u"the main window") != 0 ||
      LMI_WriteEntry(library, text, sizeof text - sizeof(KOCHAR)) < 0 ||
      LMI_CloseEntry(library) != 0) {
    return 1;
  }

  LMI_LIST_ITEM* items = NULL;
  int32_t count = LMI_ListEntriesExtended(library, pool, &items);
  for (int32_t i = 0; i < count; ++i) {
    char name[256], comment[256];
    kostg_UCS2toUTF8(name, items[i].name, sizeof name);
    kostg_UCS2toUTF8(comment, items[i].comment, sizeof comment);
    printf("%s\t%u bytes\t%s\n", name, items[i].objectSize, comment);
  }
  kostg_fee(pool, items);

  KOCHAR back[128] = {0};
  if (LMI_OpenEntry(library, entry, LMI_ENTRY_READ, NULL) != 0) return 1;
  int32_t got = LMI_ReadEntry(library, back, sizeof back - sizeof(KOCHAR));
  LMI_CloseEntry(library);
  if (got != (int32_t)(sizeof text - sizeof(KOCHAR)) || memcmp(back, text, (size_t)got) != 0) {
    return 1;
  }
  printf("read back %d bytes unchanged\n", got);
  LMI_CloseLibrary(library);
  kostg_end(pool);
  return 0;
}
