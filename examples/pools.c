/*
 * pools.c: memory pools: one sub-pool per task, thousands of small blocks,
 * the pool statistics, and one call that gives everything of a task back.
 */
#include <koshr/storage.h>

#include <stdio.h>

static unsigned long long held(KostgContext* context) {
  uint64_t counters[6];
  return (unsigned long long)kostg_stat(context, counters);
}

int main(void) {
  KostgContext* context = kostg_begin(0);
  if (context == NULL) return 1;
  KostgSubpool* parse = kostg_new_pool(context);
  KostgSubpool* output = kostg_new_pool(context);
  for (int i = 0; i < 10000; ++i) {
    if (kostg_alc(context, 48, parse) == NULL) return 1;
  }
  char* line = (char*)kostg_alc(context, 16, output);
  line = (char*)kostg_realc(context, line, 4096, output); /* grows in place or moves */
  if (line == NULL) return 1;
  printf("10000 blocks of 48 bytes and one of %u: the context holds %llu bytes\n",
         kostg_sz(context, line), held(context));
  kostg_free_pool(context, parse); /* every block of the task at once */
  printf("after the parse pool is released: %llu bytes\n", held(context));
  kostg_end(context);
  return 0;
}
